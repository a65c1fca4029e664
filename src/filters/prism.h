// Prism: the picture seen through a sheet of triangular prisms. A lattice of equilateral facets,
// each showing the picture a little displaced, its blue, green and red read at three points along
// the facet's axis (so every contrast edge gets a rainbow fringe), and a faint light gradient from
// the facet's base to its apex.
#pragma once

#include <cstdint>

#include "host/progress.h"
#include "host/random.h"
#include "image/buffer.h"

namespace velq {

struct PrismLayout {
    double side = 24;                 // facet side in pixels
    double angle = 0;                 // turn of the lattice, radians
    double offset = 0;                // largest displacement of a facet's picture along each axis, pixels
    double spread = 0;                // distance between neighbouring channels' reads, pixels
    double shade = 0;                 // gain from base (1 - shade/2) to apex (1 + shade/2)
    double shift_u = 0, shift_v = 0;  // where the lattice starts, along and across its rows
    std::uint32_t seed = 0;
};

// The layout for a width x height picture: facets four times the largest circle's diameter (2 Max
// times the larger side), at least 24 pixels and at most a third of the larger side, turned by a
// seeded angle below 60 degrees.
PrismLayout prism_layout(int width, int height, double max_size, std::uint32_t seed);

// Which facet pixel (x, y) lies in, and where in it.
struct FacetPlace {
    std::int64_t id;  // unique per facet
    bool up;          // apex towards negative v (the lattice's "up")
    double apex;      // 0 on the base, 1 at the apex
};
FacetPlace prism_facet(const PrismLayout& layout, double x, double y);

// Writes the prism view of `src` into `dst` (both BGRA, same size), rows cut into `blocks` parallel
// pieces per band. False when stopped (dst then holds part of a result).
bool prism_warp(Progress& progress, const UBUFFER& src, UBUFFER& dst, const PrismLayout& layout, int blocks);

// The filter: returns 0, or -1 when stopped or out of memory (the picture is then unchanged).
int prism_filter(Progress& progress, UBUFFER& picture, double max_size, const SeedSource& seeds);

}  // namespace velq
