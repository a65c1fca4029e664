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
    // The line and the small blob are unlabelled; the background and the red blob keep their labels.
    EXPECT_EQ(std::vector<std::uint32_t>({r.map.at(1, 3), r.map.at(6, 7), r.map.at(0, 0), r.map.at(6, 2)}),
              std::vector<std::uint32_t>({0, 0, 1, 3}));
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
        std::vector<std::pair<int, int>> added;
        for (std::size_t i = 1; i < s.pixels.size(); ++i) {
            added.emplace_back(s.pixels[i].x, s.pixels[i].y);
            EXPECT_EQ(map.at(s.pixels[i].x, s.pixels[i].y), 1u) << c.name;  // "taken"
        }
        EXPECT_EQ(added, c.added) << c.name;
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
