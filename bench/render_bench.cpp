// Painting 12,000 placements on a 2200 x 1700 picture: our painter (cached stencils, exact blend,
// tiles on every core), the direct per-placement method (a summed-area table per placement, the formula in
// doubles) and Cairo painting the same scaled masks with a solid tint. Ratios are printed at the end.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "image/resample.h"
#include "render/paint_jobs.h"
#include "render/renderer.h"
#include "render/shape.h"

#ifdef VELQ_HAVE_CAIRO
#include <cairo.h>
#endif

namespace velq {
namespace {

constexpr int kW = 2200, kH = 1700, kCount = 12000;
// The direct method takes about a millisecond a placement: it is timed on this prefix of the list.
constexpr int kDirectCount = 600;

struct Scene {
    QuietHost host;
    std::vector<std::unique_ptr<SHAPE>> shapes;
    std::vector<Placement> placements;
    std::vector<Placement> fractional;  // the same with tints that are not whole numbers
    UBUFFER background;
    double covered = 0;

    Scene() {
        shapes.push_back(std::make_unique<SHAPE>(host));
        for (int k = 0; k < 2; ++k) {
            auto s = std::make_unique<SHAPE>(host);
            for (int y = 0; y < SHAPE::kSide; ++y) {
                for (int x = 0; x < SHAPE::kSide; ++x) {
                    const double a = std::atan2(y - 512.0, x - 512.0), r = std::hypot(x - 512.0, y - 512.0);
                    const double edge =
                        k == 0 ? 300 + 200 * std::cos(5 * a) : 480 - 120 * std::abs(std::sin(2 * a));
                    const int op = r < edge - 4 ? 255 : r < edge ? int((edge - r) * 64) : 0;
                    s->org_buffer.at(x, y, 0) = std::uint8_t(255 - r / 4);
                    s->org_buffer.at(x, y, 1) = std::uint8_t(op);
                }
            }
            s->apply_layer_tone(100, 255);
            shapes.push_back(std::move(s));
        }
        std::mt19937 gen(42);
        std::uniform_real_distribution<double> u(0, 1);
        for (int i = 0; i < kCount; ++i) {
            Placement p;
            p.shape = shapes[i % shapes.size()].get();
            const double v = u(gen);
            p.radius = 2 + 24 * v * v * v * v;
            p.x = u(gen) * kW;
            p.y = u(gen) * kH;
            p.transparency = 230;
            p.paint =
                ColourRecord{double(gen() & 255), double(gen() & 255), double(gen() & 255), 255, 0, true};
            covered += std::pow(int(2 * p.radius + 0.5), 2);
            placements.push_back(p);
            p.paint.c0 += 0.37;
            fractional.push_back(p);
        }
        background.allocate(kW, kH, 4);
        fill_background(background, 0x204060);
        prepare_stencils(host, placements);
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void paint(benchmark::State& state, const std::vector<Placement>& list, int bands, bool cold) {
    Scene& sc = scene();
    UBUFFER buf;
    buf.allocate(kW, kH, 4, Init::Uninitialised);
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(sc.background.data(), sc.background.data() + sc.background.size(), buf.data());
        if (cold)
            for (auto& s : sc.shapes) s->stencils.clear();
        state.ResumeTiming();
        paint_placements(sc.host, list, buf, 0, false, nullptr, bands);
        benchmark::DoNotOptimize(buf.data());
    }
    state.counters["placements"] = double(list.size());
    state.counters["Mpx"] = sc.covered / 1e6;
}

void BM_Painter(benchmark::State& state) {
    paint(state, scene().placements, 0, false);
}
void BM_PainterOneThread(benchmark::State& state) {
    paint(state, scene().placements, 1, false);
}
void BM_PainterColdCache(benchmark::State& state) {
    paint(state, scene().placements, 0, true);
}
void BM_PainterFractionalTints(benchmark::State& state) {
    paint(state, scene().fractional, 0, false);
}

// S(x, y) = sum of the channel over every (i, j) with i <= x and j <= y: the per-placement table the
// direct method below builds.
void summed_area_table(const UBUFFER& src, int channel, IBUFFER& table) {
    const int w = src.width(), h = src.height(), ch = src.channels();
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* s = src.row(y) + channel;
        std::uint32_t* t = table.row(y);
        const std::uint32_t* above = y > 0 ? table.row(y - 1) : nullptr;
        std::uint32_t run = 0;
        for (int x = 0; x < w; ++x) {
            run += s[std::size_t(x) * ch];
            t[x] = above ? run + above[x] : run;
        }
    }
}

// The plane resize's box shrink from such a table into one channel of `dst`.
void shrink_channel_from_table(const IBUFFER& t, int src_width, int src_height, UBUFFER& dst,
                               int dst_channel) {
    const int dw = dst.width(), dh = dst.height(), dch = dst.channels();
    std::vector<int> x0, x1, y0, y1;
    shrink_edges(src_width, dw, x0, x1);
    shrink_edges(src_height, dh, y0, y1);
    for (int r = 0; r < dh; ++r) {
        std::uint8_t* d = dst.row(r) + dst_channel;
        const int bh = y1[r] - y0[r];
        for (int c = 0; c < dw; ++c) {
            const int area = (x1[c] - x0[c]) * bh;
            const std::uint32_t sum =
                t.at(x0[c], y0[r]) - t.at(x0[c], y1[r]) - t.at(x1[c], y0[r]) + t.at(x1[c], y1[r]);
            d[std::size_t(c) * dch] =
                area == 0 ? 0 : std::uint8_t(std::min(255.0, std::trunc(double(sum) / area + 0.5)));
        }
    }
}

// The direct method: for every placement a fresh 4-byte buffer, the two planes shrunk into it through
// summed-area tables built for that placement (or, in the second variant, through the image code's
// current plane resize, which sums each box directly), then the formula in doubles for every pixel.
enum class Shrink { TablePerPlacement, PlaneResize };

void direct_fill_shape(Host& host, const Placement& p, UBUFFER& buffer, Shrink shrink) {
    const double r = p.radius;
    const int d = int(2 * r + 0.5);
    if (d <= 0) return;
    UBUFFER rz;
    if (!rz.allocate(d, d, 4)) return;
    if (shrink == Shrink::TablePerPlacement && d < SHAPE::kSide) {
        IBUFFER table;
        table.allocate(SHAPE::kSide, SHAPE::kSide, 1, Init::Uninitialised);
        summed_area_table(p.shape->shade_plane, 0, table);
        shrink_channel_from_table(table, SHAPE::kSide, SHAPE::kSide, rz, 0);
        summed_area_table(p.shape->mask_plane, 0, table);
        shrink_channel_from_table(table, SHAPE::kSide, SHAPE::kSide, rz, 3);
    } else {
        resize_channel(host, p.shape->shade_plane, 0, rz, 0);
        resize_channel(host, p.shape->mask_plane, 0, rz, 3);
    }
    const double left = p.x - r, top = p.y - r, k = p.brightness / 100;
    const double tint[3] = {p.paint.c2, p.paint.c1, p.paint.c0};
    for (int j = 0; j < d; ++j) {
        for (int i = 0; i < d; ++i) {
            const int tx = int(left + i), ty = int(top + j);
            if (!buffer.inside(tx, ty)) continue;
            const int m = rz.at(i, j, 3), s = rz.at(i, j, 0);
            if (m == 0) continue;
            const double t = p.transparency * m / 255.0;
            for (int ch = 0; ch < 3; ++ch) {
                const int o = buffer.at(tx, ty, ch);
                const double v = ((s * tint[ch] / 255 + 0) * t + o * (255 - t)) * k / 255;
                buffer.at(tx, ty, ch) = std::uint8_t(std::clamp(v, 0.0, 255.0));
            }
            buffer.at(tx, ty, 3) = 255;
        }
    }
}

void direct(benchmark::State& state, Shrink shrink) {
    Scene& sc = scene();
    UBUFFER buf = sc.background.clone();
    for (auto _ : state) {
        for (int i = 0; i < kDirectCount; ++i) direct_fill_shape(sc.host, sc.placements[i], buf, shrink);
        benchmark::DoNotOptimize(buf.data());
    }
    state.counters["placements"] = kDirectCount;
}
void BM_DirectPrefix(benchmark::State& state) {
    direct(state, Shrink::TablePerPlacement);
}
void BM_DirectPlaneResizePrefix(benchmark::State& state) {
    direct(state, Shrink::PlaneResize);
}

#ifdef VELQ_HAVE_CAIRO
// Cairo painting the same masks (the opacity planes of our stencils) with each placement's solid
// tint at the whole-pixel position.
void BM_Cairo(benchmark::State& state) {
    Scene& sc = scene();
    std::map<std::pair<const SHAPE*, int>, cairo_surface_t*> masks;
    for (const Placement& p : sc.placements) {
        const int d = int(2 * p.radius + 0.5);
        auto& m = masks[{p.shape, d}];
        if (m) continue;
        auto st = p.shape->stencils.get(sc.host, p.shape->shade_plane, p.shape->mask_plane, d);
        m = cairo_image_surface_create(CAIRO_FORMAT_A8, d, d);
        cairo_surface_flush(m);
        unsigned char* data = cairo_image_surface_get_data(m);
        const int stride = cairo_image_surface_get_stride(m);
        for (int y = 0; y < d; ++y)
            for (int x = 0; x < d; ++x) data[y * stride + x] = st->planes.at(x, y, 1);
        cairo_surface_mark_dirty(m);
    }
    UBUFFER buf;
    buf.allocate(kW, kH, 4, Init::Uninitialised);
    cairo_surface_t* target =
        cairo_image_surface_create_for_data(buf.data(), CAIRO_FORMAT_ARGB32, kW, kH, kW * 4);
    cairo_t* cr = cairo_create(target);
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(sc.background.data(), sc.background.data() + sc.background.size(), buf.data());
        cairo_surface_mark_dirty(target);
        state.ResumeTiming();
        for (const Placement& p : sc.placements) {
            const int d = int(2 * p.radius + 0.5);
            cairo_set_source_rgba(cr, p.paint.c0 / 255, p.paint.c1 / 255, p.paint.c2 / 255,
                                  p.transparency / 255.0);
            cairo_mask_surface(cr, masks[{p.shape, d}], std::floor(p.x - p.radius),
                               std::floor(p.y - p.radius));
        }
        cairo_surface_flush(target);
        benchmark::DoNotOptimize(buf.data());
    }
    cairo_destroy(cr);
    cairo_surface_destroy(target);
    for (auto& [key, m] : masks) cairo_surface_destroy(m);
    state.counters["placements"] = double(sc.placements.size());
}
BENCHMARK(BM_Cairo)->Unit(benchmark::kMillisecond)->MinTime(2.0);
#endif

BENCHMARK(BM_Painter)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_PainterOneThread)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_PainterColdCache)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_PainterFractionalTints)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_DirectPrefix)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_DirectPlaneResizePrefix)->Unit(benchmark::kMillisecond)->Iterations(1);

