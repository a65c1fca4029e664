#include "segments/outline_path.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velq {

namespace {

// The distance of `p` from the chord a-b when it projects onto the chord; infinite when it does not
// (the curve may then bulge past an end).
double off_chord(const BoundaryPoint& p, const BoundaryPoint& a, const BoundaryPoint& b) {
    const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
    if (len2 == 0) return std::hypot(p.x - a.x, p.y - a.y);
    const double t = ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2;
    if (t < 0 || t > 1) return std::numeric_limits<double>::infinity();
    return std::fabs((p.x - a.x) * dy - (p.y - a.y) * dx) / std::sqrt(len2);
}

BoundaryPoint mid(const BoundaryPoint& a, const BoundaryPoint& b) {
    return {(a.x + b.x) / 2, (a.y + b.y) / 2};
}

void flatten(const BoundaryPoint& p0, const BoundaryPoint& p1, const BoundaryPoint& p2,
             const BoundaryPoint& p3, double tolerance, int depth, std::vector<BoundaryPoint>& out) {
    // A cubic strays at most 3/4 of its farthest control point from its chord (3ut(u + t) <= 3/4).
    if (depth >= 24 || 0.75 * std::max(off_chord(p1, p0, p3), off_chord(p2, p0, p3)) <= tolerance) {
        out.push_back(p3);
        return;
    }
    const BoundaryPoint a = mid(p0, p1), b = mid(p1, p2), c = mid(p2, p3);
    const BoundaryPoint d = mid(a, b), e = mid(b, c), m = mid(d, e);
    flatten(p0, a, d, m, tolerance, depth + 1, out);
    flatten(m, e, c, p3, tolerance, depth + 1, out);
}

}  // namespace

void flatten_cubic(BoundaryPoint p0, BoundaryPoint p1, BoundaryPoint p2, BoundaryPoint p3, double tolerance,
                   std::vector<BoundaryPoint>& out) {
    flatten(p0, p1, p2, p3, tolerance, 0, out);
}

std::vector<std::vector<BoundaryPoint>> flatten_path(const OutlinePath& path, double tolerance) {
    std::vector<std::vector<BoundaryPoint>> rings;
    std::vector<BoundaryPoint> ring;
    const auto close = [&] {
        if (ring.size() > 1 && ring.front().x == ring.back().x && ring.front().y == ring.back().y)
            ring.pop_back();
        if (ring.size() >= 3) rings.push_back(std::move(ring));
        ring.clear();
    };
    using Op = PathCommand::Op;
    for (const PathCommand& c : path) {
        if (c.op == Op::Move) {
            close();
            ring.push_back(c.p[0]);
            continue;
        }
        if (ring.empty()) ring.push_back({0, 0});
        const BoundaryPoint from = ring.back();
        if (c.op == Op::Line) {
            ring.push_back(c.p[0]);
        } else if (c.op == Op::Quad) {
            // Raised to a cubic: the same curve.
            const BoundaryPoint q1{from.x + 2.0 / 3 * (c.p[0].x - from.x),
                                   from.y + 2.0 / 3 * (c.p[0].y - from.y)};
            const BoundaryPoint q2{c.p[1].x + 2.0 / 3 * (c.p[0].x - c.p[1].x),
                                   c.p[1].y + 2.0 / 3 * (c.p[0].y - c.p[1].y)};
            flatten_cubic(from, q1, q2, c.p[1], tolerance, ring);
        } else {
            flatten_cubic(from, c.p[0], c.p[1], c.p[2], tolerance, ring);
        }
    }
    close();
    return rings;
}

OutlinePath placed_path(const OutlinePath& path, double sx, double sy, double dx, double dy) {
    OutlinePath out = path;
    for (PathCommand& c : out)
        for (BoundaryPoint& p : c.p) p = {p.x * sx + dx, p.y * sy + dy};
    return out;
}

}  // namespace velq
