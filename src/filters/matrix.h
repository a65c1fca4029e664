// Matrix: vertical bands about one largest circle plus a gap wide; in each band the channels are
// rotated over the whole height and rotated back from a random row down, then local contrast.
#pragma once

#include "host/progress.h"
#include "host/random.h"
#include "image/buffer.h"

namespace velq {

// Number of bands for a picture `width` wide: trunc(W / (2 * Max * W + GAP) + 0.5), never more than
// one per column; 0 means no bands.
int matrix_band_count(int width, double max_size, int gap);

// Columns [begin, end) of band j (1-based) of n: end = min(W, trunc(j * W / n + 0.5)).
int matrix_band_end(int width, int n, int j);

// Returns 0, or -1 when the contrast tables cannot be had (the picture is then unchanged).
int matrix_filter(Progress& progress, UBUFFER& picture, double max_size, int gap, const SeedSource& seeds);

}  // namespace velq
