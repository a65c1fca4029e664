#include "transform/outline_set.h"

#include <algorithm>
#include <cmath>

namespace velq::pack {
namespace {

std::vector<Vec2> clean_ring(const PackRing& in) {
    std::vector<Vec2> out;
    for (const PackPoint& q : in) {
        const Vec2 p{q.x, q.y};
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) continue;
        if (!out.empty() && dist(out.back(), p) < kSamePoint) continue;
        out.push_back(p);
    }
    while (out.size() > 1 && dist(out.back(), out.front()) < kSamePoint) out.pop_back();
    return out;
}

double ring_area(const std::vector<Vec2>& r) {
    double a = 0;
    for (std::size_t i = 0; i < r.size(); ++i) a += cross(r[i], r[(i + 1) % r.size()]);
    return a * 0.5;
}

}  // namespace

// Building

OutlineSet::OutlineSet(const PackRegion& region, double cell) {
    std::vector<std::vector<Vec2>> rings;
    std::vector<Vec2> outer = clean_ring(region.outer);
    const double outer_area = outer.size() >= 3 ? ring_area(outer) : 0.0;
    if (outer_area == 0 || !std::isfinite(outer_area)) {
        edges_.init(Box{0, 0, 1, 1}, cell);
        return;
    }
    if (outer_area < 0) std::reverse(outer.begin(), outer.end());
    rings.push_back(std::move(outer));
    for (const PackRing& h : region.holes) {
        std::vector<Vec2> hole = clean_ring(h);
        const double a = hole.size() >= 3 ? ring_area(hole) : 0.0;
        if (a == 0 || !std::isfinite(a)) continue;
        if (a > 0) std::reverse(hole.begin(), hole.end());
        rings.push_back(std::move(hole));
    }
    for (const Vec2& p : rings[0]) extent_.add(p);
    edges_.init(extent_.grown(2.0), cell);

    pieces_.push_back(Piece{{}, true});
    for (std::size_t r = 0; r < rings.size(); ++r) {
        const int rid = int(rings_.size());
        rings_.push_back(Ring{0, -1, r > 0, true});
        attach_ring(rid);
        const int first = int(vertices_.size());
        const int n = int(rings[r].size());
        for (int i = 0; i < n; ++i) {
            const int v = new_vertex(rings[r][std::size_t(i)], rid);
            order_.push_back(v);
        }
        for (int i = 0; i < n; ++i) {
            Vertex& v = vertices_[std::size_t(first + i)];
            v.next = first + (i + 1) % n;
            v.prev = first + (i + n - 1) % n;
            set_line(first + i, v.p, rings[r][std::size_t((i + 1) % n)]);
        }
        for (int i = 0; i < n; ++i) index_edge(first + i);
        rings_[std::size_t(rid)].head = first;
    }
    queue_.push_back(0);
}

std::uint32_t OutlineSet::new_mark() {
    if (++mark_ == 0) {  // wrapped round: old marks could come back
        for (Vertex& v : vertices_) v.mark = 0;
        mark_ = 1;
    }
    return mark_;
}

int OutlineSet::new_vertex(Vec2 p, int ring) {
    int v;
    if (!free_.empty()) {
        v = free_.back();
        free_.pop_back();
    } else {
        v = int(vertices_.size());
        vertices_.emplace_back();
        lines_.emplace_back();
    }
    Vertex& x = vertices_[std::size_t(v)];
    x.p = p;
    x.ring = ring;
    if (ring >= 0) ++rings_[std::size_t(ring)].size;
    x.next = x.prev = -1;
    x.mark = 0;
    x.alive = true;
    ++x.stamp;
    return v;
}

void OutlineSet::set_line(int v, Vec2 a, Vec2 b) {
    Line l;
    const Vec2 direction = b - a;
    const double len = norm(direction);
    if (len > 0) {
        l.normal = {-direction.y / len, direction.x / len};
        l.offset = dot(l.normal, a);
        l.valid = true;
    }
    lines_[std::size_t(v)] = l;
}

void OutlineSet::free_vertex(int v) {
    Vertex& x = vertices_[std::size_t(v)];
    x.alive = false;
    ++x.stamp;
    --rings_[std::size_t(x.ring)].size;
    order_.erase(v);
    free_.push_back(v);
    removed_.push_back(v);
}

