// Saving the demo's result (data/demo.jpg as scripts/demo makes it: Max 0.03, a darkened base
// layer of discs under a layer of the bundled shapes) as a layered PSD and as a PNG, side by side in
// one run. Each save renders nothing: the PSD repaints its layers alone from the same placements,
// which is part of what it costs. The closing line gives the ratio and the peak memory of the run.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "app/document.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "bench_demo.h"

namespace velq {
namespace {

std::string bench_path(const std::string& name) {
    return bench::bench_path("velq-psd-bench", name);
}

struct Demo {
    QuietHost host;
    Document doc{host};
    bool ok = false;

    Demo() {
        if (!bench::transform_demo(doc, host, 0.03)) return;
        doc.seeds.fix(7);
        doc.layers[0].set_brightness(30);
        doc.layers[1].set_size(90);
        std::vector<std::string> shapes;
        for (const char* s : {"star", "heart", "flower", "leaf", "drop"})
            shapes.push_back(std::string(VELQ_DATA_DIR) + "/shapes/" + s + ".png");
        if (load_shapes(host, doc.layers[1], shapes) != 0) return;
        int w = 0, h = 0;
        render_size(doc, w, h);
        ok = generate_shaped_image(doc, host, w, h) == 0 && doc.rendered;
        rendered_peak_mb = peak_mb();
    }
    static double peak_mb() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024.0;
    }
    double rendered_peak_mb = 0;  // the peak when the render was done, before any save
};

Demo& demo() {
    static Demo d;
    return d;
}

double seconds_of(const std::string& name) {
    Demo& d = demo();
    const auto start = std::chrono::steady_clock::now();
    const int r = save_result(d.doc, d.host, bench_path(name), 3);
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return r == 0 ? s : -1;
}

void BM_SaveDemo(benchmark::State& state, const char* name) {
    if (!demo().ok) {
        state.SkipWithError("demo picture");
        return;
    }
    for (auto _ : state) {
        const double s = seconds_of(name);
        if (s < 0) state.SkipWithError("save failed");
        state.SetIterationTime(s);
    }
}
BENCHMARK_CAPTURE(BM_SaveDemo, png, "demo.png")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(BM_SaveDemo, psd, "demo.psd")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// PSD against PNG, alternating, so that both meet the same machine.
void BM_PsdOverPng(benchmark::State& state) {
    if (!demo().ok) {
        state.SkipWithError("demo picture");
        return;
    }
    double png = 0, psd = 0;
    for (auto _ : state) {
        png += seconds_of("demo.png");
        psd += seconds_of("demo.psd");
    }
    state.counters["psd_over_png"] = psd / png;
    const Demo& d = demo();
    const double picture_mb = double(d.doc.render_buffer.size()) / (1 << 20);
    std::printf(
        "demo %dx%d: PSD %.2f s, PNG %.2f s a save, ratio %.2f; peak memory %.0f MB after the render, %.0f "
        "MB "
        "after the saves (one picture %.0f MB)\n",
        d.doc.render_buffer.width(), d.doc.render_buffer.height(), psd / double(state.iterations()),
        png / double(state.iterations()), psd / png, d.rendered_peak_mb, Demo::peak_mb(), picture_mb);
}
BENCHMARK(BM_PsdOverPng)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
