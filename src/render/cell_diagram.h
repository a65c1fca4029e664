// The cells of a set of weighted sites within a rectangle: every point goes to the site of least
// power distance |p - c|^2 - w. With w = r^2 these are the power cells of circles (they hug the
// circles and fill the gaps); with w = 0 the plain nearest-centre cells.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/host.h"

namespace velq {

struct CellSite {
    double x = 0, y = 0;
    double weight = 0;  // r^2 for power cells, 0 for plain ones
};

struct CellPoint {
    double x = 0, y = 0;
};

// Every cell as a convex polygon (clockwise on screen, y down), cut from the frame by half-planes.
struct CellDiagram {
    std::vector<std::uint32_t> first;  // cell i's vertices are [first[i], first[i + 1])
    std::vector<CellPoint> vertex;
    // Per vertex: the site across the edge from this vertex to the next one of its cell; -1 for the
    // frame. The sites named are exactly the cell's neighbours.
    std::vector<std::int32_t> across;

    int size() const { return first.empty() ? 0 : int(first.size()) - 1; }
    std::span<const CellPoint> cell(int i) const {
        return {vertex.data() + first[std::size_t(i)], first[std::size_t(i) + 1] - first[std::size_t(i)]};
    }
    std::span<const std::int32_t> edges(int i) const {
        return {across.data() + first[std::size_t(i)], first[std::size_t(i) + 1] - first[std::size_t(i)]};
    }
};

// The cells of `sites` within [0, width] x [0, height]. A site that owns no area (covered by a
// heavier one, or a repeated centre after its first) gets an empty cell. Runs on `threads` threads
// (0: one per core) with the same result whatever their number. False when the host's stop flag
// ended it (the diagram is then incomplete).
bool make_cell_diagram(Host& host, std::span<const CellSite> sites, double width, double height,
                       CellDiagram& out, int threads = 0);

// The area of one cell (shoelace).
double cell_area(const CellDiagram& d, int i);

}  // namespace velq
