// The spikes of the spike drawings as triangles: web spikes from each circle toward each of its
// power-cell neighbours, burst spikes in a fixed number around each circle.
#pragma once

#include <span>
#include <vector>

#include "render/cell_diagram.h"

namespace velq {

struct Spike {
    CellPoint left, right, tip;  // the base's two ends and the point
    int owner = 0;               // the circle it belongs to
};

// Web spikes of circle `i` (its site and radius in `sites`, weights r^2), one per neighbour in the
// power diagram, in the order of the cell's edges. The tip lies on the radical line of the pair,
// c_i + t (c_j - c_i) with t = (d^2 + r_i^2 - r_j^2) / (2 d^2) kept within [0, 1]; the base is
// `half_base` either side of the centre, across the axis.
void web_spikes(const CellDiagram& diagram, std::span<const CellSite> sites, int i, double half_base,
                std::vector<Spike>& out);

// `count` spikes of circle (x, y, r), `length` long with bases `half_base` either side, the first
// pointing at `angle` (radians) and the rest evenly turned from it.
void burst_spikes(double x, double y, int count, double angle, double length, double half_base, int owner,
                  std::vector<Spike>& out);

}  // namespace velq
