// Passage shapes: building the stencils of a 60-character passage in each style (on every core),
// the memory a layer of 80 distinct characters keeps, and the demo rendered with its layer 1 drawn
// from a passage against the same layer drawn from the bundled picture shapes.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/render_op.h"
#include "bench_demo.h"
#include "render/passage_shapes.h"

namespace velq {
namespace {

const std::u16string kSixty = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz01234567";
const std::u16string kEighty = kSixty + u"89.,;:!?&@#%()[]{}+-";

double kept_mib(const std::vector<std::unique_ptr<SHAPE>>& shapes) {
    std::size_t bytes = 0;
    for (const auto& s : shapes)
        bytes += s->shade_plane.size() + s->mask_plane.size() + s->packed_org.capacity() +
                 s->org_buffer.size() * 2 + s->preview_buffer.size();
    return double(bytes) / (1 << 20);
}

void BM_PassageStencils(benchmark::State& state) {
    const auto style = PassageStyle(state.range(0));
    state.SetLabel(std::string(passage_style_name(style)));
    QuietHost host;
    const PassageChoice choice{kSixty, {"DejaVu Sans"}, style};
    for (auto _ : state) {
        std::vector<std::unique_ptr<SHAPE>> shapes;
        if (make_passage_shapes(host, choice, shapes) != 0 || shapes.size() != 60)
            state.SkipWithError("passage not drawn");
        benchmark::DoNotOptimize(shapes.data());
    }
}
BENCHMARK(BM_PassageStencils)
    ->DenseRange(0, kPassageStyleCount - 1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

void BM_EightyCharactersKeep(benchmark::State& state) {
    QuietHost host;
    const PassageChoice choice{kEighty, {"DejaVu Sans"}, PassageStyle::BubbleMetallic};
    for (auto _ : state) {
        std::vector<std::unique_ptr<SHAPE>> shapes;
        if (make_passage_shapes(host, choice, shapes) != 0 || shapes.size() != 80)
            state.SkipWithError("passage not drawn");
        state.counters["kept_MiB"] = kept_mib(shapes);
    }
}
BENCHMARK(BM_EightyCharactersKeep)->Unit(benchmark::kMillisecond)->Iterations(1);

// The demo's render with layer 1 from a passage (true) or from the bundled shapes (false).
struct Demo {
    QuietHost host;
    Document doc{host};
    bool ok = false;
    explicit Demo(bool passage, const std::u16string& text = kSixty) {
        if (!bench::transform_demo(doc, host, 0.03)) return;
        doc.seeds.fix(7);
        if (passage) {
            ok = set_layer_passage(host, doc.layers[1], {text, {"DejaVu Sans"}, PassageStyle::Bevel}) == 0;
        } else {
            std::vector<std::string> shapes;
            for (const char* s : {"star", "heart", "flower", "leaf", "drop"})
                shapes.push_back(std::string(VELQ_DATA_DIR) + "/shapes/" + s + ".png");
            ok = load_shapes(host, doc.layers[1], shapes) == 0;
        }
    }
};

// range(0): 1 passage, 0 picture shapes; range(1): 1 first render (every stencil cache emptied
// before each render, as after loading the shapes), 0 render again (caches kept).
void BM_RenderDemoLayer(benchmark::State& state) {
    Demo d(state.range(0) == 1);
    const bool first = state.range(1) == 1;
    state.SetLabel(std::string(state.range(0) == 1 ? "passage" : "picture shapes") +
                   (first ? ", first render" : ", again"));
    if (!d.ok) {
        state.SkipWithError("demo");
        return;
    }
    int w = 0, h = 0;
    render_size(d.doc, w, h);
    if (!first && generate_shaped_image(d.doc, d.host, w, h) != 0) state.SkipWithError("render failed");
    for (auto _ : state) {
        if (first) {
            state.PauseTiming();
            for (const Layer& layer : d.doc.layers)
                for (const auto& s : layer.shapes) s->stencils.release();
            state.ResumeTiming();
        }
        if (generate_shaped_image(d.doc, d.host, w, h) != 0) state.SkipWithError("render failed");
    }
}
BENCHMARK(BM_RenderDemoLayer)
    ->ArgsProduct({{0, 1}, {1, 0}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// A field of /proc/self/status in MiB (Linux).
double status_mib(const char* field) {
    std::FILE* f = std::fopen("/proc/self/status", "r");
    if (!f) return 0;
    char line[256];
    double kib = 0;
    const std::size_t n = std::strlen(field);
    while (std::fgets(line, sizeof line, f))
        if (std::strncmp(line, field, n) == 0) kib = std::atof(line + n + 1);
    std::fclose(f);
    return kib / 1024;
}

// Peak resident memory counts from here (Linux: "5" resets it); the memory resident now.
double reset_peak() {
    if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", f);
        std::fclose(f);
    }
    return status_mib("VmRSS:");
}

// An 80-character passage layer rendered at the demo's size, then 6000 pixels wide: what the layer
// keeps after each render (planes, packed planes, stencils), and how far resident memory rose during
// each render (the stencils it builds and holds, the tables, and the picture: 14 MiB, then 92 MiB).
void BM_EightyCharactersRenderMemory(benchmark::State& state) {
    Demo d(true, kEighty);
    if (!d.ok) {
        state.SkipWithError("demo");
        return;
    }
    auto kept = [&] {
        double mib = kept_mib(d.doc.layers[1].shapes);
        for (const auto& s : d.doc.layers[1].shapes) mib += double(s->stencils.bytes()) / (1 << 20);
        return mib;
    };
    int w = 0, h = 0;
    render_size(d.doc, w, h);
    for (auto _ : state) {
        double start = reset_peak();
        if (generate_shaped_image(d.doc, d.host, w, h) != 0) state.SkipWithError("render failed");
        state.counters["demo_rise_MiB"] = status_mib("VmHWM:") - start;
        state.counters["demo_kept_MiB"] = kept();
        d.doc.render_buffer.reset();
        start = reset_peak();
        if (generate_shaped_image(d.doc, d.host, 6000, h * 6000 / w) != 0)
            state.SkipWithError("render failed");
        state.counters["wide_rise_MiB"] = status_mib("VmHWM:") - start;
        state.counters["wide_kept_MiB"] = kept();
    }
}
BENCHMARK(BM_EightyCharactersRenderMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
