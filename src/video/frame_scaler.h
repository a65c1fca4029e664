// Scaling a rendered picture into a video frame: separable area averaging when a side shrinks (each
// output pixel the mean of the source area it covers), linear interpolation when it grows, plain
// copies when it keeps its size. Weights are worked out once per pair of sizes and rows are shared
// among the cores, so a 1080p frame takes a few milliseconds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/buffer.h"

namespace velq {

class FrameScaler {
public:
    // For 4-channel pictures of src_w x src_h scaled to dst_w x dst_h.
    FrameScaler(int src_w, int src_h, int dst_w, int dst_h);

    bool fits(int src_w, int src_h, int dst_w, int dst_h) const {
        return src_w == src_w_ && src_h == src_h_ && dst_w == dst_w_ && dst_h == dst_h_;
    }
    // Writes the scaled picture into rows of `dst` (dst_stride bytes apart), all four channels.
    void scale(const UBUFFER& src, std::uint8_t* dst, std::size_t dst_stride) const;

    // One axis: for output i, taps[first[i] .. first[i + 1]) weigh source samples from start[i] on.
    struct Axis {
        std::vector<int> start, first;
        std::vector<float> taps;
    };
    static Axis axis(int src, int dst);

private:
    int src_w_, src_h_, dst_w_, dst_h_;
    Axis x_, y_;
};

}  // namespace velq
