// The cell picture of the demo's circles (about 110,000) at the default output size, side by side in
// one run: the power diagram alone, the whole pebble picture (diagram, cells, lead lines), the web
// spikes, and the still render of the same circles.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

#include "app/drawing_op.h"
#include "app/render_op.h"
#include "bench_demo.h"
#include "render/cell_diagram.h"
#include "render/renderer.h"

namespace velq {
namespace {

struct Demo {
    QuietHost host;
    Document doc{host};
    int width = 0, height = 0;
    std::vector<Placement> placements;
    std::vector<CellSite> sites;

    Demo() {
        if (!bench::transform_demo(doc, host)) return;
        render_size(doc, width, height);
        Random random(doc.seeds.time_seed());
        placements = make_placements(host, doc.layers[1], doc.palettes, doc.segments, doc.circles, width,
                                     height, double(width) / doc.working.width(), random);
        for (const Placement& p : placements) sites.push_back({p.x, p.y, p.radius * p.radius});
        std::printf("%zu circles, %d x %d\n", placements.size(), width, height);
    }
};

Demo& demo() {
    static Demo d;
    return d;
}

void BM_Diagram(benchmark::State& state) {
    Demo& d = demo();
    for (auto _ : state) {
        CellDiagram diagram;
        benchmark::DoNotOptimize(
            make_cell_diagram(d.host, d.sites, d.width, d.height, diagram, int(state.range(0))));
    }
    state.counters["circles"] = double(d.sites.size());
}

void BM_Drawing(benchmark::State& state) {
    Demo& d = demo();
    Drawing drawing;
    drawing.kind = DrawingKind(state.range(0));
    UBUFFER out;
    out.allocate(d.width, d.height, 4);
    for (auto _ : state) {
        fill_background(out, d.doc.background);
        benchmark::DoNotOptimize(paint_drawing(d.host, drawing, d.placements, d.doc.working, 0, out, nullptr,
                                               int(state.range(1))));
    }
}

void BM_StillRender(benchmark::State& state) {
    Demo& d = demo();
    for (auto _ : state) benchmark::DoNotOptimize(generate_shaped_image(d.doc, d.host, d.width, d.height));
}

// Threads 0 is one per core; one thread shows the work itself on a shared machine.
BENCHMARK(BM_Diagram)->ArgName("threads")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Drawing)
    ->ArgNames({"kind", "threads"})
    ->ArgsProduct({{int(DrawingKind::PebbleCells), int(DrawingKind::CrystalCells),
                    int(DrawingKind::WebSpikes), int(DrawingKind::BurstSpikes)},
                   {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_StillRender)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace velq

BENCHMARK_MAIN();
