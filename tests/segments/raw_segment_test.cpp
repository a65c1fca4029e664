#include <gtest/gtest.h>

#include "segments/raw_segment.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

std::uint32_t grey(int v) {
    return 0xFF000000u | (std::uint32_t(v) * 0x010101u);
}

// Segments grow four-way from each unclaimed pixel while a pixel lies within THR (inclusive) of the
// running mean, not of its neighbour; every pixel takes its segment's truncated mean.
TEST(RawSegments, GrowFollowsRunningMeanWithInclusiveThreshold) {
    struct Case {
        const char* name;
        std::vector<std::vector<int>> rows;
        double thr;
        std::vector<std::size_t> sizes;
        std::vector<int> flat;  // the first row afterwards
    } cases[] = {
        {"flat",
         std::vector<std::vector<int>>(5, std::vector<int>(7, 0x66)),
         20,
         {35},
         std::vector<int>(7, 0x66)},
        // 110 is exactly THR from 100 and joins; the mean moves to 105 and 125 is 20 away.
        {"inclusive", {{100, 110, 125}}, 10, {2, 1}, {105, 105, 125}},
        {"just over", {{100, 111, 125}}, 10, {1, 1, 1}, {100, 111, 125}},
        // 100, 108 -> mean 104; 116 is 12 away from it but 8 from 108: the mean decides.
        {"mean not neighbour", {{100, 108, 116}}, 10, {2, 1}, {104, 104, 116}},
        {"thr zero", {{7, 7, 8}}, 0, {2, 1}, {7, 7, 8}},
        {"corners do not connect", {{0, 255}, {255, 0}}, 20, {1, 1, 1, 1}, {0, 255}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::RecordingHost host;
        UBUFFER pic = test::make_picture(int(c.rows[0].size()), int(c.rows.size()),
                                         [&](int x, int y) { return grey(c.rows[y][x]); });
        auto segs = generate_raw_segments(pic, c.thr, host);
        std::vector<std::size_t> sizes;
        for (const auto& s : segs) sizes.push_back(s.pixels.size());
        EXPECT_EQ(sizes, c.sizes);
        for (int x = 0; x < int(c.flat.size()); ++x) EXPECT_EQ(pic.at(x, 0, 1), c.flat[x]) << x;
    }
}

TEST(RawSegments, DuplicatePopsWeighInTheMeanAndAreRemovedFromTheList) {
    // Seed (0,0) pushes (1,0) then (0,1); (0,1) is grown first, then (1,1), which pushes (1,0) a
    // second time: (1,0) is popped twice, so n = 5 and its 21 counts twice: 42 / 5 = 8.4.
    test::RecordingHost host;
    UBUFFER pic = test::make_picture(2, 2, [](int x, int y) { return grey(x == 1 && y == 0 ? 21 : 0); });
    auto segs = generate_raw_segments(pic, 255, host);
    ASSERT_EQ(segs.size(), 1u);
    ASSERT_EQ(segs[0].pixels.size(), 4u);
    const int order[4][2] = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(segs[0].pixels[i].x, order[i][0]);
        EXPECT_EQ(segs[0].pixels[i].y, order[i][1]);
        EXPECT_EQ(segs[0].pixels[i].tag, 1);
    }
    EXPECT_DOUBLE_EQ(segs[0].mean[0], 8.4);
    EXPECT_DOUBLE_EQ(segs[0].mean[3], 255.0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(pic.at(x, y, 0), 8);  // truncated, not rounded
}

TEST(RawSegments, EveryPixelOnceCarryingItsSegmentsTruncatedMean) {
    for (const double thr : {0.0, 60.0}) {
        test::RecordingHost host;
        UBUFFER pic = test::noise_picture(23, 17, 3);
        auto segs = generate_raw_segments(pic, thr, host);
        std::size_t total = 0;
        for (const auto& s : segs) {
            total += s.pixels.size();
            const double bgra[4] = {s.mean[2], s.mean[1], s.mean[0], s.mean[3]};  // stored red first
            for (const Pixel& p : s.pixels)
                for (int k = 0; k < 4; ++k) ASSERT_EQ(pic.at(p.x, p.y, k), int(bgra[k])) << thr;
        }
        EXPECT_EQ(total, 23u * 17u) << thr;
    }
}

TEST(RawSegments, StopReturnsWhatWasMade) {
    test::RecordingHost host;
    host.stop = true;
    UBUFFER pic = test::noise_picture(10, 10, 1);
    EXPECT_TRUE(generate_raw_segments(pic, 0, host).empty());
    EXPECT_EQ(host.titles().back(), "Velquinograph");
}

}  // namespace
}  // namespace velq
