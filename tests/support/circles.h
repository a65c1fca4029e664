// Circles made in the tests themselves.
#pragma once

#include <algorithm>
#include <vector>

#include "segments/circle.h"

namespace velq::test {

// A circle at (x, y) of radius r with its own colour; everything else as a new circle has it.
inline Circle circle(double x, double y, double r, ColourRecord own = {}) {
    Circle c;
    c.x = x, c.y = y, c.radius = r, c.own = own;
    return c;
}

// The same centres, radii and own colours in the same order.
inline bool same_circles(const std::vector<Circle>& a, const std::vector<Circle>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Circle& p, const Circle& q) {
        return p.x == q.x && p.y == q.y && p.radius == q.radius && p.own == q.own;
    });
}

}  // namespace velq::test