// Records each benchmark's time per iteration so that the ratios can be printed after the run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) ms[r.run_name.function_name] = r.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> ms;
};

}  // namespace
}  // namespace velq

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    velq::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    auto& t = reporter.ms;
    const auto has = [&](const char* n) { return t.count(n) != 0; };
    const double scale = double(velq::kCount) / velq::kDirectCount;
    if (has("BM_Painter")) {
        for (const char* name : {"BM_DirectPrefix", "BM_DirectPlaneResizePrefix"}) {
            if (!has(name)) continue;
            const double all = t[name] * scale;
            std::printf("%s: %d placements (from %d timed) %.0f ms; painter %.2f ms: %.0f times faster\n",
                        name, velq::kCount, velq::kDirectCount, all, t["BM_Painter"], all / t["BM_Painter"]);
        }
    }
    if (has("BM_Painter") && has("BM_Cairo"))
        std::printf("Cairo %.2f ms; painter %.2f ms (one thread %.2f ms): Cairo / painter = %.2f\n",
                    t["BM_Cairo"], t["BM_Painter"],
                    has("BM_PainterOneThread") ? t["BM_PainterOneThread"] : 0.0,
                    t["BM_Cairo"] / t["BM_Painter"]);
    benchmark::Shutdown();
    return 0;
}
