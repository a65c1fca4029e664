#include "transform/corner.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velq::pack {
namespace {
constexpr double kInf = std::numeric_limits<double>::infinity();
}  // namespace

struct CornerEvaluator::Corner {
    int v, prev, next;
    Vec2 c, dir;
    double s, cos2;
};

CornerEvaluator::CornerEvaluator(OutlineSet& set, const CornerRules& rules) : set_(set), rules_(rules) {
    const Box& e = set.extent();
    diagonal_ = e.empty() ? 0.0 : std::hypot(e.x1 - e.x0, e.y1 - e.y0) + 4.0;
    chunk_ = std::max(4.0, std::min(64.0, rules.max_radius));
}

// The first walk distance t >= 0 at which the corner's circle reaches edge e (t = +inf: never).
// The edge's interior is met through its supporting line, its ends as points; the corner's own
// neighbours are left out as points, since the circle only touches them where its tangent point
// passes them.
double CornerEvaluator::contact(const Corner& k, int e) const {
    const Vertex& a = set_.vertex(e);
    const Vertex& b = set_.vertex(a.next);
    double best = kInf;
    const Line& l = set_.line(e);
    if (l.valid) {
        double h0 = dot(l.normal, k.c) - l.offset, nd = dot(l.normal, k.dir);
        if (h0 < 0) {
            h0 = -h0;
            nd = -nd;
        }
        if (k.s - nd > 0) {
            const double t = h0 / (k.s - nd);
            const Vec2 q = k.c + t * k.dir;
            const Vec2 ab = b.p - a.p;
            const double u = dot(q - a.p, ab), ab2 = dot(ab, ab);
            if (u >= 0 && u <= ab2) best = t;
        }
    }
    for (const int id : {e, a.next}) {
        if (id == k.prev || id == k.next) continue;
        const Vec2 w = k.c - set_.vertex(id).p;
        const double wd = dot(w, k.dir);
        if (wd >= 0) continue;
        const double ww = dot(w, w);
        const double disc = wd * wd - k.cos2 * ww;
        if (disc < 0) continue;
        best = std::min(best, ww / (-wd + std::sqrt(disc)));
    }
    return best;
}

bool CornerEvaluator::map_stops(Vec2 p, double r) const {
    const IBUFFER& m = *rules_.map;
    const double mx = std::trunc(p.x * rules_.map_sx + 0.5), my = std::trunc(p.y * rules_.map_sy + 0.5);
    if (!(mx >= 0 && my >= 0 && mx < m.width() && my < m.height())) return false;
    return r > double(m.at(int(mx), int(my))) / rules_.map_sx;
}

