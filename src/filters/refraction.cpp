#include "filters/refraction.h"

#include <algorithm>
#include <cstring>

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
