// The cell picture painted straight from its sites: every pixel centre goes to the site of least
// power distance (the cell it lies in), takes that site's colour shaded toward its circle's centre,
// and lead where it lies near the cell's edge with another cell. The cells need not be cut out
// first: a tile of pixels finds the few sites that can own any of its pixels, and each pixel picks
// among those.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "image/buffer.h"
#include "render/cell_diagram.h"
#include "render/site_grid.h"

namespace velq {

// What every pixel of one cell needs.
struct CellInk {
    float per;      // 1 / (1.6 r)^2: the shading reaches its darkest at 1.6 radii
    float reach;    // lead / 2 + 0.5; 0 without lead (the same for every cell)
    float c[3];     // the cell's colour, blue first
    float e[3];     // the lead's colour
    double cx, cy;  // the circle's centre
};

class CellPicture {
public:
    static constexpr int kBlockRows = 32;  // rows split at multiples of this share no work
    // `inks` holds one ink per site and must outlive the picture. `lanes` is how many pixels
    // go at once: 8, 4 or 1, at most what the processor has; 0 for the most. Every choice gives the
    // same bytes. A pool, when given, makes the site grids on all its threads.
    CellPicture(std::span<const CellSite> sites, std::span<const CellInk> inks, double width, double height,
                int lanes = 0, WorkerPool* pool = nullptr);
    static int widest_lanes();

    // Paints the rows [y0, y1) of `buffer` (4 channels, its alpha kept). Rows of one call are
    // painted alone, so calls for other rows may run at the same time; the bytes do not depend on
    // how the rows are split.
    void paint_rows(UBUFFER& buffer, int y0, int y1) const;

private:
    std::span<const CellInk> inks_;
    std::vector<SiteGrid> grids_;
    double reach_ = 0;
    int lanes_ = 1;
};

}  // namespace velq
