// Cutting a circle's polygon out of a piece: the polygon, its crossings with the piece's outline,
// and the clean-up of the span the cut leaves. The new rings are made by the splice.
#include <algorithm>
#include <cmath>

#include "transform/outline_crossing.h"
#include "transform/outline_set.h"

namespace velq::pack {
namespace {

constexpr double kPiExact = 3.14159265358979323846;

}  // namespace

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
