#include "render/site_grid.h"

namespace velq {

namespace {

// A class spans radii within a factor of four: narrower ones give more grids, each adding its near
// buckets to every search.
constexpr int kClasses = 12;
constexpr int kMaxGridSide = 4096;

struct Extent {
    double x0, y0, x1, y1;
};

SiteGrid make_grid(std::span<const CellSite> sites, const std::vector<std::int32_t>& members,
                   const Extent& e) {
    SiteGrid g;
    for (std::int32_t id : members) g.max_weight = std::max(g.max_weight, sites[std::size_t(id)].weight);
    const double w = e.x1 - e.x0, h = e.y1 - e.y0;
    const double spacing = std::sqrt(std::max(w * h, 1.0) / double(members.size()));
    g.max_radius = std::sqrt(g.max_weight);
    g.side = std::max({2 * g.max_radius, spacing, 1e-6});
    g.cols = std::clamp(int(std::ceil(w / g.side)), 1, kMaxGridSide);
    g.rows = std::clamp(int(std::ceil(h / g.side)), 1, kMaxGridSide);
    g.side = std::max({g.side, w / g.cols, h / g.rows});
    g.x0 = e.x0;
    g.y0 = e.y0;
    g.start.assign(std::size_t(g.cols) * g.rows + 1, 0);
    std::vector<std::uint32_t> bucket(members.size());
    for (std::size_t k = 0; k < members.size(); ++k) {
        const CellSite& s = sites[std::size_t(members[k])];
        bucket[k] = std::uint32_t(g.row_of(s.y) * g.cols + g.col_of(s.x));
        ++g.start[bucket[k] + 1];
    }
    for (std::size_t b = 1; b < g.start.size(); ++b) g.start[b] += g.start[b - 1];
    // Sites are read in index order and scattered to their buckets.
    g.ids.resize(members.size());
    g.x.resize(members.size()), g.y.resize(members.size()), g.weight.resize(members.size());
    std::vector<std::uint32_t> fill(g.start.begin(), g.start.end() - 1);
    for (std::size_t k = 0; k < members.size(); ++k) {
        const std::uint32_t at = fill[bucket[k]]++;
        const CellSite& site = sites[std::size_t(members[k])];
        g.ids[at] = members[k], g.x[at] = site.x, g.y[at] = site.y, g.weight[at] = site.weight;
    }
    return g;
}

}  // namespace

std::vector<SiteGrid> make_site_grids(std::span<const CellSite> sites, double width, double height) {
    Extent e{0, 0, width, height};
    double max_weight = 0;
    for (const CellSite& s : sites) {
        e.x0 = std::min(e.x0, s.x);
        e.y0 = std::min(e.y0, s.y);
        e.x1 = std::max(e.x1, s.x);
        e.y1 = std::max(e.y1, s.y);
        max_weight = std::max(max_weight, s.weight);
    }
    // Class c holds radii in (r_max / 4^(c+1), r_max / 4^c]: weights in (w_max / 16^(c+1), w_max / 16^c].
    std::vector<std::uint8_t> class_of(sites.size());
    std::size_t count[kClasses] = {};
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const double w = sites[i].weight;
        int c = kClasses - 1;
        if (w > 0) c = std::clamp(std::ilogb(max_weight / w) / 4, 0, kClasses - 1);
        class_of[i] = std::uint8_t(c);
        ++count[c];
    }
    std::vector<std::vector<std::int32_t>> members(kClasses);
    for (int c = 0; c < kClasses; ++c) members[std::size_t(c)].reserve(count[c]);
    for (std::size_t i = 0; i < sites.size(); ++i) members[class_of[i]].push_back(std::int32_t(i));
    std::vector<SiteGrid> grids;
    for (const auto& m : members)
        if (!m.empty()) grids.push_back(make_grid(sites, m, e));
    return grids;
}

}  // namespace velq
