// Motion pack export speed: a 640 x 480 MP4 of the bundled model's 5-second animation drawn with
// 20,000 surface samples, against the export of a picture result (the demo's first 20,000 circles,
// all moving for the same 5 seconds with the Basic kind), side by side in one run. The pack's
// export should take at most 1.5 times the picture's. Also: one frame of the pack's own work (posing
// the model and laying its samples), without drawing.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>

#include "app/document.h"
#include "app/motion_pack_load.h"
#include "app/video_export.h"
#include "bench_demo.h"
#include "motion/pack_animation.h"

namespace velq {
namespace {

constexpr int kW = 640, kH = 480;
constexpr std::size_t kSamples = 20000;

// The bundled model with Max set so that its surface gives about 20,000 samples.
bool load_pack(Document& doc, Host& host) {
    doc.settings.video_width = kW;
    doc.settings.video_height = kH;
    doc.settings.min_size = 0.0005;
    double max = 0.004;
    for (int round = 0; round < 6; ++round) {
        doc.settings.max_size = max;
        if (load_motion_pack(doc, host, VELQ_DATA_DIR "/swaying_tube.gltf") != 0) return false;
        const double n = double(doc.circles.size());
        if (std::abs(n - double(kSamples)) < kSamples * 0.005) break;
        // Count goes with 1 / spacing^2, spacing with Max + Min.
        max = (max + doc.settings.min_size) * std::sqrt(n / double(kSamples)) - doc.settings.min_size;
    }
    doc.seeds.fix(5);
    return true;
}

bool load_picture(Document& doc, Host& host) {
    if (!bench::transform_demo(doc, host)) return false;
    if (doc.circles.size() < kSamples) return false;
    doc.circles.resize(kSamples);
    doc.seeds.fix(5);
    // Every shape starts at once and moves for the whole 5 seconds.
    doc.layers[1].anim.duration = 0;
    doc.layers[1].anim.motion_time = 5.0;
    return true;
}

void BM_Export(benchmark::State& state) {
    const bool pack = state.range(0) == 1;
    QuietHost host;
    Document doc(host);
    if (!(pack ? load_pack(doc, host) : load_picture(doc, host))) {
        state.SkipWithError("could not prepare the source");
        return;
    }
    const std::string out = bench::bench_path("velq-motion-pack-bench", pack ? "pack.mp4" : "picture.mp4");
    for (auto _ : state)
        if (render_anim_video(doc, host, out, kW, kH, FitMode::Stretch) != 0)
            state.SkipWithError("export failed");
    state.counters["shapes"] = double(doc.circles.size());
    state.SetLabel(pack ? "motion pack" : "picture result");
}
BENCHMARK(BM_Export)->Arg(0)->Arg(1)->Unit(benchmark::kSecond)->Iterations(1)->Repetitions(2);

void BM_PackFrameMesh(benchmark::State& state) {
    QuietHost host;
    Document doc(host);
    if (!load_pack(doc, host)) {
        state.SkipWithError("could not load the model");
        return;
    }
    const MotionPack& pack = *doc.motion_pack;
    PackSamples samples = sample_pack(pack, {}, kW, kH, doc.settings.max_size, doc.settings.min_size);
    PackAnimation ride({}, pack, samples.samples, pack.view({}, kW, kH));
    ride.items.resize(samples.samples.size());
    const Camera camera(kW, kH);
    Mesh mesh;
    double t = 0;
    for (auto _ : state) {
        mesh.clear();
        ride.moving_mesh(camera, t, false, mesh);
        t = std::fmod(t + 1.0 / 30, pack.duration());
        benchmark::DoNotOptimize(mesh.size());
    }
    state.counters["drawn"] = double(mesh.size());
}
BENCHMARK(BM_PackFrameMesh)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
