// The brush-size map: the tile-table search against the ring scan it replaces, on a 2200 x 1700
// photo-like picture with THR 20, maxpx 44 (Max 0.02 of 2200) and minpx 1 (Min 0.0005).
// Both must give the same bytes; the ratio of their times is printed as a counter.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "../tests/transform/ring_scan.h"
#include "bench_pictures.h"
#include "host/host.h"
#include "host/parallel.h"
#include "transform/brush_size.h"

namespace {

using namespace velq;

constexpr int kW = 2200, kH = 1700, kMaxpx = 44, kMinpx = 1;
constexpr double kThr = 20;

const UBUFFER& picture() {
    static const UBUFFER pic = bench::photo_like(kW, kH);
    return pic;
}

void BM_RingScan(benchmark::State& state) {
    IBUFFER map;
    for (auto _ : state) {
        map = test::ring_scan(picture(), kThr, kMaxpx, kMinpx);
        benchmark::DoNotOptimize(map.data());
    }
    double mean = 0;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < map.size(); ++i) sum += map.data()[i];
    mean = double(sum) / double(map.size());
    state.counters["mean_size"] = mean;
}

void BM_TileTables(benchmark::State& state) {
    QuietHost host;
    IBUFFER map;
    for (auto _ : state) {
        map = get_brush_size(host, picture(), kThr, kMaxpx, kMinpx);
        benchmark::DoNotOptimize(map.data());
    }
    static const IBUFFER reference = test::ring_scan(picture(), kThr, kMaxpx, kMinpx);
    const bool same = map.same_shape(reference) &&
                      std::memcmp(map.data(), reference.data(), map.size() * sizeof(std::uint32_t)) == 0;
    state.counters["same_bytes"] = same ? 1 : 0;
    state.counters["threads"] = worker_count();
    if (!same) state.SkipWithError("the map differs from the ring scan");
}

}  // namespace

BENCHMARK(BM_RingScan)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_TileTables)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_MAIN();
