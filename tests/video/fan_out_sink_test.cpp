#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "recording_sink.h"
#include "video/fan_out_sink.h"

namespace velq {
namespace {

// Every output that stays open sees every frame, placed by its own layout (the last at twice the
// size, 2 pixels in); one that cannot open or fails is abandoned while the others go on.
TEST(FanOutSink, EachOutputPlacedCompleteOrAbandoned) {
    std::vector<test::RecordingSink> k(5);
    k[1].refuse_open = true;
    k[2].fail = 1;
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
    for (const int i : {0, 3, 4}) EXPECT_EQ(k[i].seen, (std::vector{7, 8, 9})) << i;
    EXPECT_EQ(k[4].picture.width(), 10);
    EXPECT_EQ(k[2].seen, std::vector{7});
    for (std::size_t i = 0; i < k.size(); ++i) {
        EXPECT_EQ(fan.written(i), i != 1 && i != 2) << i;
        EXPECT_EQ(k[i].finished, fan.written(i)) << i;
        EXPECT_EQ(k[i].abandoned, i == 2) << i;
    }
}

}  // namespace
}  // namespace velq
