// The packer's main loop. Corners are taken in outline order and the first one with a candidate
// wins; after every cut the search starts again from the first corner. Done literally that would
// re-examine every corner after every circle. Instead a corner's failed result is kept together with
// the cone its candidate swept: the result can only change when a cut touches the corner's own
// points or an edge inside that cone. Such corners are marked dirty, and the next circle comes from
// the first dirty corner in outline order that succeeds; clean corners would fail again, so skipping
// them changes nothing. The result is the same circle list as the plain search.
#include "transform/packer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>

#include "transform/corner.h"
#include "transform/outline_set.h"

namespace velq {
namespace {

using pack::Box;
using pack::Candidate;
using pack::CellGrid;
using pack::CornerEvaluator;
using pack::CornerRules;
using pack::CutReport;
using pack::EdgeSearch;
using pack::GridEntry;
using pack::OutlineSet;
using pack::Vec2;

// Corners waiting to be examined: one 4-ary min-heap per piece on the corners' order labels, with
// every corner's place recorded, so that a corner that goes, moves to another piece or gets another
// label is taken out or moved at once instead of leaving a stale entry behind. A relabel keeps the
// order of the corners, so re-keying one rarely moves it. Four children share a cache line.
class DirtyHeaps {
public:
    void grow(std::size_t n) {
        if (slot_.size() < n) {
            slot_.resize(n, -1);
            owner_.resize(n, -1);
        }
    }
    bool holds(int v) const { return slot_[std::size_t(v)] >= 0; }
    int owner(int v) const { return owner_[std::size_t(v)]; }

    void insert(int piece, int v, std::uint64_t label) {
        if (heaps_.size() <= std::size_t(piece)) heaps_.resize(std::size_t(piece) + 1);
        std::vector<Entry>& h = heaps_[std::size_t(piece)];
        owner_[std::size_t(v)] = piece;
        h.push_back({label, v});
        sift_up(h, h.size() - 1, {label, v});
    }
    void remove(int v) {
        std::vector<Entry>& h = heaps_[std::size_t(owner_[std::size_t(v)])];
        const std::size_t i = std::size_t(slot_[std::size_t(v)]);
        slot_[std::size_t(v)] = -1;
        const Entry last = h.back();
        h.pop_back();
        if (i == h.size()) return;
        place(h, i, last);
    }
    // Gives v another label in place. Only for relabels that keep the order of everything in the
    // heap, which then stays in order as it is.
    void relabel(int v, std::uint64_t label) {
        heaps_[std::size_t(owner_[std::size_t(v)])][std::size_t(slot_[std::size_t(v)])].label = label;
    }
    // Takes the corner with the lowest label out of the piece's heap (-1: none).
    int pop(int piece) {
        if (heaps_.size() <= std::size_t(piece) || heaps_[std::size_t(piece)].empty()) return -1;
        const int v = heaps_[std::size_t(piece)].front().v;
        remove(v);
        return v;
    }

private:
    struct Entry {
        std::uint64_t label;
        int v;
    };
    void put(std::vector<Entry>& h, std::size_t i, const Entry& e) {
        h[i] = e;
        slot_[std::size_t(e.v)] = std::ptrdiff_t(i);
    }
    // Puts e at place i, or above or below it where the order wants it.
    void place(std::vector<Entry>& h, std::size_t i, const Entry& e) {
        if (i > 0 && e.label < h[(i - 1) / 4].label) {
            sift_up(h, i, e);
        } else {
            sift_down(h, i, e);
        }
    }
    void sift_up(std::vector<Entry>& h, std::size_t i, const Entry& e) {
        while (i > 0) {
            const std::size_t parent = (i - 1) / 4;
            if (!(e.label < h[parent].label)) break;
            put(h, i, h[parent]);
            i = parent;
        }
        put(h, i, e);
    }
    void sift_down(std::vector<Entry>& h, std::size_t i, const Entry& e) {
        const std::size_t n = h.size();
        for (;;) {
            const std::size_t first = 4 * i + 1;
            if (first >= n) break;
            std::size_t best = first;
            const std::size_t last = std::min(first + 4, n);
            for (std::size_t c = first + 1; c < last; ++c)
                if (h[c].label < h[best].label) best = c;
            if (!(h[best].label < e.label)) break;
            put(h, i, h[best]);
            i = best;
        }
        put(h, i, e);
    }

