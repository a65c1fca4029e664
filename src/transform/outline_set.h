// The remaining region of a running packing: rings of points in one pool (outer rings and holes),
// grouped into pieces that are packed one after another, with an edge grid for local queries and
// order labels that give every corner its place in outline order. `cut` takes an accepted circle out
// of the current piece by splicing a polygon around it into the rings it touches, so its cost
// depends on the neighbourhood of the circle, not on the size of the outline.
#pragma once

#include <cstdint>
#include <deque>
#include <type_traits>
#include <utility>
#include <vector>

#include "transform/cell_grid.h"
#include "transform/order_list.h"
#include "transform/pack_geometry.h"
#include "transform/packer.h"

namespace velq::pack {

struct Vertex {
    Vec2 p;
    int next = -1, prev = -1;  // neighbours on the ring
    int ring = -1;
    std::uint32_t stamp = 0;  // changes whenever the edge to `next` changes or the point goes
    std::uint32_t mark = 0;   // the last edge query that passed this edge on (see edges_near)
    bool alive = false;
};

// The supporting line of an edge; shortened edges keep the line of the edge they came from, so that
// what a corner computes against the unchanged part of an edge does not change.
struct Line {
    Vec2 normal;         // unit normal
    double offset = 0;   // normal . a point of the line
    bool valid = false;  // false for a line of two equal points
};

struct Ring {
    int piece = -1;
    int head = -1;      // the point with the lowest order label
    bool hole = false;  // negative orientation: a hole of its piece
    bool alive = false;
    int slot = -1;  // place in its piece's list of rings
    int size = 0;   // points
};

struct Piece {
    std::vector<int> rings;  // the outer ring first, then the holes in no particular order
    bool alive = false;
};

// What a cut changed, for the packer's caches.
struct CutReport {
    bool done = false;  // false: the splice was inconsistent; nothing changed
    Box changed;        // corners that looked into this box may have another result now:
    Vec2 centre;        // those that looked into the disc around the cut polygon
    double reach = 0;
    std::vector<Box> extra;      // or into the box of a new shortcut edge
    std::vector<int> touched;    // new points and old points whose neighbours changed
    std::vector<int> removed;    // points that went (their numbers may come back as new points)
    std::vector<int> reordered;  // points that took another place in the outline order
    // Points that now belong to another piece than before (with that piece).
    std::vector<std::pair<int, int>> moved;
};

// The polygon a cut takes out: circumscribed about the disc of `radius` grown by the simplification
// tolerance (so that no later simplification can reach back into the disc), turned a little on each
// retry (`attempt`). Positive orientation, no repeated first point.
std::vector<Vec2> cut_polygon(Vec2 centre, double radius, int attempt);
void cut_polygon(Vec2 centre, double radius, int attempt, std::vector<Vec2>& out);

class OutlineSet {
public:
    // Normalises the region (points within kSamePoint merged, rings of fewer than 3 points dropped,
    // outer ring positive, holes negative) and indexes it with cells of `cell` pixels.
    OutlineSet(const PackRegion& region, double cell);

    const Vertex& vertex(int v) const { return vertices_[std::size_t(v)]; }
    // The supporting line of the edge v -> next(v).
    const Line& line(int v) const { return lines_[std::size_t(v)]; }
    const Ring& ring(int r) const { return rings_[std::size_t(r)]; }
    const Piece& piece(int p) const { return pieces_[std::size_t(p)]; }
    int piece_of(int v) const { return rings_[std::size_t(vertices_[std::size_t(v)].ring)].piece; }
    std::uint64_t label(int v) const { return order_.label(v); }
    int vertex_count() const { return int(vertices_.size()); }
    int piece_count() const { return int(pieces_.size()); }
    const Box& extent() const { return extent_; }
    // Whether two edges cross (at a point inside both): a hole that crosses the outer ring, another
    // hole or itself. Such a region cannot be packed.
    bool rings_cross();

    // The piece being packed (-1 when all are done), and moving on to the next one.
    int current_piece() const { return queue_.empty() ? -1 : queue_.front(); }
    void finish_current();

    // The points of a piece in outline order (order labels), for plain scans.
    std::vector<int> corners_in_order(int piece) const;

    // Calls fn(v) once for every live edge v -> next(v) whose box meets `b`; edges already passed to
    // fn under the same `mark` (from new_mark) are skipped. When fn returns a bool, true ends the
    // search.
    template <class Fn>
    void edges_near(const Box& b, std::uint32_t mark, Fn&& fn);
    // A mark no edge carries yet: a search, or several that pass each edge on once between them.
    std::uint32_t new_mark();
    // Calls fn(v) for every live edge.
    template <class Fn>
    void all_edges(Fn&& fn) const {
        for (int v = 0; v < int(vertices_.size()); ++v)
            if (vertices_[std::size_t(v)].alive) fn(v);
    }

