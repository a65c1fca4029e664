// The brush-size map of the Normal transform: for every pixel, how far (as a square half-width) a
// region of uniform colour reaches around it. The packer lets a circle grow only within that reach.
#pragma once

#include <cstddef>

#include "host/host.h"
#include "image/buffer.h"

namespace velq {

// The brush size at each pixel of a 4-channel picture: starting from max(minpx, 1), the largest k
// below maxpx such that every square ring at distance minpx + 1 .. k around the pixel lies inside the
// picture and has every channel within `thr` of the pixel's own (a difference equal to thr passes).
// A negative minpx counts as 0. Title "Velquinograph (Getting brush size...)"; on Stop the map is
// returned as far as it was filled (the rest 0). Returns an absent buffer when memory is short; the
// caller reports it.
IBUFFER get_brush_size(Host& host, const UBUFFER& picture, double thr, int maxpx, int minpx);

namespace detail {
// The same with the bytes of lookup tables one band of rows may use (the default is 24 MB); tests use
// small bands to cross many band borders.
IBUFFER get_brush_size(Host& host, const UBUFFER& picture, double thr, int maxpx, int minpx,
                       std::size_t band_budget);
}  // namespace detail

}  // namespace velq
