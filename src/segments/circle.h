// One packed circle: the unit that the transform produces, the renderer paints and the animation
// brings in over time. The Document's circle list and every Segment's list hold them by value, in
// the order the packer accepted them.
#pragma once

#include "segments/colour.h"

namespace velq {

class SHAPE;

struct Circle {
    // Centre: working-picture pixels while the packer runs, then fractions of the picture's width and
    // height (0..1); pixels of the output again once the renderer makes a placement.
    double x = 0, y = 0;
    double radius = 0;             // pixels of the working picture; never normalised
    ColourRecord own;              // the picture's colour at the centre (white when created)
    ColourRecord paint;            // the tint, filled by the renderer
    double brightness = 100.0;     // percent; animations vary it
    int transparency = 255;        // taken from the layer at render time
    const SHAPE* shape = nullptr;  // not owned; belongs to a layer
};

}  // namespace velq
