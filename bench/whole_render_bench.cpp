// The whole path of `velquino render` in one process, the wait a user has after changing Max, Min,
// GAP or THR: open a 600 x 400 photo-like picture, filter (Normal), transform (Normal or Vectorize),
// render at the default size and save the PNG with its settings block. Counters: circles, and each
// stage's share of the time.
// Run: build/bench/whole_render_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "app/filter_driver.h"
#include "app/open_picture.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "app/transform_driver.h"
#include "bench_pictures.h"
#include "host/host.h"
#include "image/picture_writer.h"

namespace {

using namespace velq;
using Clock = std::chrono::steady_clock;

void BM_WholeRender(benchmark::State& state) {
    const auto mode = TransformMode(state.range(0));
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "velq-whole-render-bench";
    std::filesystem::create_directories(dir);
    const std::string input = (dir / "photo.png").string(), output = (dir / "art.png").string();
    if (write_picture(input, bench::photo_like(600, 400), 96) != PictureError::None) {
        state.SkipWithError("could not write the input picture");
        return;
    }
    double open_s = 0, filter_s = 0, transform_s = 0, render_s = 0, save_s = 0;
    std::size_t circles = 0;
    for (auto _ : state) {
        QuietHost host;
        Document doc(host);
        doc.seeds.fix(1);
        auto t0 = Clock::now();
        const bool ok = open_picture(doc, host, input) == 0;
        auto t1 = Clock::now();
        const bool filtered = ok && do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit) == 0;
        auto t2 = Clock::now();
        const bool transformed = filtered && do_transform(doc, host, mode, false) == 0;
        auto t3 = Clock::now();
        int w = 0, h = 0;
        render_size(doc, w, h);
        const bool rendered = transformed && generate_shaped_image(doc, host, w, h) == 0;
        auto t4 = Clock::now();
        const bool saved = rendered && save_result(doc, host, output, 3) == 0;
        auto t5 = Clock::now();
        if (!saved) {
            state.SkipWithError("the render path failed");
            break;
        }
        auto s = [](Clock::time_point a, Clock::time_point b) {
            return std::chrono::duration<double>(b - a).count();
        };
        open_s += s(t0, t1), filter_s += s(t1, t2), transform_s += s(t2, t3), render_s += s(t3, t4),
            save_s += s(t4, t5);
        circles = doc.circles.size();
        for (const Segment& seg : doc.segments) circles += seg.circles.size();
    }
    const double total = open_s + filter_s + transform_s + render_s + save_s;
    if (total > 0) {
        state.counters["circles"] = double(circles);
        state.counters["open%"] = 100 * open_s / total;
        state.counters["filter%"] = 100 * filter_s / total;
        state.counters["transform%"] = 100 * transform_s / total;
        state.counters["render%"] = 100 * render_s / total;
        state.counters["save%"] = 100 * save_s / total;
    }
    std::filesystem::remove_all(dir);
}

}  // namespace

BENCHMARK(BM_WholeRender)
    ->Arg(int(velq::TransformMode::Normal))
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(2);
// One run: Vectorize packs over a thousand regions of this grainy picture, side by side on every core.
BENCHMARK(BM_WholeRender)
    ->Arg(int(velq::TransformMode::Vectorize))
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_MAIN();
