#include <gtest/gtest.h>

#include "art.h"
#include "segments/refine.h"
#include "support/recording_host.h"

namespace velq {
namespace {

struct Refined {
    std::vector<RawSegment> raw, kept;
    IBUFFER map;
};

Refined refine(const std::vector<std::string>& art, test::RecordingHost& host) {
    Refined r;
    UBUFFER pic = test::art_picture(art);
    r.raw = generate_raw_segments(pic, 20, host);
    r.map.allocate(pic.width(), pic.height());
    label_segments(r.raw, r.map);
    r.kept = remove_minor_segments(r.raw, r.map, 1.0, host);
    return r;
}

TEST(MinorSegments, RaggedSegmentsGoCompactOnesStayBackgroundNeverKept) {
    // Position 0 is the white background. Line: 7 pixels, boundary 7*2 + 2 = 16 -> ratio 2.3.
    // 4x4 blob: boundary 16 / 16 pixels = 1.0 (kept: the limit is inclusive). 3x3: 12 / 9.
    const std::vector<std::string> art = {
        "............", ".#...rrrr...", ".#...rrrr...", ".#...rrrr...", ".#...rrrr...",
        ".#..........", ".#...ggg....", ".#...ggg....", ".....ggg....", "............",
    };
    test::RecordingHost host;
    Refined r = refine(art, host);
    ASSERT_EQ(r.raw.size(), 4u);
    EXPECT_EQ(r.raw[1].boundary, 16u);  // the line
    EXPECT_EQ(r.raw[2].boundary, 16u);  // the red blob
    EXPECT_EQ(r.raw[3].boundary, 12u);  // the green blob
    ASSERT_EQ(r.kept.size(), 1u);
    EXPECT_EQ(r.kept[0].pixels.size(), 16u);
    EXPECT_EQ(r.map.at(1, 3), 0u);  // the line is unlabelled
    EXPECT_EQ(r.map.at(6, 7), 0u);  // so is the small blob
    EXPECT_EQ(r.map.at(0, 0), 1u);  // the background keeps its label
    EXPECT_EQ(r.map.at(6, 2), 3u);  // the red blob keeps its own
    EXPECT_EQ(host.titles().at(2), "Velquinograph (Removing minor segments...)");
}

TEST(Dilation, OneRingInNeighbourOrderSkippingBorderPixelsAndTakenCells) {
    struct Case {
        const char* name;
        int x, y;
        std::vector<std::pair<int, int>> added;
    } cases[] = {
        {"inner", 2, 2, {{2, 1}, {2, 3}, {1, 2}, {3, 2}}},
        {"left border", 0, 2, {}},
        {"bottom border", 2, 4, {}},
        {"next to taken", 3, 1, {{3, 2}, {2, 1}, {4, 1}}},
    };
    for (const Case& c : cases) {
        IBUFFER map;
        map.allocate(5, 5);
        map.at(3, 0) = 9;  // someone else's cell
        RawSegment s;
        s.pixels.push_back(Pixel{1, c.x, c.y});
        map.at(c.x, c.y) = 2;
        dilate_segment(map, s);
        ASSERT_EQ(s.pixels.size(), 1 + c.added.size()) << c.name;
        for (std::size_t i = 0; i < c.added.size(); ++i) {
            EXPECT_EQ(s.pixels[i + 1].x, c.added[i].first) << c.name;
            EXPECT_EQ(s.pixels[i + 1].y, c.added[i].second) << c.name;
            EXPECT_EQ(map.at(c.added[i].first, c.added[i].second), 1u) << c.name;  // "taken"
        }
    }
}

TEST(Dilation, PassesGrowIntoFreedPixelsEarlierSegmentFirstAndNeverIntoBackground) {
    const std::vector<std::string> art = {
        "..............", "..rrrr..bbbb..", "..rrrr..bbbb..",
        "..rrrr..bbbb..", "..rrrr..bbbb..", "..............",
    };
    for (int passes : {0, 1, 3}) {
        test::RecordingHost host;
        Refined r = refine(art, host);
        ASSERT_EQ(r.kept.size(), 2u);
        dilate_segments(r.map, r.kept, passes, host);
        label_segments(r.kept, r.map);
        // The white background keeps its labels through removal, so nothing grows into it and the
        // relabelling leaves it empty.
        EXPECT_EQ(r.map.at(6, 2), 0u) << passes;
        EXPECT_EQ(r.map.at(0, 0), 0u) << passes;
        EXPECT_EQ(r.kept[0].pixels.size(), 16u) << passes;
    }
    // A removed line inside a kept block: no pass leaves it unlabelled, one pass gives it to the block.
    const std::vector<std::string> lined = {
        "..........", ".rrrrrrrr.", ".rrrrrrrr.", ".rr#rrrrr.", ".rr#rrrrr.",
        ".rr#rrrrr.", ".rrrrrrrr.", ".rrrrrrrr.", "..........",
    };
    for (int passes : {0, 1}) {
        test::RecordingHost host;
        Refined r = refine(lined, host);
        ASSERT_EQ(r.kept.size(), 1u);
        dilate_segments(r.map, r.kept, passes, host);
        label_segments(r.kept, r.map);
        for (int y = 3; y <= 5; ++y) EXPECT_EQ(r.map.at(3, y), passes == 0 ? 0u : 1u) << passes;
    }
    // Without the background rule the gap is contested: red comes first and takes it.
    IBUFFER map = test::art_labels({
        "......",
        ".1..2.",
        ".1..2.",
        "......",
    });
    std::vector<RawSegment> segs(2);
    for (int y = 1; y <= 2; ++y) {
        segs[0].pixels.push_back(Pixel{1, 1, y});
        segs[1].pixels.push_back(Pixel{1, 4, y});
    }
    test::RecordingHost host;
    dilate_segments(map, segs, 1, host);
    label_segments(segs, map);
    EXPECT_EQ(map.at(2, 1), 1u);
    EXPECT_EQ(map.at(3, 1), 2u);
    dilate_segments(map, segs, 1, host);
    label_segments(segs, map);
    EXPECT_EQ(map.at(2, 0), 1u);  // reached through the pixel added in the first pass
}

}  // namespace
}  // namespace velq

namespace velq {
namespace {

TEST(Dilation, PassesOverNewPixelsOnlyEqualFullPasses) {
    // Reference: every pass visits every pixel of every segment, as one call of dilate_segment does.
    for (std::uint32_t seed : {1u, 2u, 3u, 4u, 5u}) {
        UBUFFER pic = test::noise_picture(37, 29, seed);
        for (std::size_t i = 0; i < pic.size(); ++i) pic.data()[i] &= 0xC0;  // a few coarse colours
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
        ASSERT_EQ(kept.size(), ref.size());
        for (std::size_t i = 0; i < kept.size(); ++i) {
            ASSERT_EQ(kept[i].pixels.size(), ref[i].pixels.size()) << seed;
            for (std::size_t k = 0; k < kept[i].pixels.size(); ++k) {
                ASSERT_EQ(kept[i].pixels[k].x, ref[i].pixels[k].x);
                ASSERT_EQ(kept[i].pixels[k].y, ref[i].pixels[k].y);
            }
        }
    }
}

}  // namespace
}  // namespace velq
