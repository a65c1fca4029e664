#include <gtest/gtest.h>

#include "segments/raw_segment.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

std::uint32_t grey(int v) {
    return 0xFF000000u | (std::uint32_t(v) * 0x010101u);
}

TEST(RawSegments, FlatPictureIsOneSegmentHoldingEveryPixelOnce) {
    test::RecordingHost host;
    UBUFFER pic = test::flat_picture(7, 5, 0xFF336699u);
    auto segs = generate_raw_segments(pic, 20, host);
    ASSERT_EQ(segs.size(), 1u);
    EXPECT_EQ(segs[0].pixels.size(), 35u);
    // Stored red, green, blue, alpha.
    EXPECT_DOUBLE_EQ(segs[0].mean[0], 0x33);
    EXPECT_DOUBLE_EQ(segs[0].mean[1], 0x66);
    EXPECT_DOUBLE_EQ(segs[0].mean[2], 0x99);
    EXPECT_DOUBLE_EQ(segs[0].mean[3], 0xFF);
    EXPECT_EQ(host.titles().front(), "Velquinograph (Generating raw segments...)");
    EXPECT_EQ(host.titles().back(), "Velquinograph");
}

TEST(RawSegments, GrowFollowsRunningMeanWithInclusiveThreshold) {
    struct Case {
        const char* name;
        std::vector<int> row;
        double thr;
        std::vector<std::size_t> sizes;
        std::vector<int> flat;
    } cases[] = {
        // 110 is exactly THR from 100 and joins; the mean moves to 105 and 125 is 20 away.
        {"inclusive", {100, 110, 125}, 10, {2, 1}, {105, 105, 125}},
        {"just over", {100, 111, 125}, 10, {1, 1, 1}, {100, 111, 125}},
        // 100, 108 -> mean 104; 116 is 12 away from it but 8 from 108: the mean decides.
        {"mean not neighbour", {100, 108, 116}, 10, {2, 1}, {104, 104, 116}},
        {"thr zero", {7, 7, 8}, 0, {2, 1}, {7, 7, 8}},
    };
    for (const Case& c : cases) {
        test::RecordingHost host;
        UBUFFER pic = test::make_picture(int(c.row.size()), 1, [&](int x, int) { return grey(c.row[x]); });
        auto segs = generate_raw_segments(pic, c.thr, host);
        ASSERT_EQ(segs.size(), c.sizes.size()) << c.name;
        for (std::size_t i = 0; i < segs.size(); ++i) EXPECT_EQ(segs[i].pixels.size(), c.sizes[i]) << c.name;
        for (int x = 0; x < int(c.row.size()); ++x)
            EXPECT_EQ(pic.at(x, 0, 1), c.flat[x]) << c.name << " x=" << x;
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

TEST(RawSegments, ConnectivityIsFourWay) {
    // Two black pixels touching only at a corner, on white: four segments.
    test::RecordingHost host;
    UBUFFER pic = test::make_picture(2, 2, [](int x, int y) { return x == y ? grey(0) : grey(255); });
    auto segs = generate_raw_segments(pic, 20, host);
    EXPECT_EQ(segs.size(), 4u);
}

TEST(RawSegments, ZeroThresholdOnNoiseGivesAboutOneSegmentPerPixel) {
    test::RecordingHost host;
    UBUFFER pic = test::noise_picture(40, 30, 7);
    auto segs = generate_raw_segments(pic, 0, host);
    EXPECT_GE(segs.size(), 1190u);
    std::size_t total = 0;
    for (const auto& s : segs) total += s.pixels.size();
    EXPECT_EQ(total, 1200u);
}

TEST(RawSegments, EveryPixelCarriesItsSegmentsTruncatedMean) {
    test::RecordingHost host;
    UBUFFER pic = test::noise_picture(23, 17, 3);
    auto segs = generate_raw_segments(pic, 60, host);
    for (const auto& s : segs) {
        const double bgra[4] = {s.mean[2], s.mean[1], s.mean[0], s.mean[3]};
        for (const Pixel& p : s.pixels)
            for (int k = 0; k < 4; ++k) ASSERT_EQ(pic.at(p.x, p.y, k), int(bgra[k]));
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
