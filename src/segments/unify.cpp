#include "segments/unify.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/multi_polygon.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>

#include "host/parallel.h"
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

// Twice the signed area (shoelace), positive for loops that run like the traced ones.
double twice_area(const std::vector<BoundaryPoint>& ring) {
    double a = 0;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        a += ring[j].x * ring[i].y - ring[i].x * ring[j].y;
    return a;
}

// A traced loop can pass twice through one point where two parts of a border meet at a pixel
// corner. That is not a polygon, but the loops between its visits are: cut there, in the order the
// loop closes them.
std::vector<std::vector<BoundaryPoint>> split_at_touches(const std::vector<BoundaryPoint>& ring) {
    std::vector<std::vector<BoundaryPoint>> out;
    std::vector<BoundaryPoint> open;
    std::map<std::pair<double, double>, std::size_t> at;  // point -> its place in `open`
    for (const BoundaryPoint& p : ring) {
        const auto [it, fresh] = at.try_emplace({p.x, p.y}, open.size());
        if (fresh) {
            open.push_back(p);
            continue;
        }
        const std::size_t k = it->second;
        out.emplace_back(open.begin() + std::ptrdiff_t(k), open.end());
        for (std::size_t i = k + 1; i < open.size(); ++i) at.erase({open[i].x, open[i].y});
        open.resize(k + 1);
    }
    out.push_back(std::move(open));
    return out;
}

// The loop with a point added where two of its edges cross (the same point on both), so that a
// loop that crosses itself touches itself there instead. Edges are swept in order of their left end.
std::vector<BoundaryPoint> with_crossings(const std::vector<BoundaryPoint>& ring) {
    const std::size_t n = ring.size();
    auto at = [&](std::size_t i) { return ring[i % n]; };
    auto side = [](BoundaryPoint a, BoundaryPoint b, BoundaryPoint c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    };
    std::vector<std::size_t> by_left(n);
    for (std::size_t i = 0; i < n; ++i) by_left[i] = i;
    auto left = [&](std::size_t i) { return std::min(at(i).x, at(i + 1).x); };
    std::sort(by_left.begin(), by_left.end(), [&](std::size_t a, std::size_t b) {
        return left(a) < left(b) || (left(a) == left(b) && a < b);
    });
    std::vector<std::vector<std::pair<double, BoundaryPoint>>> extra(n);  // per edge: (t, point)
    for (std::size_t u = 0; u < n; ++u) {
        const std::size_t i = by_left[u];
        const BoundaryPoint a = at(i), b = at(i + 1);
        const double right = std::max(a.x, b.x);
        for (std::size_t w = u + 1; w < n && left(by_left[w]) <= right; ++w) {
            const std::size_t j = by_left[w];
            if ((i + 1) % n == j || (j + 1) % n == i) continue;  // neighbours share a point
            const BoundaryPoint c = at(j), d = at(j + 1);
            const double s1 = side(a, b, c), s2 = side(a, b, d), s3 = side(c, d, a), s4 = side(c, d, b);
            if (!((s1 > 0 && s2 < 0) || (s1 < 0 && s2 > 0)) || !((s3 > 0 && s4 < 0) || (s3 < 0 && s4 > 0)))
                continue;  // no proper crossing
            const double t = s3 / (s3 - s4);
            const BoundaryPoint p{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
            extra[i].push_back({t, p});
            extra[j].push_back({s1 / (s1 - s2), p});
        }
    }
    std::vector<BoundaryPoint> out;
    for (std::size_t i = 0; i < n; ++i) {
        out.push_back(ring[i]);
        std::sort(extra[i].begin(), extra[i].end(),
                  [](const auto& x, const auto& y) { return x.first < y.first; });
        for (const auto& e : extra[i]) out.push_back(e.second);
    }
    return out;
}

// The area a loop that touches or crosses itself encloses, as polygons: its loops that run like
// the whole one, minus those that run the other way (a part twisted outwards is left out). Nothing when a
// part is still not a valid polygon.
std::optional<BMulti> repaired(const std::vector<BoundaryPoint>& loop) {
    const auto parts = split_at_touches(with_crossings(loop));
    if (parts.size() < 2) return std::nullopt;
    const bool positive = twice_area(loop) > 0;
    BMulti area, cutouts;
    for (const auto& part : parts) {
        if (part.size() < 3) continue;
        const BPolygon poly = to_polygon(part);
        if (!valid(poly)) return std::nullopt;
        ((twice_area(part) > 0) == positive ? area : cutouts).push_back(poly);
    }
    BMulti merged;
    bg::union_(area, BMulti{}, merged);
    BMulti result;
    bg::difference(merged, cutouts, result);
    if (result.empty() || !bg::is_valid(result)) return std::nullopt;
    return result;
}

}  // namespace

void unify_segment(Segment& segment) {
    segment.regions.clear();
    if (segment.loop.points.size() < 3) return;
    const BPolygon outer = to_polygon(segment.loop.points);
    BMulti current;
    if (valid(outer)) {
        current.push_back(outer);
    } else {
        std::optional<BMulti> parts;
        try {
            parts = repaired(segment.loop.points);
        } catch (const std::exception&) {
        }
        if (!parts) {
            // Nothing exact can be cut from a ring that crosses itself: keep it with its children as holes.
            SegmentRegion r;
            r.outer = segment.loop.points;
            for (const BoundaryPiece& c : segment.children)
                r.holes.emplace_back(c.points.rbegin(), c.points.rend());
            segment.regions.push_back(std::move(r));
            return;
        }
        current = std::move(*parts);
    }
    const BMulti whole = current;
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
        current = whole;
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
    // Segments are independent: rounds of them are shared out over the cores, and the bar and Stop are
    // looked at between rounds, on this thread.
    const int n = int(segments.size());
    constexpr int kRound = 64;
    for (int begin = 0; begin < n && !host.stopped(); begin += kRound) {
        const int end = std::min(n, begin + kRound);
        parallel_rows(
            begin, end,
            [&](int from, int to) {
                for (int i = from; i < to; ++i) unify_segment(segments[std::size_t(i)]);
            },
            1);
        progress.update(std::int64_t(end - 1), std::int64_t(n));
    }
}

}  // namespace velq
