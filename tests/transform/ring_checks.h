// Plain checks of a circle against a polygon ring (any points with x and y): whether a point lies
// inside it (even-odd) and how far it is from the ring's edges.
#pragma once

#include <algorithm>
#include <cmath>

namespace velq::test {

template <class Ring>
bool inside_ring(const Ring& ring, double x, double y) {
    bool in = false;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        const auto &a = ring[i], &b = ring[j];
        if ((a.y > y) != (b.y > y) && x < a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y)) in = !in;
    }
    return in;
}

template <class Ring>
double distance_to_ring(const Ring& ring, double x, double y) {
    double best = 1e300;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        const double ax = ring[j].x, ay = ring[j].y, dx = ring[i].x - ax, dy = ring[i].y - ay;
        const double len2 = dx * dx + dy * dy;
        const double t = std::clamp(len2 > 0 ? ((x - ax) * dx + (y - ay) * dy) / len2 : 0.0, 0.0, 1.0);
        best = std::min(best, std::hypot(x - ax - t * dx, y - ay - t * dy));
    }
    return best;
}

}  // namespace velq::test
