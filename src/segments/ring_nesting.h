// Closed rings (a glyph's contours, a frame with letters cut out of it) grouped into regions by how
// deeply each lies inside the others: a ring at even depth is an outer ring, a ring at odd depth a
// hole of the ring that directly holds it. Right for rings that do not cross one another, whatever
// their orientation, and for any depth of nesting ('@', a counter with an island).
#pragma once

#include <vector>

#include "segments/segment.h"

namespace velq {

std::vector<SegmentRegion> group_rings(const std::vector<std::vector<BoundaryPoint>>& rings);

// The absolute area of a ring (shoelace).
double ring_area(const std::vector<BoundaryPoint>& ring);

}  // namespace velq