    std::vector<std::vector<Entry>> heaps_;
    std::vector<std::ptrdiff_t> slot_;  // per corner: its place in its heap, -1 when in none
    std::vector<int> owner_;            // per corner: the piece whose heap holds it
};

// Edges are indexed in cells of this size (pixels), about the size of a typical small circle.
double cell_size(double max_radius) {
    return std::clamp(max_radius, 4.0, 8.0);
}

// Twice the signed area of a ring (shoelace), either orientation.
double twice_area(const PackRing& ring) {
    double a = 0;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        a += ring[j].x * ring[i].y - ring[i].x * ring[j].y;
    return ring.size() < 3 ? 0 : a;
}

double region_area(const PackRegion& region) {
    double a = std::fabs(twice_area(region.outer));
    for (const PackRing& h : region.holes) a -= std::fabs(twice_area(h));
    return std::max(0.0, a / 2);
}

// The live view's batches and the progress estimate, sent together at most every `interval` seconds.
// Progress is the area the accepted candidates cover against the share of a region that a finished
// packing typically covers.
class LiveFeed {
public:
    LiveFeed(Host& host, const PackOptions& options, double area)
        : host_(host),
          interval_(options.live_interval_seconds),
          progress_(options.progress),
          area_(area * kTypicalCoverage),
          last_(Clock::now()) {}
    void add(const Circle& c, double candidate_radius) {
        batch_.push_back(LiveCircle{c.x, c.y, c.radius});
        covered_ += candidate_radius * candidate_radius;
        const auto now = Clock::now();
        if (std::chrono::duration<double>(now - last_).count() >= interval_) {
            flush();
            last_ = now;
        }
    }
    void flush() {
        if (batch_.empty()) return;
        host_.circles_added(batch_);
        batch_.clear();
        if (progress_ && area_ > 0) progress_(std::min(1.0, covered_ * kPi / area_));
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr double kPi = 3.141592653589793;
    static constexpr double kTypicalCoverage = 0.85;
    Host& host_;
    double interval_;
    const std::function<void(double)>& progress_;
    double area_;
    double covered_ = 0;
    Clock::time_point last_;
    std::vector<LiveCircle> batch_;
};

// Whether a cut can have changed what a corner remembered in entry `e` depended on.
bool affects(const CutReport& r, const GridEntry& e) {
    const double dx = std::max({0.0, double(e.x0) - r.centre.x, r.centre.x - double(e.x1)});
    const double dy = std::max({0.0, double(e.y0) - r.centre.y, r.centre.y - double(e.y1)});
    if (dx * dx + dy * dy <= r.reach * r.reach) return true;
    for (const Box& b : r.extra)
        if (e.meets(b)) return true;
    return false;
}

class FastPacker {
public:
    FastPacker(OutlineSet& set, const CornerRules& rules, PackStats& stats)
        : set_(set), eval_(set, rules), rules_(rules), stats_(stats) {
        reach_.init(set.extent().grown(2.0), cell_size(rules.max_radius));
        for (int v = 0; v < set.vertex_count(); ++v)
            if (set.vertex(v).alive) mark_dirty(v);
    }

