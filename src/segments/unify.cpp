#include "segments/unify.h"

#include <algorithm>

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/multi_polygon.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>

#include "host/progress.h"

namespace velq {
namespace {

namespace bg = boost::geometry;
using BPoint = bg::model::d2::point_xy<double>;
using BPolygon = bg::model::polygon<BPoint>;
using BMulti = bg::model::multi_polygon<BPolygon>;

BPolygon to_polygon(const std::vector<BoundaryPoint>& ring) {
    BPolygon poly;
    for (const BoundaryPoint& p : ring) poly.outer().emplace_back(p.x, p.y);
    bg::correct(poly);
    return poly;
}

// Boost keeps outer rings clockwise and holes anticlockwise in y-up terms; reversed, outer rings
// run clockwise on screen like the loops they came from, and holes the other way.
std::vector<BoundaryPoint> to_ring(const BPolygon::ring_type& ring) {
    std::vector<BoundaryPoint> out;
    for (const BPoint& p : ring) out.push_back({p.x(), p.y()});
    if (out.size() > 1) out.pop_back();  // the closing repetition
    std::reverse(out.begin(), out.end());
    return out;
}

bool valid(const BPolygon& p) {
    return p.outer().size() >= 4 && bg::is_valid(p);
}

}  // namespace

void unify_segment(Segment& segment) {
    segment.regions.clear();
    if (segment.loop.points.size() < 3) return;
    const BPolygon outer = to_polygon(segment.loop.points);
    if (!valid(outer)) {
        // Nothing exact can be cut from a ring that crosses itself: keep it with its children as holes.
        SegmentRegion r;
        r.outer = segment.loop.points;
        for (const BoundaryPiece& c : segment.children)
            r.holes.emplace_back(c.points.rbegin(), c.points.rend());
        segment.regions.push_back(std::move(r));
        return;
    }
    BMulti current;
    current.push_back(outer);
    try {
        for (const BoundaryPiece& c : segment.children) {
            if (c.points.size() < 3) continue;
            const BPolygon child = to_polygon(c.points);
            if (!valid(child)) continue;
            BMulti next;
            bg::difference(current, child, next);
            current.swap(next);
        }
    } catch (const std::exception&) {
        current.clear();
        current.push_back(outer);
    }
    for (const BPolygon& p : current) {
        SegmentRegion r;
        r.outer = to_ring(p.outer());
        for (const auto& h : p.inners()) r.holes.push_back(to_ring(h));
        if (r.outer.size() >= 3) segment.regions.push_back(std::move(r));
    }
}

void unify_segment_children(std::vector<Segment>& segments, Host& host) {
    Progress progress(host, "Unifying segment children");
    for (std::size_t i = 0; i < segments.size() && !host.stopped(); ++i) {
        unify_segment(segments[i]);
        progress.update(std::int64_t(i), std::int64_t(segments.size()));
    }
}

}  // namespace velq
