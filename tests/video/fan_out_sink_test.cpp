#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "video/fan_out_sink.h"

namespace velq {
namespace {

// Keeps the last byte of every frame; cannot open with `fail_at` 0, fails frame `fail_at` otherwise.
struct Keeper : VideoSink {
    int fail_at = -1;
    std::vector<int> firsts;
    bool finished = false, abandoned = false;
    UBUFFER picture;
    int init_video(const std::string&, int w, int h) override {
        return fail_at != 0 && picture.allocate(w, h, 4) ? 0 : -1;
    }
    UBUFFER& source() override { return picture; }
    int write_video_frame(double&) override {
        if (int(firsts.size()) + 1 == fail_at) return -1;
        firsts.push_back(picture.data()[picture.size() - 1]);
        return 0;
    }
    int finish() override { return (finished = true) ? 0 : -1; }
    void abandon() override { abandoned = true; }
};

// Every output that stays open sees every frame, placed by its own layout (the last at twice the
// size, 2 pixels in); one that cannot open or fails is abandoned while the others go on.
TEST(FanOutSink, EachOutputPlacedCompleteOrAbandoned) {
    std::vector<Keeper> k(5);
    k[1].fail_at = 0;
    k[2].fail_at = 2;
    const FrameLayout same{4, 2, 4, 2, 0, 0}, twice{8, 4, 10, 4, 2, 0};
    FanOutSink fan({{&k[0], "a", same},
                    {&k[1], "b", same},
                    {&k[2], "c", same},
                    {&k[3], "d", same},
                    {&k[4], "e", twice}});
    ASSERT_EQ(fan.init_video("", 4, 2), 0);
    for (int v : {7, 8, 9}) {
        std::memset(fan.source().data(), v, fan.source().size());
        double t = 0;
        ASSERT_EQ(fan.write_video_frame(t), 0);
    }
    ASSERT_EQ(fan.finish(), 0);
    EXPECT_EQ(k[0].firsts, (std::vector{7, 8, 9}));
    EXPECT_EQ(k[3].firsts, (std::vector{7, 8, 9}));
    EXPECT_EQ(k[4].firsts, (std::vector{7, 8, 9}));
    EXPECT_EQ(k[4].picture.width(), 10);
    EXPECT_EQ(k[2].firsts, std::vector{7});
    for (std::size_t i = 0; i < k.size(); ++i) {
        EXPECT_EQ(fan.written(i), i != 1 && i != 2) << i;
        EXPECT_EQ(k[i].finished, fan.written(i)) << i;
        EXPECT_EQ(k[i].abandoned, i == 2) << i;
    }
}

}  // namespace
}  // namespace velq
