// Video export speed at 1920 x 1080.
// - Encode: the encoder alone per container (BGRA conversion and encoding), frames per second.
// - Export vs encode: the demo's animation exported to MP4, and the same frames encoded alone with
//   the same encoder settings, side by side in one run; the ratio should stay at or below 1.25.
// - Settled frames: an animation whose shapes come to rest the moment they start, drawn frame by
//   frame, against painting all of its shapes once; and the painting alone, a frame's shapes in bands
//   against all of them in tiles.
// - Moving frames and preparing: what an export adds per frame before encoding, and once before the
//   first frame.
// The demo is data/demo.jpg with the window's defaults: the Normal transform, layer 1's default disc
// and animation settings (Basic, Random, 5 s, 1 s a shape), rendered at the working picture's size.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "app/document.h"
#include "app/document_animation.h"
#include "app/video_export.h"
#include "bench_demo.h"
#include "keeping_sink.h"
#include "render/band_paint.h"
#include "render/paint_jobs.h"
#include "render/renderer.h"
#include "video/encoder.h"
#include "video/export_loop.h"

namespace velq {
namespace {

std::string bench_path(const std::string& name) {
    return bench::bench_path("velq-video-bench", name);
}

struct Demo {
    QuietHost host;
    Document doc{host};
    bool ok = false;