    std::vector<Circle> run(Host& host, LiveFeed& live) {
        std::vector<Circle> out;
        while (!host.stopped()) {
            const int p = set_.current_piece();
            if (p < 0) break;
            if (!set_.piece(p).alive) {
                set_.finish_current();
                continue;
            }
            const int v = pop(p);
            if (v < 0) {
                set_.finish_current();
                continue;
            }
            dirty_[std::size_t(v)] = 0;
            ++stats_.corner_evaluations;
            const Candidate c = eval_.evaluate(v, EdgeSearch::Local);
            if (!c.ok) {
                if (c.has_reach) remember(v, c);
                continue;
            }
            CutReport report = set_.cut(p, c.centre, c.radius, v, stats_);
            if (!report.done) {
                remember(v, c);
                continue;
            }
            Circle circle;
            circle.x = c.centre.x;
            circle.y = c.centre.y;
            circle.radius = c.radius - rules_.gap * 0.5;
            out.push_back(circle);
            live.add(circle, c.radius);
            absorb(v, report);
        }
        return out;
    }

private:
    void grow(std::size_t n) {
        if (dirty_.size() < n) {
            const std::size_t m = n + n / 2 + 16;
            dirty_.resize(m, 0);
            reach_stamp_.resize(m, 0);
            heaps_.grow(m);
        }
    }
    // A waiting corner that changed piece or place in the order leaves its heap while the heap's
    // labels are still those it was ordered by (before relabel_waiting).
    void take_out(int v) {
        if (dirty_[std::size_t(v)] && heaps_.holds(v)) heaps_.remove(v);
    }
    // The same for a relabelled corner whose piece changed unreported.
    void take_out_if_moved(int v) {
        if (dirty_[std::size_t(v)] && heaps_.holds(v) && heaps_.owner(v) != set_.piece_of(v))
            heaps_.remove(v);
    }
    // Once those are out, a relabelled corner takes its new label in place: relabels keep the outline
    // order, so the heaps stay in order.
    void relabel_waiting(int v) {
        if (dirty_[std::size_t(v)] && heaps_.holds(v)) heaps_.relabel(v, set_.label(v));
    }
    // A waiting corner in no heap goes to the heap of its piece, under its current label.
    void put_back(int v) {
        if (dirty_[std::size_t(v)] && !heaps_.holds(v) && set_.vertex(v).alive)
            heaps_.insert(set_.piece_of(v), v, set_.label(v));
    }
    void mark_dirty(int v) {
        grow(std::size_t(v) + 1);
        if (!set_.vertex(v).alive || dirty_[std::size_t(v)]) return;
        dirty_[std::size_t(v)] = 1;
        heaps_.insert(set_.piece_of(v), v, set_.label(v));
    }
    int pop(int piece) {
        for (;;) {
            const int v = heaps_.pop(piece);
            // A corner whose piece changed unreported keeps waiting, in no heap.
            if (v < 0 || set_.piece_of(v) == piece) return v;
        }
    }
    // A failed corner waits in the cells its cone passes through.
    void remember(int v, const Candidate& c) {
        grow(std::size_t(v) + 1);
        const std::uint32_t stamp = ++reach_stamp_[std::size_t(v)];
        const double step = reach_.cell_size();
        for (double a = 0;; a += step) {
            const double b = std::min(a + step, c.length);
            const Box box =
                Box::of(c.apex + a * c.dir, c.apex + b * c.dir).grown(b * c.spread + CornerEvaluator::kSlack);
            reach_.insert(box, v, stamp);
            if (b >= c.length) break;
        }
    }
    void absorb(int corner, const CutReport& report) {
        grow(std::size_t(set_.vertex_count()) + 1);
        for (int v : report.removed) {  // forget what was known about them: the number may be reused
            if (heaps_.holds(v)) heaps_.remove(v);
            dirty_[std::size_t(v)] = 0;
            ++reach_stamp_[std::size_t(v)];
        }
        // Corners that changed piece or place leave their heaps first, while every label in them still
        // orders them as they are; the others then take their new labels in place.
        std::vector<int>& relabelled = set_.relabelled();
        for (const auto& [v, piece] : report.moved) take_out(v);
        for (int v : report.reordered) take_out(v);
        for (int v : relabelled) take_out_if_moved(v);
        for (int v : relabelled) relabel_waiting(v);
        for (const auto& [v, piece] : report.moved) put_back(v);
        for (int v : report.reordered) put_back(v);
        for (int v : relabelled) put_back(v);
        relabelled.clear();
        mark_dirty(corner);
        for (int v : report.touched) mark_dirty(v);
        // Every corner waiting in a cell the cut touched is looked at again; its entries go with it.
        reach_.for_cells(report.changed, [&](std::vector<GridEntry>& cell) {
            std::size_t keep = 0;
            for (const GridEntry e : cell) {
                if (!set_.vertex(e.id).alive || reach_stamp_[std::size_t(e.id)] != e.stamp ||
                    dirty_[std::size_t(e.id)])
                    continue;  // stale
                if (affects(report, e)) {
                    mark_dirty(e.id);
                    continue;
                }
                cell[keep++] = e;
            }
            cell.resize(keep);
        });
    }

    OutlineSet& set_;
    CornerEvaluator eval_;
    CornerRules rules_;
    PackStats& stats_;
    CellGrid reach_;
    DirtyHeaps heaps_;
    std::vector<char> dirty_;
    std::vector<std::uint32_t> reach_stamp_;
};

}  // namespace

CornerRules pack::corner_rules(const PackOptions& options) {
    CornerRules rules;
    rules.min_radius = options.min_radius;
    rules.max_radius = options.max_radius;
    rules.gap = options.gap;
    if (options.brush_map && *options.brush_map && options.picture_width > 0 && options.picture_height > 0) {
        rules.map = options.brush_map;
        rules.map_sx = double(options.brush_map->width()) / double(options.picture_width);
        rules.map_sy = double(options.brush_map->height()) / double(options.picture_height);
    }
    return rules;
}

std::vector<Circle> pack_circles(const PackRegion& region, const PackOptions& options, Host& host) {
    PackStats local;
    PackStats& stats = options.stats ? *options.stats : local;
    const CornerRules rules = pack::corner_rules(options);
    if (!(rules.max_radius > 0)) return {};
    OutlineSet set(region, cell_size(rules.max_radius));
    if (set.rings_cross()) {
        host.message("The region to fill has outlines that cross each other; it is left empty.");
        return {};
    }
    LiveFeed live(host, options, region_area(region));
    FastPacker packer(set, rules, stats);
    std::vector<Circle> out = packer.run(host, live);
    live.flush();
    return out;
}

}  // namespace velq