    // Takes the circle (centre, radius) out of piece `piece`: a polygon around the disc, grown by the
    // simplification tolerance so that no later simplification can reach back into the disc, is
    // spliced into the rings; the new spans are cleaned (points within kSamePoint merged, then
    // simplified with kSimplify); split-off parts become new pieces (the part holding the lowest
    // surviving original point stays current, the others are queued in outline order). `anchor`
    // places a hole that the circle leaves in the order. Retries with a turned polygon when the
    // splice is inconsistent; `stats` counts what happened.
    CutReport cut(int piece, Vec2 centre, double radius, int anchor, PackStats& stats);

    // Order labels that changed since the last call (for containers keyed by them), by relabels
    // that keep the order; points that change places are reported by the cut (CutReport::reordered).
    std::vector<int> take_relabelled();
    // The same list in place, to be cleared by the caller once used.
    std::vector<int>& relabelled() { return order_.relabelled(); }

private:
    struct Crossing;
    struct Span;
    struct Cycle;

    int new_vertex(Vec2 p, int ring);
    void set_line(int v, Vec2 a, Vec2 b);
    void free_vertex(int v);
    void index_edge(int v);
    bool try_cut(int piece, Vec2 centre, double radius, int anchor, int attempt, PackStats& stats,
                 CutReport& report);
    void splice(int piece, std::vector<Crossing>& cr, const std::vector<Vec2>& q, int n,
                const std::vector<int>& doomed, const std::vector<int>& swallowed, int cycles,
                PackStats& stats, CutReport& report);
    void clean_span(std::vector<int>& span, CutReport& report);
    bool chord_is_clear(int a, int b, const std::vector<int>& span, std::size_t i, std::size_t j,
                        const std::vector<int>& gone);
    double signed_area(int start) const;
    void attach_ring(int r);  // into its piece's list (the outer ring at the front)
    void move_to_ring(int v, int r);
    void detach_ring(int r);
    bool point_in_ring(Vec2 p, int start) const;
    // The same for ring `ring` inside `box`, through the grid.
    bool inside_ring_near(Vec2 p, int ring, const Box& box);

    std::vector<Vertex> vertices_;
    std::vector<Line> lines_;  // per point: the line of its edge (a copy when inherited)
    std::vector<Ring> rings_;
    std::vector<Piece> pieces_;
    std::vector<int> free_;
    std::deque<int> queue_;
    OrderList order_;
    CellGrid edges_;
    Box extent_;
    std::uint32_t mark_ = 0;                   // the last mark given out
    std::vector<std::uint32_t> scratch_mark_;  // per point: part of the current cut
    std::uint32_t cut_mark_ = 0;
    std::vector<int> removed_;  // points freed during the running cut
    // Scratch space of the running cut, kept from cut to cut.
    std::vector<Vec2> cut_q_, cut_e_, span_at_;
    std::vector<int> cut_cand_, cut_pts_, cut_by_ring_, cut_by_phi_, cut_doomed_, cut_swallowed_, span_made_;
    std::vector<double> cut_side_;
    std::vector<char> cut_inside_, clean_keep_;
    std::vector<std::vector<int>> cut_spans_;
    std::vector<int> clean_pts_, clean_gone_, clean_kept_;
    std::vector<std::pair<std::size_t, std::size_t>> clean_stack_;
};

template <class Fn>
void OutlineSet::edges_near(const Box& b, std::uint32_t mark, Fn&& fn) {
    const FloatQuery q(b);
    edges_.for_cells_until(b, [&](std::vector<GridEntry>& cell) {
        GridEntry* const data = cell.data();
        const std::size_t size = cell.size();
        std::size_t keep = 0;
        bool stop = false;
        std::size_t i = 0;
        for (; i < size && !stop; ++i) {
            const GridEntry& e = data[i];
            if (q.meets(e)) {
                Vertex& v = vertices_[std::size_t(e.id)];
                if (!v.alive || v.stamp != e.stamp) continue;  // stale: dropped from the cell
                if (v.mark != mark) {
                    v.mark = mark;
                    if constexpr (std::is_same_v<std::invoke_result_t<Fn&, int>, bool>) {
                        stop = fn(e.id);
                    } else {
                        fn(e.id);
                    }
                }
            }
            if (keep != i) data[keep] = e;
            ++keep;
        }
        if (keep != i) std::copy(data + i, data + size, data + keep);
        cell.resize(keep + (size - i));
        return stop;
    });
}

}  // namespace velq::pack
