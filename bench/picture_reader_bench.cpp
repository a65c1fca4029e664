// Reading a 12-megapixel JPEG: our reader (header check, cut-off check, resolution, decode, BGRA
// conversion into the picture's own buffer, faint-pixel clearing) against the bare minimum OpenCV
// needs for the same picture (decode, then BGR to BGRA). The ratio is the cost of our checks.
#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "image/picture_reader.h"

namespace {

const std::vector<std::uint8_t>& photo_jpeg() {
    static const std::vector<std::uint8_t> bytes = [] {
        cv::Mat m(3000, 4000, CV_8UC3);
        cv::randn(m, cv::Scalar(128, 110, 90), cv::Scalar(40, 40, 40));
        cv::GaussianBlur(m, m, cv::Size(0, 0), 3);
        std::vector<std::uint8_t> out;
        cv::imencode(".jpg", m, out, {cv::IMWRITE_JPEG_QUALITY, 92});
        return out;
    }();
    return bytes;
}

void BM_ReadPicture12MP(benchmark::State& state) {
    const auto& bytes = photo_jpeg();
    for (auto _ : state) {
        velq::PictureRead r = velq::decode_picture(bytes);
        if (!r) state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(r.picture.data());
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t(bytes.size()));
}
BENCHMARK(BM_ReadPicture12MP)->Unit(benchmark::kMillisecond);

void BM_OpenCvDecodeToBgra12MP(benchmark::State& state) {
    const auto& bytes = photo_jpeg();
    for (auto _ : state) {
        cv::Mat decoded = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
        cv::Mat bgra;
        cv::cvtColor(decoded, bgra, cv::COLOR_BGR2BGRA);
        benchmark::DoNotOptimize(bgra.data);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t(bytes.size()));
}
BENCHMARK(BM_OpenCvDecodeToBgra12MP)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
