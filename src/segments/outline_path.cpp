#include "segments/outline_path.h"

#include <algorithm>
#include <cmath>

namespace velq {

void flatten_cubic(BoundaryPoint p0, BoundaryPoint p1, BoundaryPoint p2, BoundaryPoint p3, double tolerance,
                   std::vector<BoundaryPoint>& out) {
    // Wang's bound: n steps keep the curve within 3/4 * M / n^2 of the chords, M the largest second
    // difference of the control points.
    const double ax = p0.x - 2 * p1.x + p2.x, ay = p0.y - 2 * p1.y + p2.y;
    const double bx = p1.x - 2 * p2.x + p3.x, by = p1.y - 2 * p2.y + p3.y;
    const double m = std::max(std::hypot(ax, ay), std::hypot(bx, by));
    const int n = std::clamp(int(std::ceil(std::sqrt(0.75 * m / tolerance))), 1, 1000);
    for (int i = 1; i <= n; ++i) {
        const double t = double(i) / n, u = 1 - t;
        const double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
        out.push_back({a * p0.x + b * p1.x + c * p2.x + d * p3.x, a * p0.y + b * p1.y + c * p2.y + d * p3.y});
    }
}

std::vector<std::vector<BoundaryPoint>> flatten_path(const OutlinePath& path, double tolerance) {
    std::vector<std::vector<BoundaryPoint>> rings;
    std::vector<BoundaryPoint> ring;
    const auto close = [&] {
        if (ring.size() > 1 && ring.front().x == ring.back().x && ring.front().y == ring.back().y) ring.pop_back();
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
            const BoundaryPoint q1{from.x + 2.0 / 3 * (c.p[0].x - from.x), from.y + 2.0 / 3 * (c.p[0].y - from.y)};
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
