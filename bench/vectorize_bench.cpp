// The Vectorize transform on a photo-like picture at two sizes, to show that its time grows with
// the picture's area. Run: build/bench/vectorize_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "image/buffer.h"
#include "segments/vectorize.h"
#include "transform/segment_fill.h"

namespace {

using namespace velq;

// Soft gradients, overlapping discs and fine grain, the way an enlarged and blurred photograph looks
// to the segmentation. The same scene at every size.
UBUFFER photo_like(int w, int h) {
    UBUFFER pic;
    pic.allocate(w, h, 4);
    std::uint32_t seed = 12345;
    auto rnd = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) / double(1 << 24);
    };
    struct Disc {
        double x, y, r;
        int c[3];
    };
    Disc discs[60];
    for (Disc& d : discs) {
        d.x = rnd();
        d.y = rnd();
        d.r = 0.02 + 0.12 * rnd();
        for (int& c : d.c) c = int(255 * rnd());
    }
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double u = double(x) / w, v = double(y) / h;
            double c[3] = {120 + 100 * std::sin(3 * u + 1), 110 + 90 * std::cos(4 * v),
                           100 + 80 * std::sin(5 * (u + v))};
            for (const Disc& d : discs) {
                const double dx = (u - d.x) * w / h, dy = v - d.y;
                const double t = std::sqrt(dx * dx + dy * dy) / d.r;
                if (t < 1) {
                    const double a = t < 0.8 ? 1 : (1 - t) / 0.2;
                    for (int k = 0; k < 3; ++k) c[k] = c[k] * (1 - a) + (d.c[k] + 40 * std::sin(9 * t)) * a;
                }
            }
            const double grain = 6 * std::sin(x * 12.9898 + y * 78.233) * std::sin(x * 0.7 + y * 1.3);
            std::uint8_t* p = &pic.at(x, y, 0);
            for (int k = 0; k < 3; ++k) p[k] = std::uint8_t(std::clamp(c[2 - k] + grain, 0.0, 255.0));
            p[3] = 255;
        }
    }
    return pic;
}

void BM_Vectorize(benchmark::State& state) {
    const int w = int(state.range(0)), h = int(state.range(1));
    const UBUFFER original = photo_like(w, h);
    QuietHost host;
    std::size_t segments = 0, pieces = 0;
    for (auto _ : state) {
        UBUFFER pic = original.clone();
        std::vector<BoundaryPiece> out_pieces;
        std::vector<Segment> out_segments;
        IBUFFER map;
        vectorize(pic, 5, 20, host, {out_pieces, out_segments, map});
        segments = out_segments.size();
        pieces = out_pieces.size();
    }
    state.counters["segments"] = double(segments);
    state.counters["pieces"] = double(pieces);
    state.counters["us_per_kpx"] = benchmark::Counter(
        double(w) * h / 1000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
// The whole transform: the pipeline, then every Segment packed with the default Min, Max and GAP.
void BM_VectorizeAndPack(benchmark::State& state) {
    const int w = int(state.range(0)), h = int(state.range(1));
    const UBUFFER original = photo_like(w, h);
    QuietHost host;
    std::size_t circles = 0;
    for (auto _ : state) {
        UBUFFER pic = original.clone();
        std::vector<BoundaryPiece> pieces;
        std::vector<Segment> segments;
        IBUFFER map;
        vectorize(pic, 5, 20, host, {pieces, segments, map});
        circles = fill_circle_algo2(segments, SegmentFillParams{}, w, h, host).value_or(0);
    }
    state.counters["circles"] = double(circles);
    state.counters["us_per_kpx"] = benchmark::Counter(
        double(w) * h / 1000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VectorizeAndPack)
    ->Args({1100, 850})
    ->Args({2200, 1700})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

BENCHMARK(BM_Vectorize)->Args({1100, 850})->Args({2200, 1700})->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
