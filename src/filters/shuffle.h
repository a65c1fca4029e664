// Half shuffle and Triple shuffle: rows are split at a jagged vertical line (or two) and the colour
// channels rotated differently on each side, then local contrast sharpens the result.
#pragma once

#include "host/progress.h"
#include "host/random.h"
#include "image/buffer.h"

namespace velq {

// Local-contrast factor applied after the shuffles and Matrix.
inline constexpr double kShuffleContrast = 1.5;

// One cut line at half the width. Returns 0, or -1 when the contrast tables cannot be had (the
// picture is then unchanged).
int half_shuffle(Progress& progress, UBUFFER& picture, const SeedSource& seeds);

// Cut lines at 0.3 and 0.65 of the width. Returns as half_shuffle.
int triple_shuffle(Progress& progress, UBUFFER& picture, const SeedSource& seeds);

}  // namespace velq
