// Local contrast: every colour sample is pushed away from (or pulled towards) the mean of a box of
// about a fifth of the picture's width around it. Contrast up, Inverse contrast and the final step of
// the shuffle and Matrix filters.
#pragma once

#include "host/progress.h"
#include "image/buffer.h"

namespace velq {

enum class ContrastDirection {
    Up,           // v + (v - mean) * k
    TowardsMean,  // v + (mean - v) * k
};

// Half-width of the box: trunc(width / 10), used for both directions.
inline int contrast_radius(int width) {
    return width / 10;
}

// Allocates the summed-area tables of channels 0, 1 and 2 for a width x height picture, interleaved in
// one 3-channel table. On failure the host is told "Failed to allocate data" and the table is absent.
IBUFFER make_contrast_tables(Host& host, int width, int height);

// Fills `tables` (3 channels, the picture's size) with the summed-area tables of channels 0..2,
// modulo 2^32, using every core. Returns false when stopped part-way.
bool build_contrast_tables(Host& host, const UBUFFER& picture, IBUFFER& tables);

// Applies local contrast with factor k to channels 0..2 of a BGRA picture in place, alpha untouched,
// with tables from make_contrast_tables. A pixel whose box has no area (pictures narrower than 10
// pixels, or 1 pixel high) keeps its value. Stops early, leaving rows unprocessed, when asked to.
void local_contrast(Progress& progress, UBUFFER& picture, double k, ContrastDirection dir, IBUFFER& tables);

// The same, allocating and releasing its own tables. Returns 0, or -1 when the tables cannot be had
// (the picture is then unchanged).
int local_contrast(Progress& progress, UBUFFER& picture, double k, ContrastDirection dir);

}  // namespace velq
