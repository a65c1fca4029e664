#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/pictures.h"
#include "video/fan_out_sink.h"

namespace velq {
namespace {

// Keeps the first pixel of every frame it takes; refuses to open, or fails at frame `fail_at`.
struct Keeper : VideoSink {
    bool opens = true;
    int fail_at = -1;
    std::vector<std::uint8_t> firsts;
    bool finished = false, abandoned = false;
    UBUFFER picture;
    int init_video(const std::string&, int w, int h) override {
        return opens && picture.allocate(w, h, 4) ? 0 : -1;
    }
    UBUFFER& source() override { return picture; }
    int write_video_frame(double& t) override {
        if (int(firsts.size()) == fail_at) return -1;
        firsts.push_back(picture.data()[0]);
        t = double(firsts.size()) / 30;
        return 0;
    }
    int finish() override { return (finished = true) ? 0 : -1; }
    void abandon() override { abandoned = true; }
};

// Every output that stays open sees every frame, also the last one, which takes the picture itself;
// one that cannot open or fails is abandoned and the others go on.
TEST(FanOutSink, EachOutputCompleteOrAbandoned) {
    Keeper a, closed, failing, last;
    failing.fail_at = 1;
    closed.opens = false;
    FanOutSink fan({{&a, "a"}, {&closed, "b"}, {&failing, "c"}, {&last, "d"}});
    ASSERT_EQ(fan.init_video("", 4, 2), 0);
    for (std::uint8_t v : {7, 8, 9}) {
        fan.source().data()[0] = v;
        double t = 0;
        ASSERT_EQ(fan.write_video_frame(t), 0);
    }
    ASSERT_EQ(fan.finish(), 0);
    const std::vector<std::uint8_t> all = {7, 8, 9};
    EXPECT_EQ(a.firsts, all);
    EXPECT_EQ(last.firsts, all);
    EXPECT_EQ(failing.firsts, std::vector<std::uint8_t>{7});
    EXPECT_TRUE(failing.abandoned && !failing.finished);
    EXPECT_TRUE(!closed.finished && closed.firsts.empty());
    EXPECT_TRUE(a.finished && last.finished && !a.abandoned);
    EXPECT_EQ((std::vector{fan.written(0), fan.written(1), fan.written(2), fan.written(3)}),
              (std::vector{true, false, false, true}));
}

}  // namespace
}  // namespace velq
