// What `velquino circles --transform vectorize` adds to its output: the Segments (colour, outline,
// holes) and, for every circle, the Segment it belongs to. JSON for tools, SVG for vector editors.
#pragma once

#include <ostream>
#include <vector>

#include <nlohmann/json.hpp>

#include "segments/segment.h"

namespace velq {

// One entry per Segment, in order: "index", "enabled", "colour" [red, green, blue, alpha],
// "outline" [[x, y], ...] (working-picture pixels, clockwise on screen) and "children" (indices).
nlohmann::json segments_json(const std::vector<Segment>& segments);

// Every circle of every Segment in order: "x", "y" (working-picture pixels), "radius",
// "colour" [red, green, blue, alpha] and "segment" (its Segment's index).
nlohmann::json segment_circles_json(const std::vector<Segment>& segments, int width, int height);

// A whole SVG document of the working picture's size: each Segment's outline as an unfilled path,
// then its circles filled with its colour. Disabled Segments are left out.
void write_segments_svg(std::ostream& out, const std::vector<Segment>& segments, int width, int height);

}  // namespace velq
