// Unifying segment children: each Segment's region becomes its boundary loop minus the loops of
// its children, so circles packed into a Segment stay off the Segments that lie inside it.
#pragma once

#include <vector>

#include "host/host.h"
#include "segments/segment.h"

namespace velq {

// Computes `regions` of one Segment from its loop and children. A loop or child that is not a valid
// polygon (it touches or crosses itself) is split there into the loops it is made of;
// whatever cannot be repaired is left out of the subtraction.
void unify_segment(Segment& segment);

// Every Segment once, title "Unifying segment children". Stops early when the host is stopped.
void unify_segment_children(std::vector<Segment>& segments, Host& host);

}  // namespace velq
