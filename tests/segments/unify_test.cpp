#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "segments/unify.h"

namespace velq {
namespace {

using Ring = std::vector<BoundaryPoint>;

double area(const Ring& r) {
    double a = 0;
    for (std::size_t i = 0, j = r.size() - 1; i < r.size(); j = i++) a += r[j].x * r[i].y - r[i].x * r[j].y;
    return std::fabs(a) / 2;
}

Ring square(double x0, double y0, double x1, double y1) {
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

// A loop that passes twice through a point, or crosses itself, is split there, so its children are cut
// out exactly.
TEST(Unify, LoopTouchingOrCrossingItselfIsSplitThere) {
    struct Case {
        const char* name;
        Ring loop;
        std::vector<Ring> children;
        std::size_t regions;
        double area;  // outer rings minus holes
    };
    const Case cases[] = {
        {"two squares meeting at a corner, a child in one and one across the other",
         {{0, 0}, {4, 0}, {4, 4}, {8, 4}, {8, 8}, {4, 8}, {4, 4}, {0, 4}},
         {square(1, 1, 3, 3), square(6, 6, 10, 10)},
         2,
         32 - 4 - 4},
        {"a corner twisted across the border: the twisted part is left out",
         {{1, 0}, {10, 0}, {10, 10}, {0, 10}, {2, -2}},
         {},
         1,
         275.0 / 3},
        {"a lobe turned inwards from a point of the border",
         {{0, 0}, {10, 0}, {10, 10}, {5, 10}, {7, 6}, {3, 6}, {5, 10}, {0, 10}},
         {square(1, 1, 2, 2)},
         1,
         100 - 8 - 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Segment s;
        s.loop.closed = true;
        s.loop.points = c.loop;
        for (const Ring& r : c.children) s.children.push_back({true, 1, r});
        unify_segment(s);
        ASSERT_EQ(s.regions.size(), c.regions);
        double total = 0;
        for (const SegmentRegion& r : s.regions) {
            total += area(r.outer);
            for (const Ring& h : r.holes) total -= area(h);
        }
        EXPECT_NEAR(total, c.area, 1e-9 * c.area);
    }
}

}  // namespace
}  // namespace velq
