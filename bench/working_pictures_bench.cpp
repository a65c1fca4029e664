// init_interpol_buffer + init_filter_buffer on a 12-megapixel picture with INT 5 and BLU 1 at every
// memory limit, beside OpenCV's cv::resize (INTER_LINEAR) + cv::blur building the same sizes.
#include <benchmark/benchmark.h>

#include <opencv2/imgproc.hpp>
#include <random>

#include "image/resample.h"
#include "image/working_pictures.h"

namespace {

velq::UBUFFER& source_12mp() {
    static velq::UBUFFER src = [] {
        velq::UBUFFER b;
        b.allocate(4000, 3000, 4, velq::Init::Uninitialised);
        std::mt19937 gen(1);
        // Smooth gradients with a little noise, like a photograph.
        for (int y = 0; y < b.height(); ++y)
            for (int x = 0; x < b.width(); ++x) {
                const int n = int(gen() & 15);
                b.at(x, y, 0) = std::uint8_t((x / 16 + n) & 255);
                b.at(x, y, 1) = std::uint8_t((y / 12 + n) & 255);
                b.at(x, y, 2) = std::uint8_t(((x + y) / 28 + n) & 255);
                b.at(x, y, 3) = 255;
            }
        return b;
    }();
    return src;
}

const std::int64_t kLimits[] = {15000000, 30000000, 45000000, 60000000};

void BM_WorkingPictures(benchmark::State& state) {
    velq::QuietHost host;
    const velq::UBUFFER& src = source_12mp();
    for (auto _ : state) {
        velq::UBUFFER fb;
        velq::init_interpol_buffer(host, src, 5, kLimits[state.range(0)], fb);
        velq::WorkingPictures wp;
        velq::init_filter_buffer(host, fb, 5, 1, wp);
        benchmark::DoNotOptimize(wp.working.data());
        state.counters["working_px"] = double(wp.working.width()) * wp.working.height();
    }
}
BENCHMARK(BM_WorkingPictures)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

// The peer: OpenCV shrinking with INTER_AREA-free linear resize, enlarging linearly and box blurring.
void BM_OpenCvPeer(benchmark::State& state) {
    const velq::UBUFFER& src = source_12mp();
    cv::Mat in(src.height(), src.width(), CV_8UC4, const_cast<std::uint8_t*>(src.data()));
    int fw = 0, fh = 0;
    velq::interpol_size(src.width(), src.height(), 5, kLimits[state.range(0)], fw, fh);
    const int ww = velq::enlarged_size(fw, 5), wh = velq::enlarged_size(fh, 5);
    for (auto _ : state) {
        cv::Mat small, big;
        cv::resize(in, small, cv::Size(fw, fh), 0, 0, cv::INTER_LINEAR);
        cv::resize(small, big, cv::Size(ww, wh), 0, 0, cv::INTER_LINEAR);
        cv::blur(big, big, cv::Size(5, 5));
        benchmark::DoNotOptimize(big.data);
    }
}
BENCHMARK(BM_OpenCvPeer)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
