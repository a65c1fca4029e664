// The Alphabet transform (default text, font and Lines layout) against the Normal transform on the
// demo picture, side by side in one run; the transform alone, the picture already open and
// filtered. Run: build/bench/alphabet_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include "bench_demo.h"
#include "host/host.h"

namespace {

using namespace velq;

void BM_DemoTransform(benchmark::State& state) {
    const TransformMode mode = TransformMode(state.range(0));
    QuietHost host;
    Document doc(host);
    if (!bench::transform_demo(doc, host)) {
        state.SkipWithError("the demo picture could not be opened and packed");
        return;
    }
    std::size_t circles = 0;
    for (auto _ : state) {
        if (do_transform(doc, host, mode, false) != 0) {
            state.SkipWithError("the transform failed");
            return;
        }
        circles = doc.circles.size();
        for (const Segment& s : doc.segments) circles += s.circles.size();
    }
    state.counters["circles"] = double(circles);
    state.SetLabel(mode == TransformMode::Alphabet ? "Alphabet, Lines" : "Normal");
}
BENCHMARK(BM_DemoTransform)
    ->Arg(int(TransformMode::Normal))
    ->Arg(int(TransformMode::Alphabet))
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
