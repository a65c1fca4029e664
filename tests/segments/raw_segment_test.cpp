#include <gtest/gtest.h>

#include <tuple>

#include "art.h"
#include "segments/raw_segment.h"
#include "segments/refine.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

std::uint32_t grey(int v) {
    return 0xFF000000u | (std::uint32_t(v) * 0x010101u);
}

// Segments grow four-way from each unclaimed pixel while a pixel lies within THR (inclusive) of the
// running mean, not of its neighbour; every pixel takes its segment's truncated mean. Stopped, the
// stage returns what it made (nothing) and closes its title.
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
        host.stop = true;
        EXPECT_TRUE(generate_raw_segments(pic, c.thr, host).empty());
        EXPECT_EQ(host.titles().back(), "Velquinograph");
    }
}

TEST(RawSegments, DuplicatePopsWeighInTheMeanAndAreRemovedFromTheList) {
    // Seed (0,0) pushes (1,0) then (0,1); (0,1) is grown first, then (1,1), which pushes (1,0) a
    // second time: (1,0) is popped twice, so n = 5 and its 21 counts twice: 42 / 5 = 8.4.
    test::RecordingHost host;
    UBUFFER pic = test::make_picture(2, 2, [](int x, int y) { return grey(x == 1 && y == 0 ? 21 : 0); });
    auto segs = generate_raw_segments(pic, 255, host);
    ASSERT_EQ(segs.size(), 1u);
    std::vector<std::tuple<int, int, int>> pixels;  // x, y, tag
    for (const Pixel& p : segs[0].pixels) pixels.emplace_back(p.x, p.y, p.tag);
    EXPECT_EQ(pixels, (std::vector<std::tuple<int, int, int>>{{0, 0, 1}, {0, 1, 1}, {1, 1, 1}, {1, 0, 1}}));
    EXPECT_DOUBLE_EQ(segs[0].mean[0], 8.4);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(pic.at(x, y, 0), 8);  // truncated, not rounded
}

TEST(MinorSegments, RaggedSegmentsGoCompactOnesStayBackgroundNeverKept) {
    // Position 0 is the white background. Line: 7 pixels, boundary 7*2 + 2 = 16 -> ratio 2.3.
    // 4x4 blob: boundary 16 / 16 pixels = 1.0 (kept: the limit is inclusive). 3x3: 12 / 9.
    const std::vector<std::string> art = {
        "............", ".#...rrrr...", ".#...rrrr...", ".#...rrrr...", ".#...rrrr...",
        ".#..........", ".#...ggg....", ".#...ggg....", ".....ggg....", "............",
    };
    test::RecordingHost host;
    UBUFFER pic = test::art_picture(art);
    std::vector<RawSegment> raw = generate_raw_segments(pic, 20, host);
    IBUFFER map;
    map.allocate(pic.width(), pic.height());
    label_segments(raw, map);
    const std::vector<RawSegment> kept = remove_minor_segments(raw, map, 1.0, host);
    ASSERT_EQ(raw.size(), 4u);
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].pixels.size(), 16u);
    // The line and the small blob are unlabelled; the background and the red blob keep their labels.
    EXPECT_EQ(std::vector<std::uint32_t>({map.at(1, 3), map.at(6, 7), map.at(0, 0), map.at(6, 2)}),
              std::vector<std::uint32_t>({0, 0, 1, 3}));
}

TEST(Dilation, OneRingInNeighbourOrderSkippingBorderPixelsAndTakenCells) {
    // name, x, y, pixels added
    const std::tuple<const char*, int, int, std::vector<std::pair<int, int>>> cases[] = {
        {"inner", 2, 2, {{2, 1}, {2, 3}, {1, 2}, {3, 2}}},
        {"left border", 0, 2, {}},
        {"bottom border", 2, 4, {}},
        {"top border", 2, 0, {}},
        {"next to taken", 3, 1, {{3, 2}, {2, 1}, {4, 1}}},
    };
    for (const auto& [name, x, y, want] : cases) {
        IBUFFER map;
        map.allocate(5, 5);
        map.at(3, 0) = 9;  // someone else's cell
        RawSegment s;
        s.pixels.push_back(Pixel{1, x, y});
        map.at(x, y) = 2;
        dilate_segment(map, s);
        std::vector<std::pair<int, int>> added;
        for (std::size_t i = 1; i < s.pixels.size(); ++i) {
            added.emplace_back(s.pixels[i].x, s.pixels[i].y);
            EXPECT_EQ(map.at(s.pixels[i].x, s.pixels[i].y), 1u) << name;  // "taken"
        }
        EXPECT_EQ(added, want) << name;
    }
}

TEST(Dilation, PassesOverNewPixelsOnlyEqualFullPasses) {
    // Reference: every pass visits every pixel of every segment, as one call of dilate_segment does,
    // segment after segment in list order.
    for (std::uint32_t seed : {1u, 2u, 3u, 4u, 5u}) {
        // Blocks of a few coarse colours over a little noise: compact segments that are kept, ragged
        // ones that are removed and leave room for several passes of growth.
        const UBUFFER noise = test::noise_picture(37, 29, seed);
        UBUFFER pic = test::make_picture(37, 29, [&](int x, int y) {
            const std::uint32_t h =
                std::uint32_t(x / 5) * 73856093u ^ std::uint32_t(y / 4) * 19349663u ^ seed;
            return 0xFF000000u | ((x + y) % 7 ? h & 0xC0C0C0u : noise.at(x, y, 0) * 0x10101u);
        });
        test::RecordingHost host;
        std::vector<RawSegment> raw = generate_raw_segments(pic, 0, host);
        IBUFFER map;
        map.allocate(pic.width(), pic.height());
        label_segments(raw, map);
        std::vector<RawSegment> kept = remove_minor_segments(raw, map, 1.0, host);
        ASSERT_GE(kept.size(), 3u) << seed;
        std::vector<RawSegment> ref = kept;
        IBUFFER ref_map = map.clone();
        dilate_segments(map, kept, 4, host);
        for (int pass = 0; pass < 4; ++pass)
            for (RawSegment& s : ref) dilate_segment(ref_map, s);
        auto places = [](const std::vector<RawSegment>& segs) {
            std::vector<std::vector<std::pair<int, int>>> out;
            for (const RawSegment& s : segs) {
                out.emplace_back();
                for (const Pixel& p : s.pixels) out.back().emplace_back(p.x, p.y);
            }
            return out;
        };
        EXPECT_EQ(places(kept), places(ref)) << seed;
    }
}

}  // namespace
}  // namespace velq
