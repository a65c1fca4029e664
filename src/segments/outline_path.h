// A drawn outline as a font gives it: moves, lines and Bezier curves, in picture pixels. The
// Alphabet transform keeps each letter's outline in this form for the view and the SVG file, and
// flattens it into polygon rings for the packer.
#pragma once

#include <vector>

#include "segments/segment.h"

namespace velq {

using OutlinePath = std::vector<PathCommand>;

// How many of p[] a command uses.
inline int point_count(PathCommand::Op op) {
    return op == PathCommand::Op::Cubic ? 3 : op == PathCommand::Op::Quad ? 2 : 1;
}

// Flattening tolerance: no point of a curve lies farther than this from its polyline (pixels).
inline constexpr double kFlattenTolerance = 0.3;

// Appends the polyline of the cubic p0..p3 without p0: the curve is halved until both control
// points of every piece lie over its chord and near enough that the piece stays within `tolerance`.
void flatten_cubic(BoundaryPoint p0, BoundaryPoint p1, BoundaryPoint p2, BoundaryPoint p3, double tolerance,
                   std::vector<BoundaryPoint>& out);

// Every contour of the path as a closed ring (the first point not repeated); rings of fewer than 3
// points are dropped.
std::vector<std::vector<BoundaryPoint>> flatten_path(const OutlinePath& path,
                                                     double tolerance = kFlattenTolerance);

// The path scaled about the origin by (sx, sy), then moved by (dx, dy); a negative sy turns font
// units (y up) into picture pixels (y down).
OutlinePath placed_path(const OutlinePath& path, double sx, double sy, double dx, double dy);

}  // namespace velq
