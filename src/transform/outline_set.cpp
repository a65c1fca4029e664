#include "transform/outline_set.h"

#include <algorithm>
#include <cmath>

namespace velq::pack {
namespace {

constexpr double kPiExact = 3.14159265358979323846;

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

struct OutlineSet::Crossing {
    int edge = -1;  // start point of the crossed edge
    int end = -1;   // its end point before the cut
    double t = 0;   // place along the edge
    Vec2 p;
    double phi = 0;  // place on the polygon: edge index + fraction
    bool entry = false;
    int ring = -1;
    int partner = -1;  // entry: the exit where its span ends
    int succ = -1;     // exit: the next entry along its ring
    int point = -1;    // the point made for it
    int cycle = -1;
};

// ---------------------------------------------------------------------------------------------
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

// ---------------------------------------------------------------------------------------------
// Cutting

std::vector<Vec2> cut_polygon(Vec2 centre, double radius, int attempt) {
    std::vector<Vec2> q;
    cut_polygon(centre, radius, attempt, q);
    return q;
}

void cut_polygon(Vec2 centre, double radius, int attempt, std::vector<Vec2>& q) {
    const double rc = radius + kSimplify + 1e-4 * (1 + attempt);
    const int n = std::max(8, int(std::ceil(kPiExact / std::acos(1.0 - kSimplify / rc))));
    const double rv = rc / std::cos(kPiExact / n);
    // The corners of the unit n-gon are kept per n (turned ones are made each time).
    thread_local std::vector<std::vector<Vec2>> units;
    std::vector<Vec2> turned;
    const std::vector<Vec2>* unit = nullptr;
    auto fill = [&](std::vector<Vec2>& out, double phase) {
        out.resize(std::size_t(n));
        for (int j = 0; j < n; ++j) {
            const double a = phase + 2 * kPiExact * j / n;
            out[std::size_t(j)] = {std::cos(a), std::sin(a)};
        }
    };
    if (attempt == 0) {
        if (units.size() <= std::size_t(n)) units.resize(std::size_t(n) + 1);
        if (units[std::size_t(n)].empty()) fill(units[std::size_t(n)], 0.0);
        unit = &units[std::size_t(n)];
    } else {
        fill(turned, attempt * 0.37 * 2 * kPiExact / n);
        unit = &turned;
    }
    q.resize(std::size_t(n));
    for (int j = 0; j < n; ++j) q[std::size_t(j)] = centre + rv * (*unit)[std::size_t(j)];
}

CutReport OutlineSet::cut(int piece, Vec2 centre, double radius, int anchor, PackStats& stats) {
    CutReport report;
    removed_.clear();
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (try_cut(piece, centre, radius, anchor, attempt, stats, report)) {
            report.done = true;
            report.removed.swap(removed_);
            ++stats.cuts;
            return report;
        }
        ++stats.retried_cuts;
    }
    ++stats.refused_cuts;
    return report;
}

bool OutlineSet::chord_is_clear(int a, int b, const std::vector<int>& span, std::size_t i, std::size_t j,
                                const std::vector<int>& gone) {
    // The chord a-b replaces span[i..j]; it may touch the edges next to its ends, no other edge.
    const Vec2 pa = vertices_[std::size_t(a)].p, pb = vertices_[std::size_t(b)].p;
    bool clear = true;
    edges_near(Box::of(pa, pb), new_mark(), [&](int e) {
        if (!clear) return;
        for (std::size_t k = i; k < j; ++k)
            if (span[k] == e) return;
        if (std::find(gone.begin(), gone.end(), e) != gone.end()) return;
        const int f = vertices_[std::size_t(e)].next;
        if (f == a || e == b) return;  // the edges that end at a and start at b
        if (segments_meet(pa, pb, vertices_[std::size_t(e)].p, vertices_[std::size_t(f)].p)) clear = false;
    });
    return clear;
}

void OutlineSet::clean_span(std::vector<int>& span, CutReport& report) {
    // span: A, new points..., B' (A and B' are old points and stay).
    std::vector<int>& pts = clean_pts_;
    std::vector<int>& gone = clean_gone_;
    pts.clear();
    gone.clear();
    pts.push_back(span.front());
    for (std::size_t i = 1; i + 1 < span.size(); ++i) {
        if (dist(vertices_[std::size_t(pts.back())].p, vertices_[std::size_t(span[i])].p) >= kSamePoint) {
            pts.push_back(span[i]);
        } else {
            gone.push_back(span[i]);
        }
    }
    while (pts.size() > 1 &&
           dist(vertices_[std::size_t(pts.back())].p, vertices_[std::size_t(span.back())].p) < kSamePoint) {
        gone.push_back(pts.back());
        pts.pop_back();
    }
    pts.push_back(span.back());

    // Douglas-Peucker with the two old ends fixed; a shortcut is taken only when it crosses no edge.
    std::vector<char>& keep = clean_keep_;
    keep.assign(pts.size(), 0);
    keep.front() = keep.back() = 1;
    std::vector<std::pair<std::size_t, std::size_t>>& stack = clean_stack_;
    stack.assign(1, {0, pts.size() - 1});
    while (!stack.empty()) {
        const auto [i, j] = stack.back();
        stack.pop_back();
        if (j <= i + 1) continue;
        const Vec2 a = vertices_[std::size_t(pts[i])].p, b = vertices_[std::size_t(pts[j])].p;
        double worst = -1;
        std::size_t at = i + 1;
        for (std::size_t k = i + 1; k < j; ++k) {
            const double d = segment_distance(vertices_[std::size_t(pts[k])].p, a, b);
            if (d > worst) {
                worst = d;
                at = k;
            }
        }
        if (worst <= kSimplify && chord_is_clear(pts[i], pts[j], pts, i, j, gone)) continue;
        keep[at] = 1;
        stack.push_back({i, at});
        stack.push_back({at, j});
    }

    // Relink through the kept points; every removed point goes, every shortcut gets its own line.
    std::vector<int>& kept = clean_kept_;
    kept.clear();
    for (std::size_t k = 0; k < pts.size(); ++k)
        if (keep[k]) kept.push_back(pts[k]);
    for (std::size_t k = 1; k + 1 < span.size(); ++k)
        if (std::find(kept.begin(), kept.end(), span[k]) == kept.end()) free_vertex(span[k]);
    for (std::size_t k = 0; k + 1 < kept.size(); ++k) {
        Vertex& u = vertices_[std::size_t(kept[k])];
        if (u.next == kept[k + 1]) continue;
        u.next = kept[k + 1];
        vertices_[std::size_t(kept[k + 1])].prev = kept[k];
        set_line(kept[k], u.p, vertices_[std::size_t(kept[k + 1])].p);
        ++u.stamp;
        index_edge(kept[k]);
        report.changed.add(Box::of(u.p, vertices_[std::size_t(kept[k + 1])].p));
        report.extra.push_back(Box::of(u.p, vertices_[std::size_t(kept[k + 1])].p));
    }
    span = kept;
}

}  // namespace velq::pack

