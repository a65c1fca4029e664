// The two steps that turn the source picture into the pictures every filter and transform work on:
// the filter buffer (the source shrunk so that its enlargement fits the memory limit) and the
// working picture (the filter buffer enlarged by INT and blurred by BLU x INT), with the filtered and
// view pictures and the label map of the same size.
#pragma once

#include <cstdint>

#include "host/host.h"
#include "image/buffer.h"

namespace velq {

// Checks INT (1..50) and BLU (0..10) before anything is changed; -1 with the message when out of range.
int check_interpolation(Host& host, int interpolation, int blur);

// The size the filter buffer gets: the source scaled by 1 / sqrt(B / L) when B = W x H x F x F x 4
// exceeds the limit L, else the source size.
void interpol_size(int w, int h, int interpolation, std::int64_t memory_limit, int& out_w, int& out_h);

// Builds the filter buffer from the source. Returns 0, or -1 with
// "Failed to allocate rz in init_interpol_buffer()".
int init_interpol_buffer(Host& host, const UBUFFER& source, int interpolation, std::int64_t memory_limit,
                         UBUFFER& filter_buffer);

struct WorkingPictures {
    UBUFFER working;    // enlarged and blurred
    UBUFFER filtered;   // a copy of the working picture for the filter to change
    UBUFFER view;       // cleared, for the view composition
    IBUFFER label_map;  // cleared
};

// Builds the working pictures from the filter buffer: title "Velquinograph (Interpolating...)",
// progress 30, 60 and 90 after channels 1, 2 and 3. Returns 0, or -1 with the message of the buffer
// that could not be had. An absent or empty filter buffer gives a cleared 10 x 10 working picture.
int init_filter_buffer(Host& host, const UBUFFER& filter_buffer, int interpolation, int blur_radius,
                       WorkingPictures& out);

}  // namespace velq
