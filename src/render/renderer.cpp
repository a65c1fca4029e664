#include "render/renderer.h"

#include "render/paint_jobs.h"
#include "render/shape.h"

namespace velq {

namespace {

const ColourRecord kWhite{255.0, 255.0, 255.0, 255.0, 0, true};

ColourRecord through_palette(const std::vector<Palette>& palettes, int index, const ColourRecord& c) {
    if (index < 0 || index >= int(palettes.size())) return c;
    return map_colour(palettes[index], c);
}

Placement place(Layer& layer, const Circle& circle, const ColourRecord& paint) {
    Placement p;
    static_cast<Circle&>(p) = circle;
    p.paint = paint;
    p.transparency = layer.transparency;
    p.shape = layer.current;
    layer.next_shape();
    return p;
}

}  // namespace

void apply_colour_options(const Layer& layer, ColourRecord& c, Random* random) {
    if (random && layer.random) {
        c.c2 = random->next() * 255 / Random::kMax;
        c.c1 = random->next() * 255 / Random::kMax;
        c.c0 = random->next() * 255 / Random::kMax;
    }
    if (layer.shuffle) {
        const ColourRecord old = c;
        c.c0 = old.c2;
        c.c1 = old.c0;
        c.c2 = old.c1;
    }
    if (layer.invert) {
        c.c0 = 255 - c.c0;
        c.c1 = 255 - c.c1;
        c.c2 = 255 - c.c2;
    }
    if (layer.convert) to_hsl(c);
}

std::vector<Placement> make_placements(Host& host, Layer& layer, const std::vector<Palette>& palettes,
                                       std::vector<Segment>& segments, std::span<const Circle> circles,
                                       int width, int height, double radius_scale, Random& random) {
    std::vector<Placement> out;
    if (!layer.shown) return out;
    for (const auto& s : layer.shapes) s->stencils.share(layer.stencil_budget);
    layer.rewind();
    if (!segments.empty()) {
        for (Segment& seg : segments) {
            if (host.stopped()) break;
            if (!seg.enabled) continue;
            seg.display = through_palette(palettes, layer.palette, seg.colour);
            apply_colour_options(layer, seg.display, &random);
            if (!seg.own_circle_colours) {
                for (const Circle& c : seg.circles) out.push_back(place(layer, c, seg.display));
                continue;
            }
            for (const Circle& c : seg.circles) {
                ColourRecord paint = through_palette(palettes, layer.palette, c.own);
                apply_colour_options(layer, paint, nullptr);
                out.push_back(place(layer, c, paint));
            }
        }
    } else {
        out.reserve(circles.size());
        for (const Circle& c : circles) {
            ColourRecord paint = through_palette(palettes, layer.palette, c.own);
            apply_colour_options(layer, paint, nullptr);
            out.push_back(place(layer, c, paint));
        }
    }
    for (Placement& p : out) {
        p.x = p.x * width;
        p.y = p.y * height;
        p.radius = p.radius * radius_scale;
        p.initial = p;
        p.radius = p.radius * layer.size / 100;
    }
    return out;
}

int fill_shape(Host& host, const Circle& placement, UBUFFER& buffer, int global_brightness) {
    Painter painter(host, global_brightness);
    PaintJob job;
    const int r = painter.prepare(placement, placement.paint, job);
    if (r != 0) return r < 0 ? -1 : 0;
    painter.paint_area(job, buffer, 0, buffer.height(), 0, buffer.width());
    return 0;
}

void fill_background(UBUFFER& buffer, std::uint32_t background) {
    if (!buffer || buffer.channels() != 4) return;
    const std::uint8_t px[4] = {std::uint8_t(colorref_blue(background)),
                                std::uint8_t(colorref_green(background)),
                                std::uint8_t(colorref_red(background)), 255};
    std::uint8_t* d = buffer.data();
    const std::size_t n = std::size_t(buffer.width()) * buffer.height();
    for (std::size_t i = 0; i < n; ++i) std::copy(px, px + 4, d + 4 * i);
}

namespace {
template <class T>
bool paint_list(Host& host, std::span<const T> list, UBUFFER& buffer, int global_brightness, bool white,
                Progress* progress, int threads, bool straight_alpha = false) {
    const HeldStencils held = prepare_stencils(host, list);
    Painter painter(host, global_brightness, straight_alpha);
    std::vector<PaintJob> jobs(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        const Circle& p = list[i];
        painter.prepare(p, white ? kWhite : p.paint, jobs[i]);
    }
    return paint_jobs(
        host, painter, jobs, buffer,
        [&](std::int64_t done, std::int64_t total) {
            if (progress) progress->update(done, total);
        },
        threads);
}
}  // namespace

bool paint_placements(Host& host, std::span<const Placement> placements, UBUFFER& buffer,
                      int global_brightness, bool white, Progress* progress, int threads) {
    return paint_list(host, placements, buffer, global_brightness, white, progress, threads);
}

bool paint_layer_alone(Host& host, std::span<const Placement> placements, UBUFFER& buffer,
                       int global_brightness, bool white, Progress* progress, int threads) {
    return paint_list(host, placements, buffer, global_brightness, white, progress, threads, true);
}

bool paint_circles(Host& host, std::span<const Circle> circles, UBUFFER& buffer, int global_brightness,
                   Progress* progress, int threads) {
    return paint_list(host, circles, buffer, global_brightness, false, progress, threads);
}

}  // namespace velq
