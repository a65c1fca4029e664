// Splicing a cut into the outline: the crossings linked into new rings, walked side by side, and
// the pieces and order lists brought up to date.
#include <algorithm>
#include <cmath>

#include "transform/outline_crossing.h"
#include "transform/outline_set.h"

namespace velq::pack {
namespace {

// One closed walk of a new ring, done step by step so that several can run side by side.
struct Walk {
    int start = -1, at = -1;
    std::vector<int> pts;
    Box box;
    bool done = false;
};

// Takes one step along a walk; true when it is back at its start.
bool step_walk(Walk& w, const std::vector<Vertex>& vertices) {
    w.pts.push_back(w.at);
    w.box.add(vertices[std::size_t(w.at)].p);
    w.at = vertices[std::size_t(w.at)].next;
    w.done = w.at == w.start;
    return w.done;
}

// Twice the area below which a small cycle's orientation is not trusted to tell the others' apart.
constexpr double kClearArea = 1e-3;

}  // namespace

void OutlineSet::splice(int piece, std::vector<Crossing>& cr, const std::vector<Vec2>& q, int n,
                        const std::vector<int>& doomed, const std::vector<int>& swallowed, int cycles,
                        PackStats& stats, CutReport& report) {
    // Room for the pieces this splice may add, so `pc` stays valid; grown geometrically, since a
    // reserve of just enough would move every piece again at each splice that adds one.
    const std::size_t room = pieces_.size() + std::size_t(cycles) + 1;
    if (pieces_.capacity() < room) pieces_.reserve(std::max(room, 2 * pieces_.capacity()));
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

    // Walk the cycles side by side, all but the largest: the cost follows the smaller parts.
    std::vector<Walk> walks(static_cast<std::size_t>(cycles));
    for (int c = 0; c < cycles; ++c)
        walks[std::size_t(c)].start = walks[std::size_t(c)].at = cyc[std::size_t(c)].start;
    int open = cycles;
    while (open > 1) {
        for (Walk& w : walks) {
            if (w.done) continue;
            if (step_walk(w, vertices_)) --open;
        }
    }
    int largest = -1;
    for (int c = 0; c < cycles; ++c)
        if (!walks[std::size_t(c)].done) largest = c;
    if (largest >= 0) {
        // Make sure the largest has at least 3 points, or finish it.
        Walk& w = walks[std::size_t(largest)];
        while (!w.done && w.pts.size() < 3) step_walk(w, vertices_);
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
        // The holes and the disc make one connected shape, so exactly one cycle is its boundary (the
        // new hole) and the others are pockets of the region (islands). When the walked cycles are all
        // clearly islands, the unwalked one is the hole and keeps a ring number, so it is never walked:
        // a hole that grows through the whole region would otherwise cost its size on every cut.
        std::vector<double> areas(std::size_t(cycles), 0.0);
        bool hole_unwalked = largest >= 0 && !walks[std::size_t(largest)].done;
        for (int c = 0; c < cycles; ++c) {
            const Walk& w = walks[std::size_t(c)];
            if (c == largest && !w.done) continue;
            for (std::size_t k = 0; k < w.pts.size(); ++k)
                areas[std::size_t(c)] += cross(vertices_[std::size_t(w.pts[k])].p,
                                               vertices_[std::size_t(w.pts[(k + 1) % w.pts.size()])].p);
            if (w.pts.size() >= 3 && !(areas[std::size_t(c)] > kClearArea)) hole_unwalked = false;
        }
        if (largest >= 0 && !walks[std::size_t(largest)].done && !hole_unwalked) {
            Walk& w = walks[std::size_t(largest)];
            while (!step_walk(w, vertices_)) {
            }
            for (std::size_t k = 0; k < w.pts.size(); ++k)
                areas[std::size_t(largest)] += cross(vertices_[std::size_t(w.pts[k])].p,
                                                     vertices_[std::size_t(w.pts[(k + 1) % w.pts.size()])].p);
        }
        for (int c = 0; c < cycles; ++c) {
            Walk& w = walks[std::size_t(c)];
            if (c == largest && hole_unwalked) {
                adopt(c, cr[std::size_t(cyc[std::size_t(c)].base_exit)].ring, true);
                continue;
            }
            if (w.pts.size() < 3) {
                free_walk(w);
                continue;
            }
            const double area = areas[std::size_t(c)];
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

}  // namespace velq::pack
