// Resampling of buffers: the box shrink / nearest-neighbour enlargement used for
// every resize, the bilinear enlargement by INT, the box blur, and border clearing.
#pragma once

#include <cstdint>
#include <vector>

#include "image/buffer.h"

namespace velq {

// Fills `dst` (its size chosen by the caller) from `src`: nearest neighbour when either side grows,
// otherwise a box average through a summed-area table per channel, where a zero-area box at the right
// or bottom edge stores 0. Returns 0, or -1 with "Failed to allocate buffers for integral in
// UBUFFER::get_resized()". Source and destination must have the same number of channels.
int get_resized(Host& host, const UBUFFER& src, UBUFFER& dst);

// The same resize from one channel of `src` into one channel of `dst` (planes into a stencil).
int resize_channel(Host& host, const UBUFFER& src, int src_channel, UBUFFER& dst, int dst_channel);

// Box edges of the shrink of s samples to d: box i is (lo[i], hi[i]] with lo[i] = trunc(i s / d + 0.5)
// and hi[i] = min(trunc((i + 1) s / d + 0.5), s - 1).
void shrink_edges(int s, int d, std::vector<int>& lo, std::vector<int>& hi);

// Size of the bilinear enlargement by `factor`: (n - 1) * factor + 1.
inline int enlarged_size(int n, int factor) {
    return n < 1 ? 0 : (n - 1) * factor + 1;
}

// Bilinear enlargement of channel c of `src` by `factor` into channel c of `dst`, which must already
// have the enlarged size and 4 channels.
void enlarge_bilinear(const UBUFFER& src, UBUFFER& dst, int factor, int channel);
// The same for every channel at once, for destination rows [row_begin, row_end).
void enlarge_bilinear_rows(const UBUFFER& src, UBUFFER& dst, int factor, int row_begin, int row_end);

// In-place box blur of every channel with kernel k; a frame of trunc(k / 2) pixels top and left and
// k - trunc(k / 2) bottom and right keeps its values. k < 1 leaves the buffer as it is.
// Returns 0, or -1 with "Failed to allocate buffer in UBUFFER::blur()".
int blur(Host& host, UBUFFER& buf, int k);

// The same on doubles; samples equal to `skip` neither count nor change (a NaN skip skips nothing).
int blur(Host& host, DBUFFER& buf, int k, double skip);

// Sets every sample of every pixel within b pixels of an edge to 0; b = 0 changes nothing.
void clear_border(UBUFFER& buf, int b);

}  // namespace velq
