// The Vectorize pipeline up to packing: raw segments, refinement, traced edges, loop assembly,
// segment pixels, order, children, their unification and the final label map.
#pragma once

#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/segment.h"

namespace velq {

// Where the pipeline puts its results. The pieces are replaced as soon as they are traced (the view
// shows them while the rest runs, after Host::refresh(Refresh::Outlines)); the Segments and the
// label map when they are final.
struct VectorizeOutput {
    std::vector<BoundaryPiece>& pieces;
    std::vector<Segment>& segments;
    IBUFFER& label_map;
};

// Runs the pipeline on `picture` (BGRA; flattened to the raw segments' colours on the way) with
// INT (`interpolation`, 3 x INT dilation passes) and THR (`threshold`). False when the label map
// could not be allocated ("Failed to allocate map whiling vectorizing"). When stopped it returns
// true with whatever was made.
bool vectorize(UBUFFER& picture, int interpolation, int threshold, Host& host, VectorizeOutput out);

}  // namespace velq
