// The check of a region before packing: cuts assume rings that do not cross. Where a hole crosses
// the outer ring (or another hole, or a ring itself), inside and outside swap along the way, and
// cutting such a region ran on for minutes.
#include "transform/outline_set.h"

namespace velq::pack {
namespace {

// True when the segments ab and cd cross at a point inside both (touching or overlapping is not
// crossing: rings may touch).
bool segments_cross(Vec2 a, Vec2 b, Vec2 c, Vec2 d) {
    const double d1 = cross(b - a, c - a), d2 = cross(b - a, d - a);
    const double d3 = cross(d - c, a - c), d4 = cross(d - c, b - c);
    return ((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0));
}

}  // namespace

bool OutlineSet::rings_cross() {
    for (int v = 0; v < vertex_count(); ++v) {
        const Vertex& x = vertices_[std::size_t(v)];
        if (!x.alive) continue;
        const Vec2 a = x.p, b = vertices_[std::size_t(x.next)].p;
        bool found = false;
        edges_near(Box::of(a, b), new_mark(), [&](int e) {
            const Vertex& y = vertices_[std::size_t(e)];
            if (e == v || e == x.next || y.next == v) return false;  // neighbours share a point
            found = segments_cross(a, b, y.p, vertices_[std::size_t(y.next)].p);
            return found;
        });
        if (found) return true;
    }
    return false;
}

}  // namespace velq::pack
