// The circles file as JSON, for tools. One form for every transform, named by its "format" field.
#pragma once

#include <string>

#include "app/circle_export.h"

namespace velq::cli {

// The name a reader checks before anything else; a new name marks a change a reader must know.
inline constexpr const char* kCirclesFormat = "velquino-circles-1";

// {"format", "transform", "width", "height", "circles": [{"x", "y", "radius", "colour", "segment"}],
//  "segments": [{"index", "colour", "outline", "children"}]}; "segment" is null for a free circle.
std::string circles_json(const CircleExport& circles);

}  // namespace velq::cli
