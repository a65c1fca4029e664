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

// Corners waiting to be examined, per piece, lowest order label first. Entries go stale instead of
// being removed: an entry counts while its version matches the corner's. Counting entries carry
// their corner's current label, so no two of them share a label, and the order among entries of
// equal label (stale ones) does not matter.
struct Entry {
    std::uint64_t label;
    int v;
    std::uint32_t version;
};
// A 4-ary min-heap on the label: half as deep as a binary one, and the four children of a node share
// a cache line, which matters for heaps of a few hundred thousand entries.
class DirtyHeap {
public:
    bool empty() const { return a_.empty(); }
    const Entry& top() const { return a_.front(); }
    void push(const Entry& e) {
        std::size_t i = a_.size();
        a_.push_back(e);
        while (i > 0) {
            const std::size_t parent = (i - 1) / 4;
            if (!(e.label < a_[parent].label)) break;
            a_[i] = a_[parent];
            i = parent;
        }
        a_[i] = e;
    }
    void pop() {
        const Entry e = a_.back();
        a_.pop_back();
        const std::size_t n = a_.size();
        if (n == 0) return;
        std::size_t i = 0;
        for (;;) {
            const std::size_t first = 4 * i + 1;
            if (first >= n) break;
            std::size_t best = first;
            const std::size_t last = std::min(first + 4, n);
            for (std::size_t c = first + 1; c < last; ++c)
                if (a_[c].label < a_[best].label) best = c;
            if (!(a_[best].label < e.label)) break;
            a_[i] = a_[best];
            i = best;
        }
        a_[i] = e;
    }

private:
    std::vector<Entry> a_;
};

// Edges are indexed in cells of this size (pixels), about the size of a typical small circle.
double cell_size(double max_radius) { return std::clamp(max_radius, 4.0, 8.0); }

class LiveFeed {
public:
    LiveFeed(Host& host, double interval) : host_(host), interval_(interval), last_(Clock::now()) {}
    void add(const Circle& c) {
        batch_.push_back(LiveCircle{c.x, c.y, c.radius});
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
    }

private:
    using Clock = std::chrono::steady_clock;
    Host& host_;
    double interval_;
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
            live.add(circle);
            absorb(v, report);
        }
        return out;
    }

private:
    void grow(std::size_t n) {
        if (dirty_.size() < n) {
            const std::size_t m = n + n / 2 + 16;
            dirty_.resize(m, 0);
            version_.resize(m, 0);
            reach_stamp_.resize(m, 0);
        }
    }
    DirtyHeap& heap(int piece) {
        if (heaps_.size() <= std::size_t(piece)) heaps_.resize(std::size_t(piece) + 1);
        return heaps_[std::size_t(piece)];
    }
    void push(int v) {
        ++version_[std::size_t(v)];
        heap(set_.piece_of(v)).push({set_.label(v), v, version_[std::size_t(v)]});
    }
    void mark_dirty(int v) {
        grow(std::size_t(v) + 1);
        if (!set_.vertex(v).alive || dirty_[std::size_t(v)]) return;
        dirty_[std::size_t(v)] = 1;
        push(v);
    }
    int pop(int piece) {
        DirtyHeap& h = heap(piece);
        while (!h.empty()) {
            const auto [label, v, version] = h.top();
            (void)label;
            h.pop();
            if (set_.vertex(v).alive && dirty_[std::size_t(v)] && version_[std::size_t(v)] == version &&
                set_.piece_of(v) == piece)
                return v;
        }
        return -1;
    }
    // A failed corner waits in the cells its cone passes through.
    void remember(int v, const Candidate& c) {
        grow(std::size_t(v) + 1);
        const std::uint32_t stamp = ++reach_stamp_[std::size_t(v)];
        const double step = reach_.cell_size();
        for (double a = 0;; a += step) {
            const double b = std::min(a + step, c.length);
            const Box box = Box::of(c.apex + a * c.dir, c.apex + b * c.dir)
                                .grown(b * c.spread + CornerEvaluator::kSlack);
            reach_.insert(box, v, stamp);
            if (b >= c.length) break;
        }
    }
    void absorb(int corner, const CutReport& report) {
        grow(std::size_t(set_.vertex_count()) + 1);
        for (int v : report.removed) {  // forget what was known about them: the number may be reused
            dirty_[std::size_t(v)] = 0;
            ++version_[std::size_t(v)];
            ++reach_stamp_[std::size_t(v)];
        }
        for (const auto& [v, piece] : report.moved)
            if (set_.vertex(v).alive && dirty_[std::size_t(v)]) push(v);
        for (int v : set_.take_relabelled())
            if (set_.vertex(v).alive && dirty_[std::size_t(v)]) push(v);
        mark_dirty(corner);
        for (int v : report.touched) mark_dirty(v);
        // Every corner waiting in a cell the cut touched is looked at again; its entries go with it.
        reach_.for_cells(report.changed, [&](std::vector<GridEntry>& cell) {
            std::size_t keep = 0;
            for (const GridEntry e : cell) {
                if (!set_.vertex(e.id).alive || reach_stamp_[std::size_t(e.id)] != e.stamp || dirty_[std::size_t(e.id)])
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
    std::vector<DirtyHeap> heaps_;
    std::vector<char> dirty_;
    std::vector<std::uint32_t> version_, reach_stamp_;
};

}  // namespace

std::vector<Circle> pack_circles(const PackRegion& region, const PackOptions& options, Host& host) {
    PackStats local;
    PackStats& stats = options.stats ? *options.stats : local;
    CornerRules rules;
    rules.min_radius = options.min_radius;
    rules.max_radius = options.max_radius;
    rules.gap = options.gap;
    if (options.brush_map && *options.brush_map && options.picture_width > 0 && options.picture_height > 0) {
        rules.map = options.brush_map;
        rules.map_sx = double(options.brush_map->width()) / double(options.picture_width);
        rules.map_sy = double(options.brush_map->height()) / double(options.picture_height);
    }
    if (!(rules.max_radius > 0)) return {};
    OutlineSet set(region, cell_size(rules.max_radius));
    LiveFeed live(host, options.live_interval_seconds);
    FastPacker packer(set, rules, stats);
    std::vector<Circle> out = packer.run(host, live);
    live.flush();
    return out;
}

}  // namespace velq