Candidate CornerEvaluator::evaluate(int v, EdgeSearch search) {
    Candidate out;
    const Vertex& cv = set_.vertex(v);
    Corner k;
    k.v = v;
    k.prev = cv.prev;
    k.next = cv.next;
    k.c = cv.p;
    Vec2 u1 = set_.vertex(k.prev).p - k.c, u2 = set_.vertex(k.next).p - k.c;
    const double l1 = norm(u1), l2 = norm(u2);
    if (!(l1 > 0 && l2 > 0)) return out;
    u1 = (1.0 / l1) * u1;
    u2 = (1.0 / l2) * u2;
    // |u1 + u2| is twice the cosine of the half-angle, correct to rounding. A corner whose cosine is
    // below 1e-9 (within 2e-9 radians of a straight one) yields nothing: there u1 + u2 may be mostly
    // rounding error, pointing anywhere, and sqrt(1 - s^2) below would not see how small the cosine is.
    const Vec2 b = u1 + u2;
    const double lb = norm(b);
    if (!(lb * 0.5 >= 1e-9)) return out;
    // The bisector points into the region: along u1 + u2 at a convex corner, against it at a reflex
    // one. The side is that of the cross product, which beyond the test above is far above rounding.
    k.dir = (cross(u2, u1) < 0 ? -1.0 / lb : 1.0 / lb) * b;
    k.s = std::fabs(cross(k.dir, u1));
    const double cosh = std::sqrt(std::max(0.0, 1.0 - k.s * k.s));
    if (!(cosh >= 1e-9) || !(k.s > 0)) return out;
    k.cos2 = cosh * cosh;
    // From here on the result depends on the cone the circle sweeps from this corner.
    out.has_reach = true;
    out.apex = k.c;
    out.dir = k.dir;
    out.spread = k.s;
    const auto acceptable = [&](double r) { return r >= rules_.min_radius && r > 0 && r > rules_.gap * 0.5; };

    // The walk stays below two bounds: the point where the circle's tangent points leave the shorter
    // edge, and the first contact with any other edge (T, known exactly for every contact up to
    // `covered`), which keeps the candidate inside the outline.
    const double edge_bound = std::min(l1, l2) / cosh;
    if (edge_bound * k.s * (1 + 1e-9) < rules_.min_radius) {
        // The circle can never grow to the smallest radius along this corner's edges. The walk would
        // stop at the first step at or past the bound, or earlier; one step more is a cone at least
        // as long as the one the walk would leave.
        const double past = 1.5 + 0.5 * std::ceil(std::max(0.0, edge_bound - 1) / 0.5);
        out.length = std::min(rules_.map ? past : edge_bound, diagonal_);
        return out;
    }
    double contact_t = kInf, covered = 0;
    // With a map the walk only asks whether a contact comes at or before its current step: once one
    // does, the other edges cannot change the answer.
    double enough = -kInf;
    auto consider = [&](int e) {
        if (e == v || e == k.prev) return false;
        // The circle at walk t lies within t (1 + s) of the corner: an edge further away than that at
        // the best contact so far cannot come first.
        const Vertex& a = set_.vertex(e);
        const Vec2 b = set_.vertex(a.next).p;
        const double dx = std::max(std::max(0.0, std::min(a.p.x, b.x) - k.c.x), k.c.x - std::max(a.p.x, b.x));
        const double dy = std::max(std::max(0.0, std::min(a.p.y, b.y) - k.c.y), k.c.y - std::max(a.p.y, b.y));
        const double reach = contact_t * (1.0 + k.s) * (1.0 + 1e-9);
        if (dx * dx + dy * dy > reach * reach) return false;
        contact_t = std::min(contact_t, contact(k, e));
        return !(enough < contact_t);
    };
    if (search == EdgeSearch::All) {
        set_.all_edges(consider);
        covered = kInf;
    }
    const std::uint32_t cone_mark = set_.new_mark();  // each edge is looked at once per candidate
    auto cover_to = [&](double t) {
        while (covered < t && contact_t > covered) {
            if (covered > diagonal_) {
                covered = kInf;  // the circle has met the outline long before
                break;
            }
            // The cone in growing pieces: short first, since most walks end early.
            const double a = covered, bnd = covered == 0 ? 1.0 : covered + std::clamp(covered, 1.0, chunk_);
            const Box window = Box::of(k.c + a * k.dir, k.c + bnd * k.dir).grown(bnd * k.s + kSlack);
            set_.edges_near(window, cone_mark, consider);
            covered = bnd;
        }
    };

    double t_acc = 0, t_stop = 0, radius = 0;
    if (rules_.map) {
        for (long step = 0;; ++step) {
            const double t = 1.0 + 0.5 * double(step);
            t_stop = t;
            if (!(t < edge_bound) || t > diagonal_) break;
            enough = t;
            cover_to(t);
            if (!(t < contact_t)) break;
            const double r = t * k.s;
            if (r > rules_.max_radius) break;
            if (map_stops(k.c + t * k.dir, r)) break;
            t_acc = t;
            radius = r;
        }
    } else {
        // Without a map the candidate takes the largest radius, unless a bound comes first.
        const double t_cap = rules_.max_radius / k.s;
        // A contact clearly before the walk reaches the smallest radius refuses the candidate
        // whatever the other edges say, so the search may end there. The cone it leaves to be
        // remembered is then at least as long as the exact one, which only wakes the corner more
        // often.
        enough = rules_.min_radius / k.s * (1 - 1e-9);
        cover_to(std::min({t_cap, edge_bound, diagonal_}));
        const double bound = std::min(edge_bound, contact_t);
        if (bound < t_cap) {
            t_acc = t_stop = bound;
            radius = bound * k.s;
        } else {
            t_acc = t_stop = t_cap;
            radius = rules_.max_radius;
        }
    }
    out.length = std::min(t_stop, diagonal_);
    // The other edges can only make it smaller: a candidate too small already stays refused.
    if (!(t_acc > 0) || !acceptable(radius)) return out;

    // Every other edge limits the circle around its centre.
    const Vec2 centre = k.c + t_acc * k.dir;
    const Box around = Box::around(centre, radius + kSlack);
    auto limit = [&](int e) {
        if (e == v || e == k.prev) return;
        const Vertex& a = set_.vertex(e);
        const double d = segment_distance(centre, a.p, set_.vertex(a.next).p);
        if (radius >= d) radius = d;
    };
    if (search == EdgeSearch::All) {
        set_.all_edges(limit);
    } else {
        set_.edges_near(around, set_.new_mark(), limit);
    }
    out.centre = centre;
    out.radius = radius;
    out.ok = acceptable(radius);
    return out;
}

}  // namespace velq::pack
