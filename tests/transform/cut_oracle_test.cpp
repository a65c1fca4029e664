// The local splice of the outline checked against Boost.Geometry: after every cut, the remaining
// region must be the starting region minus every cut polygon, up to the simplification tolerance.
#include <gtest/gtest.h>

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>

#include <cmath>

#include "generated.h"
#include "image/resample.h"
#include "transform/brush_size.h"
#include "transform/corner.h"
#include "transform/outline_set.h"

namespace velq {
namespace {

namespace bg = boost::geometry;
using BPoint = bg::model::d2::point_xy<double>;
using BPolygon = bg::model::polygon<BPoint, false, true>;  // counter-clockwise outer rings, closed
using BMulti = bg::model::multi_polygon<BPolygon>;

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
        pack::CornerRules rules;
        rules.min_radius = 1.1;
        rules.max_radius = 6;
        rules.gap = 1;
        rules.map = &map;
        rules.map_sx = 24.0 / w;
        rules.map_sy = 18.0 / h;
        PackRegion frame;
        frame.outer = {{0, 0}, {double(w), 0}, {double(w), double(h)}, {0, double(h)}};
        check_cuts(frame, rules, 150, test::kind_name(kind));
    }
    PackRegion holes;
    holes.outer = {{0, 0}, {50, 3}, {55, 40}, {4, 36}};
    holes.holes.push_back({{10, 10}, {20, 12}, {18, 22}});
    holes.holes.push_back({{30, 20}, {40, 20}, {40, 30}, {30, 30}});
    pack::CornerRules rules;
    rules.min_radius = 0.8;
    rules.max_radius = 4;
    rules.gap = 0;
    check_cuts(holes, rules, 200, "holes");
}

}  // namespace
}  // namespace velq