namespace velq::pack {

bool OutlineSet::try_cut(int piece, Vec2 centre, double radius, int anchor, int attempt, PackStats& stats,
                         CutReport& report) {
    // 1. The polygon and its sides.
    std::vector<Vec2>& q = cut_q_;
    cut_polygon(centre, radius, attempt, q);
    const int n = int(q.size());
    q.push_back(q[0]);
    std::vector<Vec2>& e = cut_e_;
    e.resize(std::size_t(n));
    Box pbox;
    double rv = 0;  // no point of the polygon is further from the centre
    for (int j = 0; j < n; ++j) {
        e[std::size_t(j)] = q[std::size_t(j) + 1] - q[std::size_t(j)];
        pbox.add(q[std::size_t(j)]);
        rv = std::max(rv, dist(q[std::size_t(j)], centre));
    }
    pbox = pbox.grown(1e-7);

    // 2. The edges of this piece near the polygon; points are inside when inside every side.
    std::vector<int>& cand = cut_cand_;
    cand.clear();
    edges_near(pbox, new_mark(), [&](int v) {
        if (piece_of(v) != piece) return;
        const Vertex& x = vertices_[std::size_t(v)];
        if (segment_distance(centre, x.p, vertices_[std::size_t(x.next)].p) >= rv) return;
        cand.push_back(v);
    });
    std::sort(cand.begin(), cand.end());
    std::vector<int>& pts = cut_pts_;  // endpoints, with their side values
    pts.clear();
    for (int v : cand) {
        pts.push_back(v);
        pts.push_back(vertices_[std::size_t(v)].next);
    }
    std::sort(pts.begin(), pts.end());
    pts.erase(std::unique(pts.begin(), pts.end()), pts.end());
    std::vector<double>& side = cut_side_;
    side.resize(pts.size() * std::size_t(n));
    std::vector<char>& inside = cut_inside_;
    inside.resize(pts.size());
    for (std::size_t i = 0; i < pts.size(); ++i) {
        const Vec2 p = vertices_[std::size_t(pts[i])].p;
        bool in = true;
        for (int j = 0; j < n; ++j) {
            const double f = cross(e[std::size_t(j)], p - q[std::size_t(j)]);
            side[i * std::size_t(n) + std::size_t(j)] = f;
            in = in && f > 0;
        }
        inside[i] = in;
    }
    auto slot = [&](int v) { return std::size_t(std::lower_bound(pts.begin(), pts.end(), v) - pts.begin()); };

    // 3. Crossings, with their places along the polygon.
    std::vector<Crossing> cr;
    auto place = [&](Vec2 p, int j) {
        const double u =
            dot(p - q[std::size_t(j)], e[std::size_t(j)]) / dot(e[std::size_t(j)], e[std::size_t(j)]);
        return j + std::clamp(u, 0.0, 1.0);
    };
    for (int v : cand) {
        const int w = vertices_[std::size_t(v)].next;
        const std::size_t sa = slot(v), sb = slot(w);
        const bool ia = inside[sa], ib = inside[sb];
        if (ia && ib) continue;
        double te = 0, tx = 1;
        int je = -1, jx = -1;
        bool empty = false;
        for (int j = 0; j < n && !empty; ++j) {
            const double d0 = side[sa * std::size_t(n) + std::size_t(j)],
                         d1 = side[sb * std::size_t(n) + std::size_t(j)];
            if (d0 <= 0 && d1 <= 0) {
                empty = true;
            } else if (d0 <= 0 || d1 <= 0) {
                const double t = d0 / (d0 - d1);
                if (d0 <= 0) {
                    if (je < 0 || t > te) te = t, je = j;
                } else if (jx < 0 || t < tx) {
                    tx = t, jx = j;
                }
            }
        }
        const Vec2 a = vertices_[std::size_t(v)].p, b = vertices_[std::size_t(w)].p;
        auto add = [&](double t, int j, bool entry) {
            Crossing c;
            c.edge = v;
            c.end = w;
            c.t = t;
            c.p = a + t * (b - a);
            c.phi = place(c.p, j);
            c.entry = entry;
            c.ring = vertices_[std::size_t(v)].ring;
            cr.push_back(c);
        };
        if (ia) {
            if (empty || jx < 0) return false;
            add(tx, jx, false);
        } else if (ib) {
            if (empty || je < 0) return false;
            add(te, je, true);
        } else if (!empty && je >= 0 && jx >= 0 && te < tx && (tx - te) * dist(a, b) > 1e-9) {
            add(te, je, true);
            add(tx, jx, false);
        }
    }

    // Rings of this piece that lie wholly inside the polygon: inside points, no crossing.
    std::vector<int>& swallowed = cut_swallowed_;
    swallowed.clear();
    for (std::size_t i = 0; i < pts.size(); ++i) {
        if (!inside[i]) continue;
        const int r = vertices_[std::size_t(pts[i])].ring;
        if (std::none_of(cr.begin(), cr.end(), [&](const Crossing& c) { return c.ring == r; }) &&
            std::find(swallowed.begin(), swallowed.end(), r) == swallowed.end())
            swallowed.push_back(r);
    }
    const int outer = pieces_[std::size_t(piece)].rings.front();

    report.changed = pbox;
    report.centre = centre;
    report.reach = rv + 1e-6;
    report.extra.clear();
    if (cr.empty()) {
        // 4. Nothing crossed: the circle either swallows the whole piece or leaves a hole in it.
        for (int r : swallowed) {
            int v = rings_[std::size_t(r)].head;
            std::vector<int> ring_pts;
            do {
                ring_pts.push_back(v);
                v = vertices_[std::size_t(v)].next;
            } while (v != rings_[std::size_t(r)].head);
            for (int x : ring_pts) free_vertex(x);
            rings_[std::size_t(r)].alive = false;
            detach_ring(r);
        }
        if (!rings_[std::size_t(outer)].alive) {
            pieces_[std::size_t(piece)].rings.clear();
            pieces_[std::size_t(piece)].alive = false;
            return true;
        }
        const int rid = int(rings_.size());
        rings_.push_back(Ring{piece, -1, true, true});
        attach_ring(rid);
        std::vector<int> hole;
        for (int j = n - 1; j >= 0; --j) hole.push_back(new_vertex(q[std::size_t(j)], rid));
        order_.insert_range_after(
            vertices_[std::size_t(anchor)].alive ? anchor : rings_[std::size_t(outer)].head, hole);
        for (std::size_t k = 0; k < hole.size(); ++k) {
            Vertex& v = vertices_[std::size_t(hole[k])];
            v.next = hole[(k + 1) % hole.size()];
            v.prev = hole[(k + hole.size() - 1) % hole.size()];
            set_line(hole[k], v.p, vertices_[std::size_t(v.next)].p);
        }
        for (int v : hole) {
            index_edge(v);
            report.touched.push_back(v);
        }
        rings_[std::size_t(rid)].head = hole.front();
        ++stats.slow_topology;
        return true;
    }

    // 5. Along each ring the crossings must alternate; each exit leads on to the next entry.
    std::vector<int>& by_ring = cut_by_ring_;
    by_ring.resize(cr.size());
    for (std::size_t i = 0; i < cr.size(); ++i) by_ring[i] = int(i);
    std::sort(by_ring.begin(), by_ring.end(), [&](int a, int b) {
        const Crossing &x = cr[std::size_t(a)], &y = cr[std::size_t(b)];
        if (x.ring != y.ring) return x.ring < y.ring;
        const std::uint64_t lx = order_.label(x.edge), ly = order_.label(y.edge);
        if (lx != ly) return lx < ly;
        return x.t < y.t;
    });
    for (std::size_t i = 0; i < by_ring.size();) {
        std::size_t j = i;
        while (j < by_ring.size() && cr[std::size_t(by_ring[j])].ring == cr[std::size_t(by_ring[i])].ring)
            ++j;
        const std::size_t k = j - i;
        for (std::size_t m = 0; m < k; ++m) {
            Crossing& c = cr[std::size_t(by_ring[i + m])];
            const Crossing& d = cr[std::size_t(by_ring[i + (m + 1) % k])];
            if (c.entry == d.entry) return false;
            if (!c.entry) c.succ = by_ring[i + (m + 1) % k];
        }
        i = j;
    }
    // 6. Along the polygon, against its own direction, every entry is followed by an exit: that
    //    exit ends the entry's span.
    std::vector<int>& by_phi = cut_by_phi_;
    by_phi.resize(cr.size());
    for (std::size_t i = 0; i < cr.size(); ++i) by_phi[i] = int(i);
    std::sort(by_phi.begin(), by_phi.end(), [&](int a, int b) {
        return cr[std::size_t(a)].phi < cr[std::size_t(b)].phi ||
               (cr[std::size_t(a)].phi == cr[std::size_t(b)].phi && a < b);
    });
    for (std::size_t i = 0; i < by_phi.size(); ++i) {
        Crossing& c = cr[std::size_t(by_phi[i])];
        const int before = by_phi[(i + by_phi.size() - 1) % by_phi.size()];
        if (c.phi == cr[std::size_t(before)].phi && by_phi.size() > 1) return false;
        if (!c.entry) continue;
        if (cr[std::size_t(before)].entry) return false;
        c.partner = before;
    }
    // 7. Cycles: entry -> its exit -> the next entry along that ring -> ...
    int cycles = 0;
    for (std::size_t i = 0; i < cr.size(); ++i) {
        if (!cr[i].entry || cr[i].cycle >= 0) continue;
        int f = int(i);
        while (cr[std::size_t(f)].cycle < 0) {
            cr[std::size_t(f)].cycle = cycles;
            const int x = cr[std::size_t(f)].partner;
            cr[std::size_t(x)].cycle = cycles;
            f = cr[std::size_t(x)].succ;
        }
        ++cycles;
    }

    // From here on the cut is consistent and is carried out.
    std::vector<int>& doomed = cut_doomed_;
    doomed.clear();
    for (std::size_t i = 0; i < pts.size(); ++i)
        if (inside[i]) doomed.push_back(pts[i]);
    splice(piece, cr, q, n, doomed, swallowed, cycles, stats, report);
    return true;
}

}  // namespace velq::pack

