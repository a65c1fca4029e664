// Mode 1 of the transform driver: the Vectorize transform of the Document's filtered picture into
// Segments with their outlines, each Segment packed with circles of its colour.
#pragma once

#include <cstddef>
#include <optional>

#include "app/document.h"

namespace velq {

// Replaces the Document's boundary pieces, Segments and label map and packs the Segments. Returns
// the number of circles over all Segments (0 when there is no picture or after a Stop); nothing
// after a failure, which the system's message explains. Does not touch the busy state, the view toggles or
// the transformed flag: the transform driver around it does.
std::optional<std::size_t> do_vectorize(Document& doc, Host& host);

}  // namespace velq
