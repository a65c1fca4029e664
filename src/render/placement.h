// A placement: one circle made ready for painting by a layer, in output pixels, with its paint
// colour, the layer's transparency and the shape it takes. Animations start from its initial state.
#pragma once

#include "segments/circle.h"

namespace velq {

struct Placement : Circle {
    Circle initial;  // the animated members as the placement was made
};

}  // namespace velq
