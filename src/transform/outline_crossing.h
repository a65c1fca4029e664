// Where a cut polygon crosses an outline edge: found while cutting, linked into spans and cycles
// while splicing. Private to the outline set's cutting and splicing.
#pragma once

#include "transform/outline_set.h"

namespace velq::pack {

struct OutlineSet::Crossing {
    int edge = -1;  // start point of the crossed edge
    int end = -1;   // its end point before the cut
    double t = 0;   // place along the edge
    Vec2 p;
    double phi = 0;  // place on the polygon: edge index + fraction
    bool entry = false;
    int ring = -1;
    int partner = -1;  // entry: the exit where its span ends
    int succ = -1;     // exit: the next entry along its ring
    int point = -1;    // the point made for it
    int cycle = -1;
};

}  // namespace velq::pack
