// Refinement of raw segments before their borders are traced: the label map, removal of the
// background and ragged segments, and dilation of the survivors into the freed pixels.
#pragma once

#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/raw_segment.h"

namespace velq {

// Zeroes `map` and writes i + 1 under every pixel of segment i, in list order (later ones win).
void label_segments(const std::vector<RawSegment>& list, IBUFFER& map);

// Counts each segment's boundary edges and keeps, from list position 1 on, those whose boundary
// count / pixel count is at most `ratio`; the pixels of the others are unlabelled. Position 0 grew
// from the top-left pixel and is the background: never kept, its labels stay. Title "Removing minor
// segments". The kept segments are moved out of `list`.
std::vector<RawSegment> remove_minor_segments(std::vector<RawSegment>& list, IBUFFER& map, double ratio,
                                              Host& host);

// One ring of 4-neighbour growth of `seg` into unlabelled cells, which are marked 1 ("taken").
void dilate_segment(IBUFFER& map, RawSegment& seg);

// `passes` rounds of dilate_segment over `list` in order, with the same result; each round visits
// only the pixels the previous one added. Stops early when the host is stopped.
void dilate_segments(IBUFFER& map, std::vector<RawSegment>& list, int passes, Host& host);

}  // namespace velq
