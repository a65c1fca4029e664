#include <gtest/gtest.h>

#include <bit>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "generated.h"
#include "image/resample.h"
#include "reference_packer.h"
#include "ring_checks.h"
#include "support/recording_host.h"
#include "transform/brush_size.h"
#include "transform/cell_grid.h"
#include "transform/corner.h"
#include "transform/outline_set.h"
#include "transform/packer.h"

namespace velq {
namespace {

// Options without a brush-size map.
PackOptions options(double min_radius, double max_radius, double gap) {
    return {min_radius, max_radius, gap};
}

PackRegion frame(double w, double h) {
    return {{{0, 0}, {w, 0}, {w, h}, {0, h}}, {}};
}

// A picture packed the way the Normal transform does it: the brush-size map is made at the size of
// the picture before its enlargement by `factor`, the circles at the working size.
struct Packing {
    UBUFFER working;
    IBUFFER map;
    PackRegion region;
    PackOptions options;
};

Packing normal_setup(test::PictureKind kind, int w, int h, std::uint32_t seed, int factor = 3, int gap = 1) {
    Packing s;
    s.working = test::generated_picture(kind, w, h, seed);
    QuietHost host;
    UBUFFER small;
    small.allocate((w - 1) / factor + 1, (h - 1) / factor + 1, 4);
    get_resized(host, s.working, small);
    const int l = std::max(small.width(), small.height());
    s.map = get_brush_size(host, small, 20, int(l * 0.05 + 0.5), int(l * 0.0005 + 0.5));
    s.region = frame(w, h);
    s.options.min_radius = std::max(1.1, w * 0.0005);
    s.options.max_radius = w * 0.05;
    s.options.gap = gap;
    s.options.brush_map = &s.map;
    s.options.picture_width = w;
    s.options.picture_height = h;
    return s;
}

// Every circle keeps its radius bounds (stored GAP / 2 smaller), lies inside the outer ring and
// outside every hole, and stays GAP away from the others.
::testing::AssertionResult valid_packing(const std::vector<Circle>& circles, const PackOptions& o,
                                         const PackRegion& r) {
    const double shrink = o.gap * 0.5;
    const auto clear_of = [](const PackRing& ring, const Circle& c) {
        return test::distance_to_ring(ring, c.x, c.y) >= c.radius - 1e-9;
    };
    for (std::size_t i = 0; i < circles.size(); ++i) {
        const Circle& c = circles[i];
        if (c.radius < o.min_radius - shrink - 1e-9 || c.radius > o.max_radius - shrink + 1e-9)
            return ::testing::AssertionFailure() << "circle " << i << " radius " << c.radius;
        if (!test::inside_ring(r.outer, c.x, c.y) || !clear_of(r.outer, c))
            return ::testing::AssertionFailure() << "circle " << i << " leaves the outline";
        for (const PackRing& hole : r.holes)
            if (test::inside_ring(hole, c.x, c.y) || !clear_of(hole, c))
                return ::testing::AssertionFailure() << "circle " << i << " meets a hole";
        for (std::size_t j = 0; j < i; ++j) {
            const Circle& d = circles[j];
            const double apart = std::hypot(c.x - d.x, c.y - d.y) - (c.radius + d.radius + o.gap);
            if (apart < -1e-9)
                return ::testing::AssertionFailure()
                       << "circles " << j << " and " << i << " overlap by " << -apart;
        }
    }
    return ::testing::AssertionSuccess();
}

// Centres and radii in packing order, so two packings compare as one vector.
std::vector<std::tuple<double, double, double>> xyr(const std::vector<Circle>& circles) {
    std::vector<std::tuple<double, double, double>> out;
    for (const Circle& c : circles) out.emplace_back(c.x, c.y, c.radius);
    return out;
}

// Every kind of picture, with and without gaps: the packing is valid and the circles are those of the
// plain search one for one.
TEST(Packer, EqualsThePlainSearchCircleForCircle) {
    QuietHost host;
    for (test::PictureKind kind : test::kAllKinds)
        for (std::uint32_t seed : {4u, 5u})
            for (int gap : {0, 1, 3}) {
                SCOPED_TRACE(test::kind_name(kind) + " seed " + std::to_string(seed) + " gap " +
                             std::to_string(gap));
                const int w = 48 + int(seed) * 3, h = 40 - int(seed);
                Packing s = normal_setup(kind, w, h, seed, 3, gap);
                const std::vector<Circle> circles = pack_circles(s.region, s.options, host);
                EXPECT_FALSE(circles.empty());
                EXPECT_TRUE(valid_packing(circles, s.options, s.region));
                EXPECT_EQ(xyr(circles), xyr(test::reference_pack(s.region, s.options)));
            }
}

// FNV-1a over the bit patterns of every circle's centre and radius, in packing order.
std::uint64_t circle_hash(const std::vector<Circle>& circles) {
    std::uint64_t h = 1469598103934665603ull;
    for (const Circle& c : circles)
        for (const double d : {c.x, c.y, c.radius}) {
            const auto bits = std::bit_cast<std::uint64_t>(d);
            for (int i = 0; i < 8; ++i) {
                h ^= (bits >> (8 * i)) & 0xff;
                h *= 1099511628211ull;
            }
        }
    return h;
}

// The packings of a few pictures, pinned bit for bit: speed work on the packer must not move a single
// circle. (Recorded from the packer as first written; change them only with a deliberate change of
// the packing rules.)
TEST(Packer, CircleListsArePinned) {
    struct Case {
        test::PictureKind kind;
        int w, h;
        std::uint32_t seed;
        std::size_t circles;
        std::uint64_t hash;
    };
    const Case cases[] = {
        {test::PictureKind::Photo, 240, 180, 11, 1838, 0x69106e8884104e94ull},
        {test::PictureKind::Noise, 200, 150, 12, 1459, 0x5721f5b06a220da3ull},
        {test::PictureKind::Blocks, 180, 200, 13, 1693, 0x00594632b75848cbull},
        {test::PictureKind::Stripes, 210, 140, 14, 1431, 0x1a2086fb0c9483fdull},
    };
    QuietHost host;
    for (const Case& c : cases) {
        Packing s = normal_setup(c.kind, c.w, c.h, c.seed);
        const std::vector<Circle> circles = pack_circles(s.region, s.options, host);
        EXPECT_EQ(circles.size(), c.circles) << test::kind_name(c.kind);
        EXPECT_EQ(circle_hash(circles), c.hash) << test::kind_name(c.kind);
    }
}

// Regions without a map: the packing is valid and the circles are those of the plain search.
// Nothing is packed when the gap leaves no circle, in a degenerate region, with bounds that leave no
// room, or with a hole across the outer ring (refused at once).
TEST(Packer, RegionsArePackedInsideTheirRings) {
    PackRegion holes;
    holes.outer = {{0, 0}, {60, 2}, {64, 40}, {30, 50}, {2, 38}};
    holes.holes.push_back({{15, 15}, {25, 15}, {25, 25}, {15, 25}});  // square, either orientation
    holes.holes.push_back({{40, 30}, {45, 20}, {50, 30}});            // triangle
    holes.holes.push_back({{30, 8}, {34, 8}, {34, 9}, {30, 9}});      // thin sliver near the edge
    // A small segment region with straight corners (collinear points); once cut, such a corner's
    // bisector is a rounding error.
    PackRegion segment;
    segment.outer = {{2212.75, 369.75}, {2212.75, 370.75}, {2214.75, 371.75}, {2216.75, 372.75},
                     {2216.75, 374.75}, {2218.75, 375.75}, {2218.75, 377.75}, {2212.75, 378.75},
                     {2212.75, 376.75}, {2209.75, 374.75}, {2210.75, 369.75}};
    // A first corner bent outwards by 1e-7 radians: convex, though an angle measured with pi taken as
    // 3.141592 would call it reflex.
    PackRegion bent;
    bent.outer = {{5, 10 + 2.5e-7}, {0, 10}, {0, 0}, {10, 0}, {10, 10}};
    // A first corner on a straight edge whose edge directions cancel to a rounding error outwards.
    PackRegion straight;
    straight.outer = {
        {174.75, 53.75}, {181.708, 56.732}, {151.708, 126.732}, {137.75, 120.75}, {167.75, 50.75}};
    const PackRegion square = frame(10, 10), wide = frame(20, 20);
    PackRegion degenerate, crossed = frame(40, 40);
    degenerate.outer = {{0, 0}, {10, 0}, {20, 0}};
    crossed.holes.push_back({{30, 10}, {50, 10}, {50, 20}, {30, 20}});
    // region, min, max, gap, at least this many circles (0: none at all)
    const std::tuple<PackRegion, double, double, double, std::size_t> cases[] = {
        {holes, 0.8, 2.5, 0.5, 10}, {holes, 0.8, 5.0, 0.5, 10},
        {holes, 0.8, 9.0, 0.5, 10}, {segment, 1.183, 47.32, 1, 2},
        {bent, 1, 3, 1, 4},         {straight, 1, 5, 0, 20},
        {square, 0.1, 2.0, 0.0, 4}, {square, 0.1, 2.0, 1.0, 4},
        {square, 0.1, 0.5, 1.0, 0}, {square, 0.1, 0.5, 0.98, 20},
        {degenerate, 1, 5, 1, 0},   {PackRegion{}, 1, 5, 1, 0},
        {wide, 1, 0, 1, 0},         {wide, 30, 5, 1, 0},
        {crossed, 1, 3, 1, 0}};
    QuietHost host;
    for (const auto& [r, min, max, gap, least] : cases) {
        SCOPED_TRACE(testing::Message()
                     << r.outer.size() << " points, min " << min << " max " << max << " gap " << gap);
        const PackOptions o = options(min, max, gap);
        const std::vector<Circle> circles = pack_circles(r, o, host);
        ASSERT_GE(circles.size(), least);
        if (least == 0) {
            EXPECT_TRUE(circles.empty());
            continue;
        }
        EXPECT_TRUE(valid_packing(circles, o, r));
        EXPECT_EQ(xyr(circles), xyr(test::reference_pack(r, o)));
    }
}

TEST(Packer, ReportsCirclesLiveAndStopsKeepingThem) {
    Packing s = normal_setup(test::PictureKind::Photo, 120, 90, 9);
    s.options.live_interval_seconds = 0;
    test::RecordingHost all;
    const std::vector<Circle> full = pack_circles(s.region, s.options, all);
    EXPECT_EQ(all.live_circles(), full.size());

    // Stopped once the first circle is reported: that circle is kept, and no other.
    test::StopAtFirstCircles stopping;
    const std::vector<Circle> part = pack_circles(s.region, s.options, stopping);
    ASSERT_EQ(part.size(), 1u);
    EXPECT_EQ(stopping.live_circles(), 1u);
    EXPECT_EQ(xyr(part)[0], xyr(full)[0]);

    test::RecordingHost stopped;
    stopped.stop = true;
    EXPECT_TRUE(pack_circles(s.region, s.options, stopped).empty());
}

// The packer's shortcuts must answer exactly as the plain formulas they stand in for: the float box
// test of the edge grid against the double one, and the float steps against std::nextafter. A single
// different answer would change which circles are packed.
TEST(PackShortcuts, FloatStepsAreNextafter) {
    using L = std::numeric_limits<float>;
    const float inf = L::infinity();
    const float cases[] = {
        0.0f,     -0.0f,    1.0f,      -1.0f, 3.5e-3f, -2195.75f, L::denorm_min(), -L::denorm_min(),
        L::min(), L::max(), -L::max(), inf,   -inf};
    auto bits = [](float f) { return std::bit_cast<std::uint32_t>(f); };
    for (const float f : cases)
        EXPECT_EQ(std::pair(bits(pack::float_below(f)), bits(pack::float_above(f))),
                  std::pair(bits(std::nextafter(f, -inf)), bits(std::nextafter(f, inf))))
            << f;
}

TEST(PackShortcuts, FloatQueryMeetsAsTheDoubleBoxTest) {
    // Entry boxes and query boxes whose sides fall on, just beside and between float values.
    const double one_up = std::nextafter(1.0, 2.0), one_down = std::nextafter(1.0, 0.0);
    const float f1 = 1.0f, f1_up = std::nextafter(f1, 2.0f);
    const double between = (double(f1) + double(f1_up)) / 2;  // no float
    const std::vector<pack::Box> entries = {
        {0.0, 0.0, 1.0, 1.0},     {1.0, 1.0, 2.0, 2.0},        {-3.25, 0.5, -1.0, 0.75},
        {between, 0.0, 5.0, 1.0}, {0.1, 0.2, 0.30000001, 0.4}, {1e-30, -1e-30, 2e-30, 1e-30},
    };
    const std::vector<double> sides = {-1.0,   0.0,     0.1,     0.30000001, 0.3, one_down, 1.0,
                                       one_up, between, 1.0e-30, 2.0e-30,    2.0, -3.25,    5.0};
    int checked = 0, met = 0;
    for (const pack::Box& eb : entries) {
        const pack::GridEntry e = pack::GridEntry::make(0, 0, eb);
        // Also the entry's own (float) sides exactly, and the doubles right beside them.
        std::vector<double> xs = sides, ys = {-1.0, 0.0, 0.4, one_up, 0.5, 1.0, 2.0};
        for (const float f : {e.x0, e.x1})
            xs.insert(xs.end(), {f, std::nextafter(double(f), -1e9), std::nextafter(double(f), 1e9)});
        for (const float f : {e.y0, e.y1})
            ys.insert(ys.end(), {f, std::nextafter(double(f), -1e9), std::nextafter(double(f), 1e9)});
        for (const double x0 : xs)
            for (const double x1 : xs) {
                if (x1 < x0) continue;
                for (const double y0 : ys)
                    for (const double y1 : ys) {
                        if (y1 < y0) continue;
                        const pack::Box q{x0, y0, x1, y1};
                        const bool meets = pack::FloatQuery(q).meets(e);
                        EXPECT_EQ(meets, e.meets(q)) << x0 << " " << y0 << " " << x1 << " " << y1;
                        ++checked;
                        met += meets;
                    }
            }
    }
    EXPECT_GT(met, 0);
    EXPECT_LT(met, checked);
}

namespace bg = boost::geometry;
using BPoint = bg::model::d2::point_xy<double>;
using BPolygon = bg::model::polygon<BPoint, false, true>;  // counter-clockwise outer rings, closed
using BMulti = bg::model::multi_polygon<BPolygon>;

// The local splice of the outline checked against Boost.Geometry: after every cut, the remaining
// region must be the starting region minus every cut polygon, up to the simplification tolerance.
BPolygon to_boost(const PackRegion& r) {
    BPolygon p;
    for (const PackPoint& q : r.outer) bg::append(p.outer(), BPoint(q.x, q.y));
    for (const PackRing& h : r.holes) {
        p.inners().emplace_back();
        for (const PackPoint& q : h) bg::append(p.inners().back(), BPoint(q.x, q.y));
    }
    bg::correct(p);
    return p;
}

// The region the outline set holds now: every live piece, outer ring and holes.
BMulti to_boost(const pack::OutlineSet& set) {
    BMulti m;
    auto ring_of = [&](int r, auto& out) {
        const int head = set.ring(r).head;
        int v = head;
        do {
            bg::append(out, BPoint(set.vertex(v).p.x, set.vertex(v).p.y));
            v = set.vertex(v).next;
        } while (v != head);
        bg::append(out, BPoint(set.vertex(head).p.x, set.vertex(head).p.y));
    };
    for (int p = 0; p < set.piece_count(); ++p) {
        const pack::Piece& piece = set.piece(p);
        if (!piece.alive || piece.rings.empty() || piece.rings[0] < 0) continue;
        BPolygon poly;
        ring_of(piece.rings[0], poly.outer());
        for (std::size_t k = 1; k < piece.rings.size(); ++k) {
            poly.inners().emplace_back();
            ring_of(piece.rings[k], poly.inners().back());
        }
        m.push_back(std::move(poly));
    }
    return m;
}

// The polygon a cut takes out (its first attempt), and its perimeter.
BPolygon boost_cut(const pack::Candidate& c, double& perimeter) {
    const std::vector<pack::Vec2> q = pack::cut_polygon(c.centre, c.radius, 0);
    BPolygon p;
    perimeter = 0;
    for (std::size_t j = 0; j <= q.size(); ++j) {
        bg::append(p.outer(), BPoint(q[j % q.size()].x, q[j % q.size()].y));
        if (j > 0) perimeter += pack::dist(q[j - 1], q[j % q.size()]);
    }
    return p;
}

void check_cuts(const PackRegion& region, const pack::CornerRules& rules, int max_cuts,
                const std::string& what) {
    pack::OutlineSet set(region, 6.0);
    pack::CornerEvaluator eval(set, rules);
    PackStats stats;
    BMulti expected;
    expected.push_back(to_boost(region));
    double spans = 0;
    int cuts = 0;
    for (int p = set.current_piece(); p >= 0 && cuts < max_cuts; p = set.current_piece()) {
        bool found = false;
        if (set.piece(p).alive) {
            for (int v : set.corners_in_order(p)) {
                const pack::Candidate c = eval.evaluate(v, pack::EdgeSearch::All);
                if (!c.ok) continue;
                ASSERT_TRUE(set.cut(p, c.centre, c.radius, v, stats).done) << what;
                ASSERT_EQ(stats.retried_cuts, 0u) << what;
                set.take_relabelled();
                double perimeter = 0;
                const BPolygon hole = boost_cut(c, perimeter);
                spans += perimeter;
                BMulti next;
                bg::difference(expected, hole, next);
                expected = std::move(next);
                ++cuts;
                found = true;
                const BMulti ours = to_boost(set);
                BMulti diff;
                bg::sym_difference(ours, expected, diff);
                const double allowed = pack::kSimplify * spans + 1e-6;
                ASSERT_LE(bg::area(diff), allowed) << what << " after cut " << cuts << ": ours "
                                                   << bg::area(ours) << ", Boost " << bg::area(expected);
                ASSERT_TRUE(bg::is_valid(ours)) << what << " after cut " << cuts;
                break;
            }
        }
        if (!found) set.finish_current();
    }
    EXPECT_GT(cuts, 5) << what;
}

TEST(OutlineCut, AgreesWithBoostDifference) {
    QuietHost host;
    for (test::PictureKind kind :
         {test::PictureKind::Photo, test::PictureKind::Blocks, test::PictureKind::Flat}) {
        const int w = 72, h = 54;
        const UBUFFER working = test::generated_picture(kind, w, h, 21);
        UBUFFER small;
        small.allocate(24, 18, 4);
        get_resized(host, working, small);
        const IBUFFER map = get_brush_size(host, small, 20, 4, 0);
        check_cuts(frame(w, h), {1.1, 6, 1, &map, 24.0 / w, 18.0 / h}, 150, test::kind_name(kind));
    }
    PackRegion holes;
    holes.outer = {{0, 0}, {50, 3}, {55, 40}, {4, 36}};
    holes.holes.push_back({{10, 10}, {20, 12}, {18, 22}});
    holes.holes.push_back({{30, 20}, {40, 20}, {40, 30}, {30, 30}});
    check_cuts(holes, {0.8, 4, 0}, 200, "holes");
}

}  // namespace
}  // namespace velq
