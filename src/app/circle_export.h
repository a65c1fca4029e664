// The circles a transform made, gathered for writing out (the circles file as JSON or SVG): the
// same list whichever transform made them, in pixels of the working picture with byte colours.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "app/document.h"

namespace velq {

struct ExportedCircle {
    double x = 0, y = 0, radius = 0;  // working-picture pixels
    std::array<int, 4> colour{};      // red, green, blue, alpha, 0..255
    int segment = -1;                 // index of its Segment; -1 when the transform makes none
};

struct ExportedSegment {
    int index = 0;                       // position in the Document's Segment list
    std::array<int, 4> colour{};         // mean colour, as the circles'
    std::vector<BoundaryPoint> outline;  // working-picture pixels, clockwise on screen
    std::vector<std::size_t> children;   // indices of the Segments inside this one
    std::vector<PathCommand> curves;     // a letter's outline as its font draws it; empty otherwise
};

struct CircleExport {
    int width = 0, height = 0;              // the working picture
    std::string transform;                  // "normal", "vectorize" or "alphabet"
    std::vector<ExportedSegment> segments;  // enabled Segments in order; none after Normal
    std::vector<ExportedCircle> circles;    // grouped by Segment, in the order they were packed
};

// The Document's circles after its last transform. Disabled Segments and their circles are left out.
CircleExport gather_circles(const Document& doc);

}  // namespace velq
