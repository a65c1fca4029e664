// The social-media set of one result against its encoders alone on the same frames, side by side
// in one run: the set as the tool writes it (each frame drawn once for all 21 variants and placed
// into each of their frames), and the frames of every size made beforehand and only encoded, one
// video after another, with the same encoder settings. The set should stay at or below 1.15 times
// the encoding alone, in processor seconds (the wall time on a shared machine counts other programs).
// The result is the demo (data/demo.jpg, the Normal transform, the default animation: 180 frames a
// video), saved with its settings block.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "app/document_animation.h"
#include "app/metadata.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "app/video_export.h"
#include "bench_demo.h"
#include "keeping_sink.h"
#include "video/encoder.h"
#include "video/export_loop.h"

namespace velq {
namespace {

constexpr std::uint32_t kSeed = 9;

double seconds_since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Processor seconds of the whole process so far (every thread, user and system): on a shared machine
// the wall time also counts the other programs.
double cpu_seconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    const auto sec = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) * 1e-6; };
    return sec(u.ru_utime) + sec(u.ru_stime);
}

// The demo result saved with its block; empty when a step failed.
std::string save_demo_result(Host& host) {
    Document doc(host);
    if (!bench::transform_demo(doc, host)) return {};
    doc.seeds.fix(5);
    int w = 0, h = 0;
    render_size(doc, w, h);
    const std::string path = bench::bench_path("velq-social-bench", "demo.png");
    if (generate_shaped_image(doc, host, w, h) != 0 || save_result(doc, host, path, 3) != 0) return {};
    return path;
}

// Every variant encoded alone from frames made beforehand (drawn again for every size, the same
// drawing); the seconds of the encoding only.
double encoding_alone(Host& host, const std::string& result, int& frames, double& cpu_s) {
    Document doc(host);
    SettingsBlock block;
    if (!read_metadata_block(host, result, block)) return -1;
    doc.seeds.fix(kSeed);
    doc.settings.min_size = 0.0005;
    if (remake_from_block(doc, host, block) != 0) return -1;
    const auto jobs =
        social_jobs(std::vector{result}, bench::bench_path("velq-social-bench", "alone"), kSeed);
    std::filesystem::create_directories(std::filesystem::path(jobs[0].output).parent_path());
    double encode_s = 0;
    bench::KeepingSink keep;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const SocialVariant& v = social_media_variants()[std::size_t(jobs[i].variant)];
        const SocialVariant& before = social_media_variants()[std::size_t(std::max(0, jobs[i].variant - 1))];
        if (i == 0 || v.width != before.width || v.height != before.height) {
            keep.frames.clear();
            doc.seeds.fix(jobs[i].seed);
            int pw = 0, ph = 0;
            render_size(doc, pw, ph);
            DocumentAnimation anim(doc, host);
            if (anim.prepare(pw, ph, "") != 0) return -1;
            write_animation(host, keep, anim, "", frame_layout(pw, ph, v.width, v.height, FitMode::Fit),
                            anim.duration());
        }
        frames = int(keep.frames.size());
        const auto t0 = std::chrono::steady_clock::now();
        const double c0 = cpu_seconds();
        Encoder enc(host);
        if (enc.init_video(jobs[i].output, keep.frames[0].width(), keep.frames[0].height()) != 0) return -1;
        for (const UBUFFER& f : keep.frames) {
            std::memcpy(enc.source().data(), f.data(), f.size());
            double t;
            enc.write_video_frame(t);
        }
        if (enc.finish() != 0) return -1;
        encode_s += seconds_since(t0);
        cpu_s += cpu_seconds() - c0;
    }
    return encode_s;
}

void BM_SocialSetAgainstEncoders(benchmark::State& state) {
    QuietHost host;
    const std::string result = save_demo_result(host);
    if (result.empty()) {
        state.SkipWithError("demo result");
        return;
    }
    double set_s = 0, encode_s = 0, set_cpu = 0, encode_cpu = 0;
    int frames = 0;
    for (auto _ : state) {
        Document doc(host);
        const auto t0 = std::chrono::steady_clock::now();
        const double c0 = cpu_seconds();
        const int written =
            generate_sm_video(doc, host, std::vector{result}, FitMode::Fit, SocialRun{{}, kSeed});
        set_s = seconds_since(t0);
        set_cpu = cpu_seconds() - c0;
        encode_s = encoding_alone(host, result, frames, encode_cpu);
        if (written != int(social_media_variants().size()) || encode_s < 0) {
            std::printf("written %d, alone %.1f\n", written, encode_s);
            state.SkipWithError("a video was not written");
            return;
        }
    }
    state.counters["set_s"] = set_s;
    state.counters["encode_s"] = encode_s;
    state.counters["ratio"] = set_s / encode_s;
    state.counters["cpu_ratio"] = set_cpu / encode_cpu;
    std::printf(
        "social set of the demo, %d frames a video, %zu videos: the set %.1f s, encoding alone %.1f s, ratio "
        "%.3f; processor time: the set %.1f s, encoding alone %.1f s, ratio %.3f\n",
        frames, social_media_variants().size(), set_s, encode_s, set_s / encode_s, set_cpu, encode_cpu,
        set_cpu / encode_cpu);
}
BENCHMARK(BM_SocialSetAgainstEncoders)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
