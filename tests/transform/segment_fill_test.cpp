#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "ring_checks.h"
#include "segments/vectorize.h"
#include "support/circles.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/segment_fill.h"

namespace velq {
namespace {

// A red square holding a green blob and a blue one touching the red's edge, on white; and a band of
// yellow reaching the picture's right edge, so some regions close along the frame.
UBUFFER scene() {
    return test::make_picture(60, 48, [](int x, int y) -> std::uint32_t {
        if (x >= 48 && y >= 10 && y < 30) return 0xFFFFFF00u;
        if (x >= 16 && x < 24 && y >= 16 && y < 24) return 0xFF00FF00u;
        if (x >= 8 && x < 14 && y >= 30 && y < 40) return 0xFF0000FFu;
        if (x >= 8 && x < 40 && y >= 8 && y < 40) return 0xFFFF0000u;
        return 0xFFFFFFFFu;
    });
}

struct Packed {
    std::vector<BoundaryPiece> pieces;
    std::vector<Segment> segments;
    IBUFFER map;
    std::size_t count = 0;
};

Packed pack(test::RecordingHost& host, double min_size = 0.01, double max_size = 0.08, int gap = 1,
            int threads = 1) {
    Packed p;
    UBUFFER pic = scene();
    EXPECT_TRUE(vectorize(pic, 1, 20, host, {p.pieces, p.segments, p.map}));
    p.count = fill_circle_algo2(p.segments, {min_size, max_size, gap, threads}, 60, 48, host).value_or(0);
    return p;
}

TEST(SegmentFill, EveryCircleLiesInsideItsSegmentAndOutsideItsChildren) {
    test::RecordingHost host;
    Packed p = pack(host);
    ASSERT_GE(p.segments.size(), 3u);
    std::size_t total = 0, with_children = 0;
    for (const Segment& s : p.segments) {
        total += s.circles.size();
        with_children += s.children.empty() ? 0 : s.circles.size();
        for (const Circle& c : s.circles) {
            const double x = c.x * 60, y = c.y * 48;  // centres are stored as fractions
            ASSERT_TRUE(test::inside_ring(s.loop.points, x, y)) << x << "," << y;
            EXPECT_GE(test::distance_to_ring(s.loop.points, x, y), c.radius - 1e-6);
            for (const BoundaryPiece& child : s.children) {
                EXPECT_FALSE(test::inside_ring(child.points, x, y)) << x << "," << y;
                EXPECT_GE(test::distance_to_ring(child.points, x, y), c.radius - 1e-6);
            }
            EXPECT_EQ(c.own, s.colour);  // a circle paints its Segment's colour
            EXPECT_GE(c.radius + 0.5, 60 * 0.01 - 1e-9);
            EXPECT_LE(c.radius + 0.5, 60 * 0.08 + 1e-9);
        }
    }
    EXPECT_EQ(p.count, total);
    EXPECT_GT(with_children, 0u);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(std::ranges::count(host.titles(), std::string("Velquinograph (Transforming...)")), 1);
}

// Regions are packed side by side: the circles and their order never depend on how many threads do
// it. Disabled segments are not packed, a stopped packing still stores fractions, and radius bounds
// that leave no room are refused.
TEST(SegmentFill, ThreadCountChangesNothingAndDisabledSegmentsAreSkipped) {
    test::RecordingHost host;
    Packed base = pack(host);
    ASSERT_GT(base.count, 0u);
    for (const int threads : {1, 2, 8}) {
        SCOPED_TRACE(threads);
        std::vector<Segment> segments = base.segments;
        EXPECT_EQ(fill_circle_algo2(segments, {0.01, 0.08, 1, threads}, 60, 48, host).value_or(0),
                  base.count);
        for (std::size_t i = 0; i < segments.size(); ++i)
            EXPECT_TRUE(test::same_circles(segments[i].circles, base.segments[i].circles)) << i;
    }
    base.segments[0].enabled = false;
    EXPECT_LT(fill_circle_algo2(base.segments, {0.01, 0.08, 1}, 60, 48, host).value_or(0), base.count);
    EXPECT_TRUE(base.segments[0].circles.empty());
    host.stop = true;
    fill_circle_algo2(base.segments, {0.01, 0.08, 1}, 60, 48, host);
    for (const Segment& s : base.segments)
        for (const Circle& c : s.circles) EXPECT_LE(c.x, 1.0);
    // min, max; 1.1 / 60 >= 0.018
    for (const auto& [min, max] : {std::pair{0.05, 0.05}, {0.02, 0.01}, {0.0, 0.018}}) {
        test::RecordingHost refused;
        EXPECT_EQ(pack(refused, min, max).count, 0u) << min << " " << max;
        EXPECT_TRUE(refused.said("Invalid MAX, MIN value in fill_circle_algo2()")) << min << " " << max;
    }
}

}  // namespace
}  // namespace velq