namespace velq::pack {
namespace {

// One closed walk of a new ring, done step by step so that several can run side by side.
struct Walk {
    int start = -1, at = -1;
    std::vector<int> pts;
    Box box;
    bool done = false;
};

}  // namespace

void OutlineSet::splice(int piece, std::vector<Crossing>& cr, const std::vector<Vec2>& q, int n,
                        const std::vector<int>& doomed, const std::vector<int>& swallowed, int cycles,
                        PackStats& stats, CutReport& report) {
    pieces_.reserve(pieces_.size() + std::size_t(cycles) + 1);  // keeps `pc` valid while pieces are added
    Piece& pc = pieces_[std::size_t(piece)];
    const int outer = pc.rings.front();
    const bool outer_involved =
        std::any_of(cr.begin(), cr.end(), [&](const Crossing& c) { return c.ring == outer; });

    // a) A span for every entry: its crossing point, the polygon's corners met going backwards
    //    along the polygon, the point of its exit. Order labels follow the start of the entry's edge;
    //    they are given once the points inside the polygon have left the order, whose labels the
    //    span then takes over.
    std::vector<std::vector<int>>& spans = cut_spans_;
    if (spans.size() < cr.size()) spans.resize(cr.size());
    for (std::size_t i = 0; i < cr.size(); ++i) spans[i].clear();
    for (std::size_t i = 0; i < cr.size(); ++i) {
        Crossing& f = cr[i];
        if (!f.entry) continue;
        Crossing& x = cr[std::size_t(f.partner)];
        std::vector<int>& span = spans[i];
        span.push_back(f.edge);
        std::vector<Vec2>& at = span_at_;
        at.assign(1, f.p);
        const int top = int(std::floor(f.phi));
        if (x.phi < f.phi) {
            for (int j = top; j > x.phi; --j) at.push_back(q[std::size_t(j)]);
        } else {
            for (int j = top; j >= 0; --j) at.push_back(q[std::size_t(j)]);
            for (int j = n - 1; j > x.phi; --j) at.push_back(q[std::size_t(j)]);
        }
        at.push_back(x.p);
        std::vector<int>& made = span_made_;
        made.clear();
        for (const Vec2& p : at) made.push_back(new_vertex(p, f.ring));
        span.insert(span.end(), made.begin(), made.end());
        f.point = span[1];
        x.point = span.back();
        span.push_back(x.end);
    }
    // b) Link the spans in; the edge into an entry keeps its line, so does the edge out of an exit.
    for (std::size_t i = 0; i < cr.size(); ++i) {
        if (!cr[i].entry) continue;
        const std::vector<int>& span = spans[i];
        const Line exit_line = lines_[std::size_t(cr[std::size_t(cr[i].partner)].edge)];
        for (std::size_t k = 0; k + 1 < span.size(); ++k) {
            vertices_[std::size_t(span[k])].next = span[k + 1];
            vertices_[std::size_t(span[k + 1])].prev = span[k];
        }
        for (std::size_t k = 1; k + 1 < span.size(); ++k) {
            const Vertex& v = vertices_[std::size_t(span[k])];
            if (k + 2 == span.size()) {
                lines_[std::size_t(span[k])] = exit_line;
            } else {
                set_line(span[k], v.p, vertices_[std::size_t(v.next)].p);
            }
        }
    }
    for (int v : doomed) free_vertex(v);
    for (std::size_t i = 0; i < cr.size(); ++i) {
        if (!cr[i].entry) continue;
        const std::vector<int>& span = spans[i];
        order_.insert_range_after(span.front(), span.data() + 1, span.size() - 2);
    }
    for (std::size_t i = 0; i < cr.size(); ++i) {
        if (!cr[i].entry) continue;
        const std::vector<int>& span = spans[i];
        ++vertices_[std::size_t(span.front())].stamp;
        for (std::size_t k = 0; k + 1 < span.size(); ++k) index_edge(span[k]);
    }
    // c) Clean every span: merge equal points, simplify.
    for (std::size_t i = 0; i < cr.size(); ++i) {
        if (!cr[i].entry) continue;
        clean_span(spans[i], report);
        for (int v : spans[i]) report.touched.push_back(v);
    }

    // d) The new rings. Each cycle starts at the lowest-labelled old point of its arcs.
    struct CycleInfo {
        int start = -1;  // its lowest old point
        std::uint64_t low = ~std::uint64_t(0);
        std::vector<int> exits;  // its arcs, by the exit that starts each
        bool merged = false;     // arcs from more than one ring
        int base_exit = -1;      // the arc from the largest ring: it keeps its labels
        int base_low = -1;       // that arc's lowest point: the ring's first point after the cut
    };
    std::vector<CycleInfo> cyc(static_cast<std::size_t>(cycles));
    for (std::size_t i = 0; i < cr.size(); ++i) {
        const Crossing& x = cr[i];
        if (x.entry) continue;
        CycleInfo& c = cyc[std::size_t(x.cycle)];
        const int a = cr[std::size_t(x.succ)].edge;  // last old point of the arc
        int low = x.end;
        if (order_.label(x.end) > order_.label(a) &&
            vertices_[std::size_t(rings_[std::size_t(x.ring)].head)].alive)
            low = rings_[std::size_t(x.ring)].head;  // the arc runs through its ring's first point
        if (order_.label(low) < c.low) {
            c.low = order_.label(low);
            c.start = low;
        }
        const int base_ring = c.base_exit < 0 ? -1 : cr[std::size_t(c.base_exit)].ring;
        if (c.base_exit < 0 ||
            (x.ring != base_ring && rings_[std::size_t(x.ring)].size > rings_[std::size_t(base_ring)].size) ||
            (x.ring == base_ring && order_.label(low) < order_.label(c.base_low))) {
            c.base_exit = int(i);
            c.base_low = low;
        }
        if (!c.exits.empty() && cr[std::size_t(c.exits.front())].ring != x.ring) c.merged = true;
        c.exits.push_back(int(i));
    }
    for (CycleInfo& c : cyc)
        if (!c.merged) c.base_low = c.start;

    // Walk the cycles side by side: all of them for holes, all but the largest otherwise.
    std::vector<Walk> walks(static_cast<std::size_t>(cycles));
    for (int c = 0; c < cycles; ++c)
        walks[std::size_t(c)].start = walks[std::size_t(c)].at = cyc[std::size_t(c)].start;
    int open = cycles;
    // Holes alone need every cycle's orientation when there are several.
    const int stop_at = outer_involved || cycles == 1 ? 1 : 0;
    while (open > stop_at) {
        for (Walk& w : walks) {
            if (w.done) continue;
            w.pts.push_back(w.at);
            w.box.add(vertices_[std::size_t(w.at)].p);
            w.at = vertices_[std::size_t(w.at)].next;
            if (w.at == w.start) {
                w.done = true;
                --open;
            }
        }
    }
    int largest = -1;
    for (int c = 0; c < cycles; ++c)
        if (!walks[std::size_t(c)].done) largest = c;
    if (largest >= 0) {
        // Make sure the largest has at least 3 points, or finish it.
        Walk& w = walks[std::size_t(largest)];
        while (!w.done && w.pts.size() < 3) {
            w.pts.push_back(w.at);
            w.box.add(vertices_[std::size_t(w.at)].p);
            w.at = vertices_[std::size_t(w.at)].next;
            w.done = w.at == w.start;
        }
    }
    if (largest < 0 && outer_involved) {
        largest = 0;
        for (int c = 1; c < cycles; ++c)
            if (walks[std::size_t(c)].pts.size() > walks[std::size_t(largest)].pts.size()) largest = c;
    }

    // Merged cycles get fresh labels after their base arc, so every ring reads in label order.
    for (int c = 0; c < cycles; ++c) {
        const CycleInfo& ci = cyc[std::size_t(c)];
        if (!ci.merged) continue;
        const Crossing& bx = cr[std::size_t(ci.base_exit)];
        const int a = cr[std::size_t(bx.succ)].edge;
        std::vector<int> moved;
        for (int v = vertices_[std::size_t(a)].next; v != bx.end; v = vertices_[std::size_t(v)].next) {
            order_.erase(v);
            moved.push_back(v);
        }
        order_.insert_range_after(a, moved);
        report.reordered.insert(report.reordered.end(), moved.begin(), moved.end());
    }

    // Retire the rings that were cut or swallowed; the cycles replace them. The outer ring keeps
    // the first place of its piece's list; holes come in any order.
    std::vector<int> old_rings;
    for (const Crossing& c : cr)
        if (std::find(old_rings.begin(), old_rings.end(), c.ring) == old_rings.end())
            old_rings.push_back(c.ring);
    for (int r : swallowed) old_rings.push_back(r);
    for (int r : old_rings) {
        rings_[std::size_t(r)].alive = false;
        detach_ring(r);
    }

    auto free_walk = [&](Walk& w) {
        // A cycle of fewer than 3 points encloses nothing.
        if (!w.done) {
            while (w.at != w.start) {
                w.pts.push_back(w.at);
                w.at = vertices_[std::size_t(w.at)].next;
            }
            w.done = true;
        }
        for (int v : w.pts) free_vertex(v);
    };
    auto set_ring = [&](const std::vector<int>& list, int rid) {
        for (int v : list) move_to_ring(v, rid);
    };
    auto new_ring = [&](int pid, bool hole, int head) {
        const int rid = int(rings_.size());
        rings_.push_back(Ring{pid, head, hole, true});
        attach_ring(rid);
        return rid;
    };
    auto new_piece = [&]() {
        pieces_.push_back(Piece{{-1}, true});
        return int(pieces_.size()) - 1;
    };
    // The largest cycle is not walked to its end: it takes over ring `rid` (its piece stays), and only
    // its spans and the arcs from other rings get the ring's number.
    auto adopt = [&](int c, int rid, bool hole) {
        const Walk& w = walks[std::size_t(c)];
        Ring& r = rings_[std::size_t(rid)];
        r.alive = true;
        r.hole = hole;
        r.piece = piece;
        r.head = cyc[std::size_t(c)].base_low;
        attach_ring(rid);
        if (w.done) {
            set_ring(w.pts, rid);
            return;
        }
        for (int xi : cyc[std::size_t(c)].exits) {
            const Crossing& x = cr[std::size_t(xi)];
            const int f = x.succ;
            set_ring(spans[std::size_t(f)], rid);
            if (x.ring == rid) continue;
            for (int v = x.end;; v = vertices_[std::size_t(v)].next) {
                move_to_ring(v, rid);
                if (v == cr[std::size_t(f)].edge) break;
            }
        }
    };
    std::vector<std::pair<std::uint64_t, int>> queued;  // (lowest label, piece) of new pieces
    std::vector<std::pair<int, int>> islands;           // (cycle, piece) of cycles that became pieces

    // A cycle that becomes a piece of its own, queued for packing.
    auto make_island = [&](int c, const Walk& w) {
        const int pid = new_piece();
        const int rid = new_ring(pid, false, cyc[std::size_t(c)].base_low);
        set_ring(w.pts, rid);
        for (int v : w.pts) report.moved.push_back({v, pid});
        queued.push_back({cyc[std::size_t(c)].low, pid});
        islands.push_back({c, pid});
    };

    if (outer_involved) {
        for (int c = 0; c < cycles; ++c) {
            Walk& w = walks[std::size_t(c)];
            if (w.done && w.pts.size() < 3) {
                free_walk(w);
                continue;
            }
            if (c == largest) {
                adopt(c, outer, false);
                queued.push_back({cyc[std::size_t(c)].low, piece});
                continue;
            }
            make_island(c, w);
        }
        if (!rings_[std::size_t(outer)].alive) {
            // Every cycle was too small: the piece is used up, its holes with it.
            for (std::size_t k = 1; k < pc.rings.size(); ++k) {
                const int h = pc.rings[k];
                std::vector<int> pts;
                int v = rings_[std::size_t(h)].head;
                do {
                    pts.push_back(v);
                    v = vertices_[std::size_t(v)].next;
                } while (v != rings_[std::size_t(h)].head);
                for (int x : pts) free_vertex(x);
                rings_[std::size_t(h)].alive = false;
            }
            pc.rings.clear();
            pc.alive = false;
        }
    } else if (cycles == 1) {
        // One cycle around holes only: the merged hole.
        Walk& w = walks[0];
        if (w.done && w.pts.size() < 3) {
            free_walk(w);
        } else {
            adopt(0, cr[std::size_t(cyc[0].base_exit)].ring, true);
        }
    } else {
        ++stats.slow_topology;
        for (int c = 0; c < cycles; ++c) {
            Walk& w = walks[std::size_t(c)];
            if (w.pts.size() < 3) {
                free_walk(w);
                continue;
            }
            double area = 0;
            for (std::size_t k = 0; k < w.pts.size(); ++k)
                area += cross(vertices_[std::size_t(w.pts[k])].p,
                              vertices_[std::size_t(w.pts[(k + 1) % w.pts.size()])].p);
            if (area < 0) {
                set_ring(w.pts, new_ring(piece, true, cyc[std::size_t(c)].base_low));
                continue;
            }
            make_island(c, w);
        }
    }

    // Holes that no cut reached stay with the piece that now surrounds them: an island, when one
    // encloses them. Only holes with an edge inside an island's box can be inside it.
    if (!islands.empty() && pc.alive && pc.rings.size() > 1) {
        for (const auto& [c, pid] : islands) {
            const Walk& w = walks[std::size_t(c)];
            if (!w.done) continue;
            // Whichever is less work: the piece's holes, or the edges inside the island's box.
            std::vector<int> near;
            const double cells =
                (w.box.x1 - w.box.x0) * (w.box.y1 - w.box.y0) / (edges_.cell_size() * edges_.cell_size());
            if (double(pc.rings.size()) < cells) {
                for (std::size_t k = 1; k < pc.rings.size(); ++k)
                    if (w.box.contains(
                            Box::around(vertices_[std::size_t(rings_[std::size_t(pc.rings[k])].head)].p, 0)))
                        near.push_back(pc.rings[k]);
            } else {
                edges_near(w.box, new_mark(), [&](int e) {
                    const int r = vertices_[std::size_t(e)].ring;
                    const Ring& ring = rings_[std::size_t(r)];
                    if (ring.alive && ring.hole && ring.piece == piece &&
                        std::find(near.begin(), near.end(), r) == near.end())
                        near.push_back(r);
                });
            }
            std::sort(near.begin(), near.end());
            for (int h : near) {
                const Vec2 p = vertices_[std::size_t(rings_[std::size_t(h)].head)].p;
                if (!w.box.contains(Box::around(p, 0)) ||
                    !inside_ring_near(p, vertices_[std::size_t(w.start)].ring, w.box))
                    continue;
                ++stats.slow_topology;
                detach_ring(h);
                rings_[std::size_t(h)].piece = pid;
                attach_ring(h);
                int v = rings_[std::size_t(h)].head;
                do {
                    report.moved.push_back({v, pid});
                    v = vertices_[std::size_t(v)].next;
                } while (v != rings_[std::size_t(h)].head);
            }
        }
    }

    // The part holding the lowest old point stays current; the rest are queued in outline order.
    std::sort(queued.begin(), queued.end());
    if (outer_involved && !queued.empty()) {
        queue_.front() = queued.front().second;
        for (std::size_t k = 1; k < queued.size(); ++k) queue_.push_back(queued[k].second);
    } else {
        for (const auto& item : queued) queue_.push_back(item.second);
    }
    if (cycles > 2) ++stats.slow_topology;
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
