// The exact blend path eight pixels at a time with AVX2, for placements whose columns land side by
// side. Chosen at run time: `have_avx2()` says whether the processor has it.
#pragma once

#include "image/buffer.h"
#include "render/blend.h"
#include "render/stencil.h"

namespace velq::exact_path {

bool have_avx2();

#if defined(__x86_64__)
// The stencil rows of one placement whose columns land side by side: stencil column i goes to
// column col0 + i, for i in [i_lo, i_hi). Pixels from column `limit` on belong to other tiles.
struct RegularRows {
    const Stencil* stencil;
    double top;
    int col0, i_lo, i_hi, limit;
};

void paint_exact_avx2(const RegularRows& r, UBUFFER& buffer, int row0, int row1, const ExactTint& et);
#endif

}  // namespace velq::exact_path
