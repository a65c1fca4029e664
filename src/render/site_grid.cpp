#include "render/site_grid.h"

#include <array>

#include "host/worker_pool.h"

namespace velq {

namespace {

// A class spans radii within a factor of four: narrower ones give more grids, each adding its near
// buckets to every search.
constexpr int kClasses = 12;
constexpr int kMaxGridSide = 4096;

struct Extent {
    double x0, y0, x1, y1;
};

// The sites are read in a few runs side by side, each run in index order, and the results joined
// in run order: the grids are the same for any number of threads.
class Runs {
public:
    Runs(std::size_t count, WorkerPool* pool)
        : count_(count), pool_(pool), runs_(pool && count > 4096 ? std::size_t(pool->size()) : 1) {}
    std::size_t size() const { return runs_; }
    std::size_t begin(std::size_t run) const { return count_ * run / runs_; }
    std::size_t end(std::size_t run) const { return count_ * (run + 1) / runs_; }
    // fn(run, begin, end) for every run.
    template <class Fn>
    void each(Fn&& fn) const {
        if (runs_ == 1) return fn(std::size_t(0), std::size_t(0), count_);
        pool_->run(int(runs_),
                   [&](int r) { fn(std::size_t(r), begin(std::size_t(r)), end(std::size_t(r))); });
    }

private:
    std::size_t count_;
    WorkerPool* pool_;
    std::size_t runs_;
};

SiteGrid make_grid(std::span<const CellSite> sites, const std::vector<std::int32_t>& members,
                   double max_weight, const Extent& e, WorkerPool* pool) {
    SiteGrid g;
    g.max_weight = max_weight;
    const double w = e.x1 - e.x0, h = e.y1 - e.y0;
    const double spacing = std::sqrt(std::max(w * h, 1.0) / double(members.size()));
    g.max_radius = std::sqrt(g.max_weight);
    g.side = std::max({2 * g.max_radius, spacing, 1e-6});
    g.cols = std::clamp(int(std::ceil(w / g.side)), 1, kMaxGridSide);
    g.rows = std::clamp(int(std::ceil(h / g.side)), 1, kMaxGridSide);
    g.side = std::max({g.side, w / g.cols, h / g.rows});
    g.x0 = e.x0;
    g.y0 = e.y0;
    const std::size_t buckets = std::size_t(g.cols) * g.rows;
    // Each run counts its sites per bucket; a run's sites then go after the earlier runs' ones in
    // every bucket, so a bucket holds its sites in index order.
    const Runs runs(members.size(), pool);
    std::vector<std::uint32_t> bucket(members.size());
    std::vector<std::vector<std::uint32_t>> count(runs.size(), std::vector<std::uint32_t>(buckets, 0));
    runs.each([&](std::size_t r, std::size_t begin, std::size_t end) {
        for (std::size_t k = begin; k < end; ++k) {
            const CellSite& s = sites[std::size_t(members[k])];
            bucket[k] = std::uint32_t(g.row_of(s.y) * g.cols + g.col_of(s.x));
            ++count[r][bucket[k]];
        }
    });
    g.start.assign(buckets + 1, 0);
    for (std::size_t b = 0; b < buckets; ++b) {
        std::uint32_t at = g.start[b];
        for (auto& c : count) {
            const std::uint32_t n = c[b];
            c[b] = at;  // now where the run's sites of this bucket start
            at += n;
        }
        g.start[b + 1] = at;
    }
    g.ids.resize(members.size());
    g.x.resize(members.size()), g.y.resize(members.size()), g.weight.resize(members.size());
    runs.each([&](std::size_t r, std::size_t begin, std::size_t end) {
        std::vector<std::uint32_t>& fill = count[r];
        for (std::size_t k = begin; k < end; ++k) {
            const std::uint32_t at = fill[bucket[k]]++;
            const CellSite& site = sites[std::size_t(members[k])];
            g.ids[at] = members[k], g.x[at] = site.x, g.y[at] = site.y, g.weight[at] = site.weight;
        }
    });
    return g;
}

}  // namespace

std::vector<SiteGrid> make_site_grids(std::span<const CellSite> sites, double width, double height,
                                      WorkerPool* pool) {
    const Runs runs(sites.size(), pool);
    std::vector<Extent> extent(runs.size(), Extent{0, 0, width, height});
    std::vector<double> most(runs.size(), 0);
    runs.each([&](std::size_t r, std::size_t begin, std::size_t end) {
        Extent& e = extent[r];
        for (std::size_t i = begin; i < end; ++i) {
            const CellSite& s = sites[i];
            e.x0 = std::min(e.x0, s.x), e.y0 = std::min(e.y0, s.y);
            e.x1 = std::max(e.x1, s.x), e.y1 = std::max(e.y1, s.y);
            most[r] = std::max(most[r], s.weight);
        }
    });
    Extent e = extent[0];
    double max_weight = 0;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        e.x0 = std::min(e.x0, extent[r].x0), e.y0 = std::min(e.y0, extent[r].y0);
        e.x1 = std::max(e.x1, extent[r].x1), e.y1 = std::max(e.y1, extent[r].y1);
        max_weight = std::max(max_weight, most[r]);
    }
    // Class c holds radii in (r_max / 4^(c+1), r_max / 4^c]: weights in (w_max / 16^(c+1), w_max / 16^c].
    std::vector<std::uint8_t> class_of(sites.size());
    using PerClass = std::array<std::size_t, kClasses>;
    std::vector<PerClass> count(runs.size(), PerClass{});
    std::vector<std::array<double, kClasses>> heaviest(runs.size(), std::array<double, kClasses>{});
    runs.each([&](std::size_t r, std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const double w = sites[i].weight;
            int c = kClasses - 1;
            if (w > 0) c = std::clamp(std::ilogb(max_weight / w) / 4, 0, kClasses - 1);
            class_of[i] = std::uint8_t(c);
            ++count[r][std::size_t(c)];
            heaviest[r][std::size_t(c)] = std::max(heaviest[r][std::size_t(c)], w);
        }
    });
    // Each class's members in index order: every run writes its own after the earlier runs'.
    std::vector<std::vector<std::int32_t>> members(kClasses);
    std::vector<double> class_max(kClasses, 0);
    for (std::size_t c = 0; c < kClasses; ++c) {
        std::size_t at = 0;
        for (std::size_t r = 0; r < runs.size(); ++r) {
            const std::size_t n = count[r][c];
            count[r][c] = at;
            at += n;
            class_max[c] = std::max(class_max[c], heaviest[r][c]);
        }
        members[c].resize(at);
    }
    runs.each([&](std::size_t r, std::size_t begin, std::size_t end) {
        PerClass at = count[r];
        for (std::size_t i = begin; i < end; ++i) members[class_of[i]][at[class_of[i]]++] = std::int32_t(i);
    });
    std::vector<SiteGrid> grids;
    for (std::size_t c = 0; c < kClasses; ++c)
        if (!members[c].empty()) grids.push_back(make_grid(sites, members[c], class_max[c], e, pool));
    return grids;
}

}  // namespace velq
