// Raw segments: the regions that the colour grow finds before refinement. They live only while the
// Vectorize pipeline runs; refinement turns the survivors into Segments.
#pragma once

#include <cstdint>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/segment.h"

namespace velq {

struct RawSegment {
    bool alive = true;
    std::vector<Pixel> pixels;      // accepted order, duplicates removed; dilation appends
    double mean[4] = {0, 0, 0, 0};  // red, green, blue, alpha (picture channels 2, 1, 0, 3)
    std::uint32_t boundary = 0;     // boundary edges counted by minor-segment removal
};

// Region-grows every pixel of `picture` (4 channels, BGRA) into raw segments with threshold `thr`
// and flattens the picture: each pixel takes its segment's mean colour truncated toward zero.
// Title "Generating raw segments". Returns what was made so far when stopped.
std::vector<RawSegment> generate_raw_segments(UBUFFER& picture, double thr, Host& host);

}  // namespace velq
