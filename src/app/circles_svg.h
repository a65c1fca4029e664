// The circles file as SVG, for vector editors: a document of the working picture's size, each
// Segment a group with its outline (unfilled; a letter's as its Bezier curves) and its circles, free
// circles at the top level.
#pragma once

#include <ostream>

#include "app/circle_export.h"

namespace velq {

void write_circles_svg(std::ostream& out, const CircleExport& circles);

}  // namespace velq
