// The Transform command: Normal packs the picture with circles grown against the brush-size map,
// Vectorize divides it into Segments and packs each one, Alphabet packs the letters of a text set
// over it. Runs on the worker.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "app/document.h"

namespace velq {

enum class TransformMode { Normal = 0, Vectorize = 1, Alphabet = 2 };

// Returns 0, or -1 after the system's message (a refused packing still shows the count when asked).
// A Stop keeps the circles made so far and is no failure; instead of the count it always says that
// the transform was stopped and how many circles it kept (stopped_message).
int do_transform(Document& doc, Host& host, TransformMode mode, bool show_count);

// "The transform was stopped after N circles" (or before any circle was packed).
std::string stopped_message(std::size_t circles);

// The Normal transform's packing over the Document's filtered picture and brush-size map: the circles
// become the Document's free circle list, with their own colours and centres as fractions, and their
// outlines join the boundary pieces. Returns the number of circles; nothing when Min and Max leave no
// room (after the system's message).
std::optional<std::size_t> fill_circle_algo1(Document& doc, Host& host);

}  // namespace velq
