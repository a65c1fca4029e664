// Weighted sites bucketed for searches by power distance |p - c|^2 - w. Sites come in classes of
// similar weight, each on a grid of its own: one grid bounded by the heaviest site would make every
// search among tiny sites reach as far as the largest one does, while a fixed window would miss a
// huge site's reach over its tiny neighbours.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "render/cell_diagram.h"

namespace velq {

class WorkerPool;

struct SiteGrid {
    double x0 = 0, y0 = 0, side = 1;
    int cols = 1, rows = 1;
    double max_weight = 0, max_radius = 0;
    std::vector<std::uint32_t> start;  // per bucket, row by row; one more at the end
    std::vector<std::int32_t> ids;     // sites by bucket, in index order within one
    std::vector<double> x, y, weight;  // the sites of `ids`, read in a row rather than scattered

    int col_of(double x) const { return std::clamp(int(std::floor((x - x0) / side)), 0, cols - 1); }
    int row_of(double y) const { return std::clamp(int(std::floor((y - y0) / side)), 0, rows - 1); }
};

// One grid per class of weight that has sites, heaviest first, covering the frame
// [0, width] x [0, height] and every site. With a pool, the sites are read on all its threads; the
// grids are the same.
std::vector<SiteGrid> make_site_grids(std::span<const CellSite> sites, double width, double height,
                                      WorkerPool* pool = nullptr);

}  // namespace velq
