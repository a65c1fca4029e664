// Circles made in the tests themselves.
#pragma once

#include "segments/circle.h"

namespace velq::test {

// A circle at (x, y) of radius r with its own colour; everything else as a new circle has it.
inline Circle circle(double x, double y, double r, ColourRecord own = {}) {
    Circle c;
    c.x = x, c.y = y, c.radius = r, c.own = own;
    return c;
}

}  // namespace velq::test
