// Video export speed: encoding alone, per container, at 1080p.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "host/host.h"
#include "video/encoder.h"

namespace {

std::string bench_path(const std::string& name) {
    const auto dir = std::filesystem::temp_directory_path() / "velq-video-bench";
    std::filesystem::create_directories(dir);
    return (dir / name).string();
}

void fill_source(velq::UBUFFER& s, int n) {
    for (int y = 0; y < s.height(); ++y) {
        std::uint8_t* p = s.row(y);
        for (int x = 0; x < s.width(); ++x, p += 4) {
            p[0] = std::uint8_t(x + n * 3);
            p[1] = std::uint8_t(y - n);
            p[2] = std::uint8_t((x ^ y) + n);
            p[3] = 255;
        }
    }
}

// Frames per second of the encoder alone at 1920 x 1080.
void BM_Encode1080p(benchmark::State& state, const char* ext) {
    velq::QuietHost host;
    const int frames = int(state.range(0));
    for (auto _ : state) {
        velq::Encoder enc(host);
        if (enc.init_video(bench_path(std::string("enc") + ext), 1920, 1080) != 0) {
            state.SkipWithError("encoder");
            return;
        }
        for (int n = 0; n < frames; ++n) {
            state.PauseTiming();
            fill_source(enc.source(), n);
            state.ResumeTiming();
            double t;
            enc.write_video_frame(t);
        }
        enc.finish();
    }
    state.counters["fps"] = benchmark::Counter(double(frames) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK_CAPTURE(BM_Encode1080p, mp4, ".mp4")->Arg(60)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Encode1080p, webm, ".webm")->Arg(60)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Encode1080p, WEBM_no_alpha, ".WEBM")->Arg(60)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
