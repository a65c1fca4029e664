#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "art.h"
#include "segments/loops.h"
#include "segments/segment_pixels.h"
#include "segments/vectorize.h"
#include "support/recording_host.h"

namespace velq {
namespace {

struct Result {
    std::vector<BoundaryPiece> pieces;
    std::vector<Segment> segments;
    IBUFFER label_map;
};

Result run(UBUFFER pic, int interpolation, test::RecordingHost& host) {
    Result r;
    EXPECT_TRUE(vectorize(pic, interpolation, 20, host, {r.pieces, r.segments, r.label_map}));
    return r;
}

// White background, a red 16 x 16 square at (4, 4) with a green 4 x 4 blob at (10, 10).
UBUFFER ring_with_blob() {
    return test::make_picture(24, 24, [](int x, int y) -> std::uint32_t {
        if (x >= 10 && x < 14 && y >= 10 && y < 14) return 0xFF00FF00u;
        if (x >= 4 && x < 20 && y >= 4 && y < 20) return 0xFFFF0000u;
        return 0xFFFFFFFFu;
    });
}

TEST(Vectorize, FlatPictureIsAllBackgroundAndGivesNothing) {
    test::RecordingHost host;
    Result r = run(test::flat_picture(30, 20, 0xFF204080u), 5, host);
    EXPECT_TRUE(r.pieces.empty() && r.segments.empty());
    ASSERT_TRUE(r.label_map);
    EXPECT_EQ(*std::max_element(r.label_map.data(), r.label_map.data() + r.label_map.size()), 0u);
}

TEST(Vectorize, BlobInsideRingIsAChildAndLeavesItsParentsColour) {
    test::RecordingHost host;
    Result r = run(ring_with_blob(), 1, host);
    ASSERT_EQ(r.pieces.size(), 2u);  // two islands, no frame
    ASSERT_EQ(r.segments.size(), 2u);
    const Segment& ring = r.segments[0];
    const Segment& blob = r.segments[1];
    // The loops lie a quarter pixel before each border and are drawn rounded: the ring's pixels run
    // 4..20 (its right and bottom line on white), the blob's 10..14. So 33 white line pixels among
    // 17 * 17 - 25 = 264 make the ring's colour; the blob's green no longer counts.
    EXPECT_DOUBLE_EQ(ring.colour.c0, 255.0);
    EXPECT_DOUBLE_EQ(ring.colour.c1, 33 * 255.0 / 264);
    EXPECT_DOUBLE_EQ(ring.colour.c2, 33 * 255.0 / 264);
    EXPECT_DOUBLE_EQ(blob.colour.c1, 16 * 255.0 / 25);
    // The final label map: the blob's pixels name the blob.
    EXPECT_EQ(
        std::vector<std::uint32_t>({r.label_map.at(11, 11), r.label_map.at(5, 5), r.label_map.at(1, 1)}),
        std::vector<std::uint32_t>({2, 1, 0}));
    // The ring's region has the blob as a hole.
    ASSERT_EQ(ring.regions.size(), 1u);
    EXPECT_EQ(ring.regions[0].holes.size(), 1u);
    const std::vector<std::string> stages = {
        "Velquinograph (Generating raw segments...)",          "Velquinograph (Removing minor segments...)",
        "Velquinograph (Getting vectorized segment edges...)", "Velquinograph (Detecting segments...)",
        "Velquinograph (Detecting segment pixels...)",         "Velquinograph (Sorting segments...)",
        "Velquinograph (Detecting segment children...)",       "Velquinograph (Unifying segment children...)",
    };
    std::vector<std::string> seen = host.titles();
    std::erase(seen, "Velquinograph");
    EXPECT_EQ(seen, stages);
}

TEST(SegmentOrder, ExchangeSortIsDescendingAndMovesEqualsOnlyThroughThirdSwaps) {
    // counts, order; order: original positions after sorting
    const std::tuple<std::vector<int>, std::vector<int>> cases[] = {
        {{1, 2, 3}, {2, 1, 0}},
        {{5, 5, 9}, {2, 1, 0}},  // the 9's swap moves the first 5 behind the second
        {{3, 1, 3}, {0, 2, 1}},  // equal 3s keep their order
        {{2, 7, 2, 7}, {1, 3, 2, 0}},
    };
    for (const auto& [counts, order] : cases) {
        std::vector<Segment> segs(counts.size());
        for (std::size_t i = 0; i < segs.size(); ++i) {
            segs[i].pixels.resize(std::size_t(counts[i]));
            segs[i].colour.index = int(i);
        }
        test::RecordingHost host;
        sort_segments(segs, false, host);
        for (std::size_t i = 0; i < segs.size(); ++i) EXPECT_EQ(segs[i].colour.index, order[i]);
        EXPECT_TRUE(host.titles().empty());
    }
}

TEST(SegmentChildren, MoreThanHalfClaimedMakesAChild) {
    // Segment 0 is a 10 x 10 square; segment 1 a 4 x 4 square half inside it, segment 2 one
    // three-quarters inside.
    auto square = [](double x0, double y0, double side) {
        Segment s;
        s.loop.closed = true;
        s.loop.points = {{x0, y0}, {x0 + side, y0}, {x0 + side, y0 + side}, {x0, y0 + side}};
        return s;
    };
    std::vector<Segment> segs;
    segs.push_back(square(0, 0, 9));
    segs.push_back(square(7, 0, 4));   // columns 7..11: 3 of 5 inside the big one's 0..9
    segs.push_back(square(-3, 3, 4));  // columns -3..1 on a picture from 0: all kept pixels inside
    UBUFFER pic = test::flat_picture(20, 20, 0xFF808080u);
    test::RecordingHost host;
    ASSERT_EQ(detect_segment_pixels(segs, 20, 20, false, host), 0);
    EXPECT_EQ(segs[2].pixels.size(), 10u);  // pixels left of the picture dropped
    ASSERT_TRUE(detect_segment_children(segs, pic, false, host));
    EXPECT_EQ(segs[0].children.size(), 2u);
}

}  // namespace
}  // namespace velq
