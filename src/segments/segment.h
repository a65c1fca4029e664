// The records of segmentation: pixels of a region, boundary points and pieces (open or closed
// polylines between two segments), and the Segment kept by the Document: a closed boundary loop with
// its children's loops, its pixels, its colour and the circles packed into it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "segments/circle.h"
#include "segments/colour.h"

namespace velq {

struct Pixel {
    std::int32_t tag = 1;  // 1 inside the segment, 0 on its drawn boundary line
    std::int32_t x = 0, y = 0;
};

struct BoundaryPoint {
    double x = 0, y = 0;
};

// One command of a drawn outline as a font gives it, in picture pixels.
struct PathCommand {
    enum class Op { Move, Line, Quad, Cubic } op = Op::Move;
    // The control points, then the end point: Move and Line use p[0]; Quad p[0], p[1]; Cubic all three.
    BoundaryPoint p[3];
};

// An open or closed polyline of boundary points.
struct BoundaryPiece {
    bool closed = false;
    std::uint32_t uses = 0;  // how many loops it serves (at most two)
    std::vector<BoundaryPoint> points;
};

// A region to pack: an outer ring and the rings of the holes cut out of it.
struct SegmentRegion {
    std::vector<BoundaryPoint> outer;
    std::vector<std::vector<BoundaryPoint>> holes;
};

struct Segment {
    bool enabled = true;
    BoundaryPiece loop;                       // the closed boundary loop
    std::vector<BoundaryPiece> children;      // loops of the segments that lie inside this one
    std::vector<std::size_t> child_segments;  // their positions in the Segment list, same order
    std::vector<Pixel> pixels;
    std::vector<Circle> circles;
    ColourRecord colour{0, 0, 0, 0, 0, true};  // mean colour: red, green, blue, alpha
    ColourRecord display;                      // colour after the layer's palette and options
    // The loop minus the children's loops (made when the children are unified): what is packed.
    std::vector<SegmentRegion> regions;
    // A letter of the Alphabet transform: each circle is painted in its own colour (the picture's at
    // its centre) instead of the Segment's, and the outline as the font draws it is kept.
    bool own_circle_colours = false;
    std::vector<PathCommand> curves;
};

}  // namespace velq
