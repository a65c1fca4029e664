#include "segments/ring_nesting.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velq {

namespace {

bool point_in_ring(const BoundaryPoint& p, const std::vector<BoundaryPoint>& ring) {
    bool in = false;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        const BoundaryPoint &a = ring[i], &b = ring[j];
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x) in = !in;
    }
    return in;
}

// A point of `inner` to test against other rings: the midpoint of its first edge, which lies on no
// other ring when rings do not touch.
BoundaryPoint probe(const std::vector<BoundaryPoint>& ring) {
    return {(ring[0].x + ring[1].x) / 2, (ring[0].y + ring[1].y) / 2};
}

}  // namespace

double ring_area(const std::vector<BoundaryPoint>& ring) {
    double a = 0;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        a += ring[j].x * ring[i].y - ring[i].x * ring[j].y;
    return ring.size() < 3 ? 0 : std::fabs(a) / 2;
}

std::vector<SegmentRegion> group_rings(const std::vector<std::vector<BoundaryPoint>>& rings) {
    const std::size_t n = rings.size();
    std::vector<double> area(n);
    for (std::size_t i = 0; i < n; ++i) area[i] = ring_area(rings[i]);
    // Larger rings first: a ring's parent is the smallest ring that holds it, met last in this order.
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return area[a] > area[b]; });
    std::vector<int> depth(n, 0), parent(n, -1);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t i = order[k];
        const BoundaryPoint p = probe(rings[i]);
        for (std::size_t m = 0; m < k; ++m) {
            const std::size_t j = order[m];
            if (point_in_ring(p, rings[j])) {
                ++depth[i];
                if (parent[i] < 0 || area[j] < area[std::size_t(parent[i])]) parent[i] = int(j);
            }
        }
    }
    std::vector<SegmentRegion> regions;
    std::vector<int> region_of(n, -1);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t i = order[k];
        if (depth[i] % 2 == 0) {
            region_of[i] = int(regions.size());
            regions.push_back({rings[i], {}});
        } else if (parent[i] >= 0) {
            regions[std::size_t(region_of[std::size_t(parent[i])])].holes.push_back(rings[i]);
        }
    }
    return regions;
}

}  // namespace velq
