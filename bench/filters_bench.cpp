// Local contrast and K-mean on a 12-megapixel working picture. K-mean runs on two pictures of the same
// size, one with a few dozen colours and one with millions, to show that its cost follows the number
// of distinct colours; a 3-megapixel picture with millions of colours shows the pixel count matters
// little. OpenCV's integral image over the same picture is the peer for the table stage.
// The refraction filters (Prism, Broken glass) run beside Matrix on the demo's 2366 x 1576 working
// picture, one row per filter, so that their cost shows as a multiple of Matrix's in one run.
// Times are wall-clock ("Time") and the CPU of all threads ("CPU"): on an idle 2-core machine the
// ratio shows how much of the work runs on both cores.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "app/filter_driver.h"
#include "app/open_picture.h"
#include "filters/filter.h"
#include "filters/k_mean.h"
#include "filters/local_contrast.h"
#include "host/progress.h"

namespace {

using namespace velq;

constexpr int kWidth = 4000, kHeight = 3000;

// Opaque noise; `colours` = 0 draws all 24 bits, otherwise that many grey-blue levels.
UBUFFER make_noise(int w, int h, int colours) {
    UBUFFER p;
    p.allocate(w, h, 4);
    std::uint32_t x = 12345;
    for (std::size_t i = 0; i < p.size(); i += 4) {
        x = x * 1664525u + 1013904223u;
        const std::uint32_t v = colours ? (x >> 8) % colours * 3 : x >> 8;
        p.data()[i] = std::uint8_t(v);
        p.data()[i + 1] = std::uint8_t(v >> 8);
        p.data()[i + 2] = std::uint8_t(v >> 16);
        p.data()[i + 3] = 255;
    }
    return p;
}

void BM_LocalContrast(benchmark::State& state) {
    const UBUFFER src = make_noise(kWidth, kHeight, 0);
    QuietHost host;
    for (auto _ : state) {
        state.PauseTiming();
        UBUFFER p = src.clone();
        state.ResumeTiming();
        Progress progress(host, "Contrast up");
        benchmark::DoNotOptimize(local_contrast(progress, p, 3.0, ContrastDirection::Up));
    }
    state.counters["Mpx/s"] =
        benchmark::Counter(double(kWidth) * kHeight * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_LocalContrast)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_ContrastTables(benchmark::State& state) {
    const UBUFFER src = make_noise(kWidth, kHeight, 0);
    QuietHost host;
    IBUFFER tables = make_contrast_tables(host, kWidth, kHeight);
    for (auto _ : state) benchmark::DoNotOptimize(build_contrast_tables(host, src, tables));
}
BENCHMARK(BM_ContrastTables)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_OpenCvIntegral(benchmark::State& state) {
    const UBUFFER src = make_noise(kWidth, kHeight, 0);
    const cv::Mat bgra(kHeight, kWidth, CV_8UC4, const_cast<std::uint8_t*>(src.data()));
    cv::Mat bgr, sums;
    cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
    for (auto _ : state) {
        cv::integral(bgr, sums, CV_32S);
        benchmark::DoNotOptimize(sums.data);
    }
}
BENCHMARK(BM_OpenCvIntegral)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

std::size_t distinct_colours(const UBUFFER& p) {
    std::vector<bool> seen(kColourTableSize);
    std::size_t n = 0;
    for (std::size_t i = 0; i < p.size(); i += 4) {
        const std::uint32_t c = colour_index(p.data() + i);
        if (!seen[c]) ++n, seen[c] = true;
    }
    return n;
}

// Args: width, height, colour levels (0 = all 24 bits), K.
void BM_KMean(benchmark::State& state) {
    const int w = int(state.range(0)), h = int(state.range(1));
    const UBUFFER src = make_noise(w, h, int(state.range(2)));
    QuietHost host;
    for (auto _ : state) {
        state.PauseTiming();
        UBUFFER p = src.clone();
        state.ResumeTiming();
        benchmark::DoNotOptimize(reduce_color_by_k_mean(host, p, int(state.range(3))));
    }
    state.counters["distinct"] = double(distinct_colours(src));
}
BENCHMARK(BM_KMean)
    ->ArgNames({"w", "h", "levels", "K"})
    ->Args({kWidth, kHeight, 64, 2})
    ->Args({kWidth, kHeight, 0, 2})
    ->Args({2000, 1500, 0, 2})
    ->Args({kWidth, kHeight, 64, 16})
    ->Args({kWidth, kHeight, 0, 16})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// The demo's working picture as the Filter menu gets it (INT 5 within the 15M limit).
const UBUFFER& demo_working_picture() {
    static const UBUFFER picture = [] {
        QuietHost host;
        Document doc(host);
        if (open_picture(doc, host, VELQ_DATA_DIR "/demo.jpg") != 0) return UBUFFER();
        if (do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit) != 0) return UBUFFER();
        return doc.filtered.clone();
    }();
    return picture;
}

// Arg: the filter kind (3 Matrix, 6 Prism, 7 Broken glass).
void BM_RefractionVsMatrix(benchmark::State& state) {
    const UBUFFER& src = demo_working_picture();
    if (!src) {
        state.SkipWithError("data/demo.jpg could not be opened");
        return;
    }
    const auto kind = FilterKind(state.range(0));
    QuietHost host;
    SeedSource seeds;
    seeds.fix(5);
    for (auto _ : state) {
        state.PauseTiming();
        UBUFFER p = src.clone();
        state.ResumeTiming();
        benchmark::DoNotOptimize(apply_filter(host, kind, p, FilterParams{}, seeds));
    }
    state.SetLabel(std::string(filter_menu_text(kind)) + " " + std::to_string(src.width()) + "x" +
                   std::to_string(src.height()));
}
BENCHMARK(BM_RefractionVsMatrix)
    ->ArgName("kind")
    ->Arg(int(FilterKind::Matrix))
    ->Arg(int(FilterKind::Prism))
    ->Arg(int(FilterKind::BrokenGlass))
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
