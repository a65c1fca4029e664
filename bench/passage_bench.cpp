// Passage shapes: building the stencils of a 60-character passage in each style (on every core),
// the memory a layer of 80 distinct characters keeps, and the demo rendered with its layer 1 drawn
// from a passage against the same layer drawn from the bundled picture shapes.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
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
    explicit Demo(bool passage) {
        if (!bench::transform_demo(doc, host, 0.03)) return;
        doc.seeds.fix(7);
        if (passage) {
            ok = set_layer_passage(host, doc.layers[1], {kSixty, {"DejaVu Sans"}, PassageStyle::Bevel}) == 0;
        } else {
            std::vector<std::string> shapes;
            for (const char* s : {"star", "heart", "flower", "leaf", "drop"})
                shapes.push_back(std::string(VELQ_DATA_DIR) + "/shapes/" + s + ".png");
            ok = load_shapes(host, doc.layers[1], shapes) == 0;
        }
    }
};

void BM_RenderDemoLayer(benchmark::State& state) {
    Demo d(state.range(0) == 1);
    state.SetLabel(state.range(0) == 1 ? "passage" : "picture shapes");
    if (!d.ok) {
        state.SkipWithError("demo");
        return;
    }
    int w = 0, h = 0;
    render_size(d.doc, w, h);
    for (auto _ : state)
        if (generate_shaped_image(d.doc, d.host, w, h) != 0) state.SkipWithError("render failed");
}
BENCHMARK(BM_RenderDemoLayer)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
