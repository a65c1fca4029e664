// What each Segment covers once loop assembly has made it: the pixels inside its boundary loop,
// the order of Segments by size, which Segments lie inside which (children), their colours, and the
// label map the view and the mouse read.
#pragma once

#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/segment.h"

namespace velq {

// Draws the closed polyline `points` into the 8-bit `mask` with `value`, each point moved by
// (dx, dy) and rounded to the nearest cell; consecutive cells are joined by 4-connected steps so a
// 4-connected fill cannot leak through the line. Cells outside the mask are skipped.
void draw_path(UBUFFER& mask, const std::vector<BoundaryPoint>& points, double dx, double dy,
               std::uint8_t value);

// Rebuilds every Segment's pixel list from its boundary loop (inside pixels tag 1, line pixels
// tag 0). Pixels outside the width x height picture are dropped. Title "Detecting segment pixels"
// when `show`. 0, or -1 when a Segment's mask could not be had (that Segment gets no pixels).
int detect_segment_pixels(std::vector<Segment>& segments, int width, int height, bool show, Host& host);

// Orders Segments by pixel count, largest first, with the exchange sort that swaps i and j (j > i)
// whenever i has fewer pixels. Title "Sorting segments" when `show`.
void sort_segments(std::vector<Segment>& segments, bool show, Host& host);

// Finds children (a Segment more than half of whose pixels lie inside an earlier Segment becomes a
// child of the one holding most of them), then gives each pixel to the last Segment that claimed it
// and sets every Segment's colour to the mean of `picture` (BGRA) over its pixels.
// Title "Detecting segment children" when `show`. False when the children map could not be had.
bool detect_segment_children(std::vector<Segment>& segments, const UBUFFER& picture, bool show, Host& host);

// Zeroes `map` and writes i + 1 under every pixel of Segment i (later Segments win).
void label_final_segments(const std::vector<Segment>& segments, IBUFFER& map);

}  // namespace velq
