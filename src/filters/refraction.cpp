#include "filters/refraction.h"

#include <algorithm>

#include "host/parallel.h"

namespace velq {

namespace {

// Rows between two progress reports and Stop checks.
constexpr int kBandRows = 64;

std::uint64_t split_mix(std::uint64_t z) {
    z += 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

}  // namespace

std::uint64_t piece_hash(std::uint64_t seed, std::uint64_t id) {
    return split_mix(split_mix(seed) ^ id);
}

double piece_unit(std::uint64_t hash, int n) {
    return double(split_mix(hash + std::uint64_t(n) * 0xD1B54A32D192ED03ull) >> 11) * 0x1.0p-53;
}

BilinearStep BilinearStep::of(double dx, double dy) {
    BilinearStep s;
    const double fx = std::floor(dx), fy = std::floor(dy);
    s.ix = int(fx), s.iy = int(fy);
    s.ax = float(dx - fx), s.ay = float(dy - fy);
    return s;
}

void read_pixel(const UBUFFER& src, double sx, double sy, float out[4]) {
    const int w = src.width(), h = src.height();
    const double fx = std::floor(sx), fy = std::floor(sy);
    const float ax = float(sx - fx), ay = float(sy - fy);
    int x0 = int(fx), y0 = int(fy), x1 = x0 + 1, y1 = y0 + 1;
    if (x0 < 0 || y0 < 0 || x1 >= w || y1 >= h) {
        x0 = mirror_index(x0, w), x1 = mirror_index(x1, w);
        y0 = mirror_index(y0, h), y1 = mirror_index(y1, h);
    }
    const std::uint8_t* a = src.row(y0) + x0 * 4;
    const std::uint8_t* b = src.row(y0) + x1 * 4;
    const std::uint8_t* c = src.row(y1) + x0 * 4;
    const std::uint8_t* d = src.row(y1) + x1 * 4;
    for (int k = 0; k < 4; ++k) out[k] = blend(a[k], b[k], c[k], d[k], ax, ay);
}

bool run_row_bands(Progress& progress, int height, int blocks, const std::function<void(int, int)>& rows,
                   int pass, int passes) {
    blocks = std::max(1, blocks);
    for (int band = 0; band < height; band += kBandRows) {
        if (progress.stopped()) return false;
        const int end = std::min(height, band + kBandRows), n = end - band;
        parallel_rows(
            0, blocks,
            [&](int b0, int b1) {
                for (int b = b0; b < b1; ++b) {
                    const int y0 = band + int(std::int64_t(n) * b / blocks);
                    const int y1 = band + int(std::int64_t(n) * (b + 1) / blocks);
                    if (y1 > y0) rows(y0, y1);
                }
            },
            1);
        progress.update(std::int64_t(pass) * height + end, std::int64_t(passes) * height);
    }
    return !progress.stopped();
}

}  // namespace velq
