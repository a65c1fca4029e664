// The circle packer as the Normal transform runs it: a photo-like picture as the 440 x 340 filter
// buffer, enlarged by INT 5 and blurred (a 2196 x 1696 working picture), its brush-size map at the
// filter buffer's size (THR 20, maxpx 9, minpx 0), largest radius 44 px and smallest 1.1 px, GAP 1.
// Also at half the size, to see how the time grows with the number of circles, and against the
// plain search (every corner against every edge after every circle) on a small picture.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "../tests/transform/reference_packer.h"
#include "bench_pictures.h"
#include "image/resample.h"
#include "image/working_pictures.h"
#include "transform/brush_size.h"
#include "transform/packer.h"

namespace {

using namespace velq;

struct Scene {
    UBUFFER working;
    IBUFFER map;
    PackRegion region;
    PackOptions options;
};

// The Normal transform's inputs for a filter buffer of w x h.
const Scene& scene(int w, int h) {
    static std::map<std::pair<int, int>, Scene> made;
    auto it = made.find({w, h});
    if (it != made.end()) return it->second;
    QuietHost host;
    Scene s;
    const UBUFFER fb = bench::photo_like(w, h, 7);
    WorkingPictures wp;
    init_filter_buffer(host, fb, 5, 1, wp);
    s.working = std::move(wp.working);
    UBUFFER small;
    small.allocate(w, h, 4);
    get_resized(host, s.working, small);
    const int l = std::max(w, h);
    s.map = get_brush_size(host, small, 20, int(l * 0.02 + 0.5), int(l * 0.0005 + 0.5));
    const double pw = s.working.width(), ph = s.working.height();
    s.region.outer = {{0, 0}, {pw, 0}, {pw, ph}, {0, ph}};
    s.options.max_radius = pw * 0.02;
    s.options.min_radius = pw * std::max(1.1 / pw, 0.0005);
    s.options.gap = 1;
    s.options.picture_width = s.working.width();
    s.options.picture_height = s.working.height();
    return made.emplace(std::make_pair(w, h), std::move(s)).first->second;
}

void BM_Pack(benchmark::State& state) {
    const Scene& s = scene(int(state.range(0)), int(state.range(1)));
    PackOptions o = s.options;
    o.brush_map = &s.map;
    QuietHost host;
    std::size_t circles = 0;
    PackStats stats;
    for (auto _ : state) {
        stats = PackStats{};
        o.stats = &stats;
        circles = pack_circles(s.region, o, host).size();
        benchmark::DoNotOptimize(circles);
    }
    state.counters["circles"] = double(circles);
    state.counters["circles_per_second"] =
        benchmark::Counter(double(circles), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["evaluations"] = double(stats.corner_evaluations);
    state.counters["slow_topology"] = double(stats.slow_topology);
    state.counters["retried_cuts"] = double(stats.retried_cuts);
    state.counters["refused_cuts"] = double(stats.refused_cuts);
    state.SetLabel(std::to_string(s.working.width()) + " x " + std::to_string(s.working.height()));
}

// The same small picture packed the plain way and the fast way, in one run: the counter is the ratio.
void BM_AgainstPlainSearch(benchmark::State& state) {
    const Scene& s = scene(int(state.range(0)), int(state.range(1)));
    PackOptions o = s.options;
    o.brush_map = &s.map;
    QuietHost host;
    double plain = 0, fast = 0;
    bool same = true;
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        const std::vector<Circle> a = test::reference_pack(s.region, o);
        const auto t1 = std::chrono::steady_clock::now();
        std::vector<Circle> b;
        int reps = 0;
        while (std::chrono::steady_clock::now() - t1 < std::chrono::milliseconds(200) || reps == 0) {
            b = pack_circles(s.region, o, host);
            ++reps;
        }
        const auto t2 = std::chrono::steady_clock::now();
        plain = std::chrono::duration<double>(t1 - t0).count();
        fast = std::chrono::duration<double>(t2 - t1).count() / reps;
        same = a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](const Circle& x, const Circle& y) {
                   return x.x == y.x && x.y == y.y && x.radius == y.radius;
               });
        state.counters["circles"] = double(a.size());
    }
    state.counters["plain_seconds"] = plain;
    state.counters["fast_seconds"] = fast;
    state.counters["speedup"] = plain / fast;
    if (!same) state.SkipWithError("the fast packer differs from the plain search");
    state.SetLabel(std::to_string(s.working.width()) + " x " + std::to_string(s.working.height()));
}

}  // namespace

BENCHMARK(BM_Pack)->Args({220, 170})->Args({440, 340})->Unit(benchmark::kMillisecond)->MinTime(3.0);
BENCHMARK(BM_AgainstPlainSearch)
    ->Args({40, 30})
    ->Args({60, 45})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK_MAIN();
