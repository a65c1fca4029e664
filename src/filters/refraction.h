// What the two refraction filters (Prism, Broken glass) share: per-piece random numbers that depend
// only on the run's seed and the piece, bilinear reads with mirrored borders, and the row loop that
// reports progress, polls Stop and splits rows over the cores without changing a byte.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>

#include "host/progress.h"
#include "image/buffer.h"

namespace velq {

// A well-mixed 64-bit value for piece `id` of a run seeded with `seed`; no order of evaluation
// can change it, so threads may draw in any order.
std::uint64_t piece_hash(std::uint64_t seed, std::uint64_t id);
// Draw number `n` of a piece, uniform in [0, 1).
double piece_unit(std::uint64_t hash, int n);
// The same in [-1, 1).
inline double piece_signed(std::uint64_t hash, int n) {
    return 2.0 * piece_unit(hash, n) - 1.0;
}

// Index i mirrored into [0, n) the way "fedcba|abcdef|fedcba" repeats a row.
inline int mirror_index(int i, int n) {
    if (n == 1) return 0;
    const int period = 2 * n;
    i %= period;
    if (i < 0) i += period;
    return i < n ? i : period - 1 - i;
}

// Bilinear blend of four samples as two steps between neighbours, so that equal samples (and a
// whole-pixel read) give back the sample exactly.
inline float blend(float a, float b, float c, float d, float ax, float ay) {
    const float top = a + ax * (b - a), bottom = c + ax * (d - c);
    return top + ay * (bottom - top);
}

// Where one bilinear read of a picture starts and how far between pixels it lies, for a read at
// (x + dx, y + dy) where (dx, dy) stays the same over many pixels.
struct BilinearStep {
    int ix = 0, iy = 0;    // whole-pixel part of the offset
    float ax = 0, ay = 0;  // fractional part
    static BilinearStep of(double dx, double dy);
};

// Channel c of `src` read bilinearly at (x + step.ix + fraction, y + ...), borders mirrored.
inline float read_channel(const UBUFFER& src, int x, int y, const BilinearStep& s, int c) {
    const int w = src.width(), h = src.height();
    int x0 = x + s.ix, y0 = y + s.iy, x1 = x0 + 1, y1 = y0 + 1;
    if (x0 < 0 || y0 < 0 || x1 >= w || y1 >= h) {
        x0 = mirror_index(x0, w), x1 = mirror_index(x1, w);
        y0 = mirror_index(y0, h), y1 = mirror_index(y1, h);
    }
    const std::uint8_t* r0 = src.row(y0);
    const std::uint8_t* r1 = src.row(y1);
    return blend(r0[x0 * 4 + c], r0[x1 * 4 + c], r1[x0 * 4 + c], r1[x1 * 4 + c], s.ax, s.ay);
}

// Two packed BGRA pixels blended with weight f / 256 on `b`, rounded; two channels per step
// (each 16-bit lane holds at most 255 * 256 + 128, so no lane spills into the next).
inline std::uint32_t blend_packed(std::uint32_t a, std::uint32_t b, std::uint32_t f) {
    const std::uint32_t g = 256 - f;
    const std::uint32_t rb =
        (((a & 0x00FF00FFu) * g + (b & 0x00FF00FFu) * f + 0x00800080u) >> 8) & 0x00FF00FFu;
    const std::uint32_t ga =
        (((a >> 8) & 0x00FF00FFu) * g + ((b >> 8) & 0x00FF00FFu) * f + 0x00800080u) & 0xFF00FF00u;
    return rb | ga;
}

// Positions in 1/2^24 of a pixel: steps along a row add up exactly, and a read uses the top 8
// fraction bits.
inline constexpr int kFixedBits = 24;
inline std::int64_t to_fixed(double v) {
    // Shifted so that truncation floors for any position a picture can need.
    constexpr double kBias = double(std::int64_t(1) << 60);
    return std::int64_t(v * (1 << kFixedBits) + kBias) - (std::int64_t(1) << 60);
}

// The whole BGRA pixel of `src` read bilinearly at fixed-point (sx, sy) to 1/256 of a pixel,
// borders mirrored, packed as it lies in memory. A whole-pixel position gives the pixel exactly.
inline std::uint32_t read_pixel(const UBUFFER& src, std::int64_t sx, std::int64_t sy) {
    const std::int64_t fx = sx >> (kFixedBits - 8), fy = sy >> (kFixedBits - 8);
    const int w = src.width(), h = src.height();
    int x0 = int(fx >> 8), y0 = int(fy >> 8), x1 = x0 + 1, y1 = y0 + 1;
    if (x0 < 0 || y0 < 0 || x1 >= w || y1 >= h) {
        x0 = mirror_index(x0, w), x1 = mirror_index(x1, w);
        y0 = mirror_index(y0, h), y1 = mirror_index(y1, h);
    }
    const auto at = [&](int x, int y) {
        std::uint32_t p;
        std::memcpy(&p, src.row(y) + std::size_t(x) * 4, 4);
        return p;
    };
    const std::uint32_t ax = std::uint32_t(fx & 255), ay = std::uint32_t(fy & 255);
    const std::uint32_t top = blend_packed(at(x0, y0), at(x1, y0), ax);
    if (ay == 0) return top;
    return blend_packed(top, blend_packed(at(x0, y1), at(x1, y1), ax), ay);
}

// A sample value times a gain, rounded to the nearest byte.
inline std::uint8_t to_byte(float v) {
    v += 0.5f;
    return v <= 0.f ? 0 : v >= 255.f ? 255 : std::uint8_t(v);
}

// Calls rows(y0, y1) over [0, height) in bands of rows, each band cut into `blocks` pieces that run
// in parallel, with a progress report and a Stop check per band. False when Stop cut it short. A
// filter of several passes numbers them (pass of passes) so that the bar runs once from 0 to 100.
bool run_row_bands(Progress& progress, int height, int blocks, const std::function<void(int, int)>& rows,
                   int pass = 0, int passes = 1);

}  // namespace velq