void OutlineSet::index_edge(int v) {
    const Vertex& x = vertices_[std::size_t(v)];
    edges_.insert(Box::of(x.p, vertices_[std::size_t(x.next)].p), v, x.stamp);
}

void OutlineSet::finish_current() {
    if (!queue_.empty()) queue_.pop_front();
}

std::vector<int> OutlineSet::corners_in_order(int piece) const {
    std::vector<int> out;
    for (int v = 0; v < int(vertices_.size()); ++v)
        if (vertices_[std::size_t(v)].alive && piece_of(v) == piece) out.push_back(v);
    std::sort(out.begin(), out.end(), [&](int a, int b) { return order_.label(a) < order_.label(b); });
    return out;
}

std::vector<int> OutlineSet::take_relabelled() {
    std::vector<int> out;
    out.swap(order_.relabelled());
    return out;
}

double OutlineSet::signed_area(int start) const {
    double a = 0;
    int v = start;
    do {
        const Vertex& x = vertices_[std::size_t(v)];
        a += cross(x.p, vertices_[std::size_t(x.next)].p);
        v = x.next;
    } while (v != start);
    return a * 0.5;
}

bool OutlineSet::inside_ring_near(Vec2 p, int ring, const Box& box) {
    // Crossings of a ray from p to the nearest side of the ring's box, counted over the ring's own
    // edges found through the grid, so that the cost follows the ray rather than the ring.
    const double left = p.x - box.x0, right = box.x1 - p.x, up = p.y - box.y0, down = box.y1 - p.y;
    const double shortest = std::min({left, right, up, down});
    const bool horizontal = shortest == left || shortest == right;
    const double sign = (shortest == right || shortest == down) ? 1.0 : -1.0;
    Box ray = Box::around(p, 0);
    if (horizontal) {
        ray.add(Vec2{sign > 0 ? box.x1 + 1 : box.x0 - 1, p.y});
    } else {
        ray.add(Vec2{p.x, sign > 0 ? box.y1 + 1 : box.y0 - 1});
    }
    bool in = false;
    edges_near(ray, new_mark(), [&](int e) {
        if (vertices_[std::size_t(e)].ring != ring) return;
        Vec2 a = vertices_[std::size_t(e)].p, b = vertices_[std::size_t(vertices_[std::size_t(e)].next)].p;
        Vec2 q = p;
        if (!horizontal) {  // the same test with x and y exchanged
            std::swap(a.x, a.y);
            std::swap(b.x, b.y);
            std::swap(q.x, q.y);
        }
        if ((a.y > q.y) == (b.y > q.y)) return;
        const double x = a.x + (q.y - a.y) * (b.x - a.x) / (b.y - a.y);
        if (sign > 0 ? x > q.x : x < q.x) in = !in;
    });
    return in;
}

bool OutlineSet::point_in_ring(Vec2 p, int start) const {
    bool in = false;
    int v = start;
    do {
        const Vec2 a = vertices_[std::size_t(v)].p;
        const int w = vertices_[std::size_t(v)].next;
        const Vec2 b = vertices_[std::size_t(w)].p;
        if ((a.y > p.y) != (b.y > p.y) && p.x < a.x + (p.y - a.y) * (b.x - a.x) / (b.y - a.y)) in = !in;
        v = w;
    } while (v != start);
    return in;
}

void OutlineSet::move_to_ring(int v, int r) {
    Vertex& x = vertices_[std::size_t(v)];
    if (x.ring == r) return;
    --rings_[std::size_t(x.ring)].size;
    ++rings_[std::size_t(r)].size;
    x.ring = r;
}

void OutlineSet::attach_ring(int r) {
    Ring& ring = rings_[std::size_t(r)];
    std::vector<int>& list = pieces_[std::size_t(ring.piece)].rings;
    if (!ring.hole) {
        if (list.empty()) list.push_back(-1);
        list[0] = r;
        ring.slot = 0;
        return;
    }
    if (list.empty()) list.push_back(-1);
    ring.slot = int(list.size());
    list.push_back(r);
}

void OutlineSet::detach_ring(int r) {
    Ring& ring = rings_[std::size_t(r)];
    std::vector<int>& list = pieces_[std::size_t(ring.piece)].rings;
    if (ring.slot == 0) {
        list[0] = -1;
        return;
    }
    const int last = list.back();
    list[std::size_t(ring.slot)] = last;
    rings_[std::size_t(last)].slot = ring.slot;
    list.pop_back();
}

}  // namespace velq::pack