    // motion_time 0: every shape comes to rest the moment it starts.
    explicit Demo(double motion_time = 1.0) {
        if (!bench::transform_demo(doc, host)) return;
        doc.seeds.fix(5);
        doc.settings.video_width = 1920;
        doc.settings.video_height = 1080;
        // The layer's own animation settings (Basic, Random, 5 s, 1 s a shape), but for the settled
        // case, where shapes do not move.
        doc.layers[1].anim.motion_time = motion_time;
        doc.layers[1].palette = 0;
        ok = true;
    }
    int width() const { return doc.working.width(); }
    int height() const { return doc.working.height(); }
};

void BM_Encode1080p(benchmark::State& state, const char* ext) {
    QuietHost host;
    const int frames = int(state.range(0));
    for (auto _ : state) {
        Encoder enc(host);
        if (enc.init_video(bench_path(std::string("enc") + ext), 1920, 1080) != 0) {
            state.SkipWithError("encoder");
            return;
        }
        for (int n = 0; n < frames; ++n) {
            state.PauseTiming();
            UBUFFER& s = enc.source();
            for (int y = 0; y < s.height(); ++y) {
                std::uint8_t* p = s.row(y);
                for (int x = 0; x < s.width(); ++x, p += 4) {
                    const bool disc =
                        ((x - 960 - 8 * n) % 97) * ((x - 960 - 8 * n) % 97) + (y % 89 - 44) * (y % 89 - 44) <
                        900;
                    p[0] = disc ? 40 : 200, p[1] = disc ? 180 : 60, p[2] = std::uint8_t(x / 8), p[3] = 255;
                }
            }
            state.ResumeTiming();
            double t;
            enc.write_video_frame(t);
        }
        enc.finish();
    }
    state.counters["fps"] =
        benchmark::Counter(double(frames) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK_CAPTURE(BM_Encode1080p, mp4, ".mp4")
    ->Arg(60)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Encode1080p, webm_alpha, ".webm")
    ->Arg(60)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Encode1080p, webm, ".WEBM")
    ->Arg(60)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

double seconds_since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// The whole export against the encoder alone on the same frames, in one run.
void BM_ExportAgainstEncoding(benchmark::State& state) {
    Demo demo;
    if (!demo.ok) {
        state.SkipWithError("demo picture");
        return;
    }
    bench::KeepingSink keep;
    {
        DocumentAnimation anim(demo.doc, demo.host);
        if (anim.prepare(demo.width(), demo.height(), "") != 0) {
            state.SkipWithError("prepare");
            return;
        }
        const FrameLayout layout = frame_layout(demo.width(), demo.height(), 1920, 1080, FitMode::Fit);
        write_animation(demo.host, keep, anim, "", layout, anim.duration());
    }
    // The quickest of three rounds of each, taken in turns: this machine has slow spells.
    double export_s = 1e9, encode_s = 1e9;
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        render_anim_video(demo.doc, demo.host, bench_path("demo.mp4"), demo.width(), demo.height(),
                          FitMode::Fit);
        export_s = std::min(export_s, seconds_since(t0));

        t0 = std::chrono::steady_clock::now();
        Encoder enc(demo.host);
        enc.init_video(bench_path("frames.mp4"), 1920, 1080);
        for (const UBUFFER& f : keep.frames) {
            std::memcpy(enc.source().data(), f.data(), f.size());
            double t;
            enc.write_video_frame(t);
        }
        enc.finish();
        encode_s = std::min(encode_s, seconds_since(t0));
    }
    state.counters["frames"] = double(keep.frames.size());
    state.counters["export_s"] = export_s;
    state.counters["encode_s"] = encode_s;
    state.counters["ratio"] = export_s / encode_s;
    std::printf(
        "demo: %dx%d picture, %zu circles, %zu frames into 1920x1080: export %.2f s, encoding alone %.2f s, "
        "ratio %.3f\n",
        demo.width(), demo.height(), demo.doc.circles.size(), keep.frames.size(), export_s, encode_s,
        export_s / encode_s);
}
BENCHMARK(BM_ExportAgainstEncoding)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(3);

// Frames that only add settled shapes, drawn one after another, against painting every shape once.
void BM_SettledFrames(benchmark::State& state) {
    Demo demo(0.0);
    if (!demo.ok) {
        state.SkipWithError("demo picture");
        return;
    }
    DocumentAnimation anim(demo.doc, demo.host);
    if (anim.prepare(demo.width(), demo.height(), "") != 0) {
        state.SkipWithError("prepare");
        return;
    }
    Random random(5);
    const auto placements =
        make_placements(demo.host, demo.doc.layers[1], demo.doc.palettes, demo.doc.segments, demo.doc.circles,
                        demo.width(), demo.height(), 1.0, random);
    UBUFFER picture;
    picture.allocate(demo.width(), demo.height(), 4);
    // The quickest of several rounds of each, taken in turns: this machine has slow spells.
    double frames_s = 1e9, once_s = 1e9;
    int frames = 0;
    for (auto _ : state) {
        anim.scene().rewind();
        auto t0 = std::chrono::steady_clock::now();
        int n = 0;
        for (double t = 0; anim.duration() >= t; t = double(++n) / 30) anim.scene().render(t);
        frames_s = std::min(frames_s, seconds_since(t0));
        frames = n;

        t0 = std::chrono::steady_clock::now();
        paint_placements(demo.host, placements, picture, 0, false, nullptr);
        once_s = std::min(once_s, seconds_since(t0));
    }
    state.counters["frames"] = frames;
    state.counters["frames_ms"] = 1000 * frames_s;
    state.counters["once_ms"] = 1000 * once_s;
    state.counters["ratio"] = frames_s / once_s;
}
BENCHMARK(BM_SettledFrames)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

// The painting alone behind settled frames: the demo's shapes painted in a random scan order, a frame's
// worth (about 600) at a time in bands on kept threads, from jobs kept in scan order as the animation
// keeps them, against all of them at once in tiles as the still render paints them. A frame takes its
// shapes in the order they settle, as the animation does with those that share no pixel (most).
// Stencils are ready in both.
void BM_FramePainting(benchmark::State& state) {
    Demo demo;
    if (!demo.ok) {
        state.SkipWithError("demo picture");
        return;
    }
    Random random(5);
    auto placements = make_placements(demo.host, demo.doc.layers[1], demo.doc.palettes, demo.doc.segments,
                                      demo.doc.circles, demo.width(), demo.height(), 1.0, random);
    prepare_stencils(demo.host, placements);
    Painter painter(demo.host, 0);
    std::vector<PaintJob> jobs(placements.size());
    for (std::size_t i = 0; i < placements.size(); ++i)
        painter.prepare(placements[i], placements[i].paint, jobs[i]);
    // Jobs are kept in scan order; a frame takes the next part of them.
    std::vector<std::uint32_t> scan(jobs.size());
    for (std::uint32_t i = 0; i < scan.size(); ++i) scan[i] = i;
    std::mt19937 gen(3);
    std::shuffle(scan.begin(), scan.end(), gen);
    std::vector<PaintJob> kept(jobs.size());
    std::vector<JobReach> reach(jobs.size());
    for (std::size_t k = 0; k < scan.size(); ++k) {
        kept[k] = jobs[scan[k]];
        reach[k] = job_reach(kept[k]);
    }
    const std::size_t per_frame = std::max<std::size_t>(1, jobs.size() / 180);
    std::vector<std::vector<std::uint32_t>> frames;
    for (std::size_t k = 0; k < scan.size(); k += per_frame) {
        auto& f = frames.emplace_back();
        for (std::size_t i = k; i < std::min(scan.size(), k + per_frame); ++i) f.push_back(std::uint32_t(i));
    }
    UBUFFER picture;
    picture.allocate(demo.width(), demo.height(), 4);
    WorkerPool pool;
    double banded = 0, tiled = 0;
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        for (const auto& f : frames) paint_jobs_in_bands(demo.host, painter, kept, reach, f, picture, pool);
        banded += seconds_since(t0);
        t0 = std::chrono::steady_clock::now();
        paint_jobs(demo.host, painter, jobs, picture, nullptr);
        tiled += seconds_since(t0);
    }
    state.counters["frames"] = double(frames.size());
    state.counters["frames_ms"] = 1000 * banded / state.iterations();
    state.counters["once_ms"] = 1000 * tiled / state.iterations();
    state.counters["ratio"] = banded / tiled;
}
BENCHMARK(BM_FramePainting)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

// The demo's animation drawn frame by frame without encoding: what the export adds per frame.
void BM_MovingFrames(benchmark::State& state) {
    Demo demo;
    DocumentAnimation anim(demo.doc, demo.host);
    anim.prepare(demo.width(), demo.height(), "");
    for (auto _ : state) {
        anim.scene().rewind();
        int n = 0;
        for (double t = 0; anim.duration() >= t; t = double(++n) / 30) anim.scene().render(t);
    }
}
BENCHMARK(BM_MovingFrames)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// Readying the demo's animation for a video (placements, scan order, footprints and overlaps, the
// base picture): part of every export, before the first frame.
void BM_Prepare(benchmark::State& state) {
    Demo demo;
    for (auto _ : state) {
        DocumentAnimation anim(demo.doc, demo.host);
        anim.prepare(demo.width(), demo.height(), "");
    }
}
BENCHMARK(BM_Prepare)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
