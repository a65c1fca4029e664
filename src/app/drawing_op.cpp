#include "app/drawing_op.h"

#include <cmath>
#include <new>

#include "render/logo.h"
#include "render/renderer.h"

namespace velq {

std::string drawing_problem(const Drawing& d) {
    if (d.layer < 0 || d.layer >= Layer::kCount)
        return "The drawing's layer must be 0 to " + std::to_string(Layer::kCount - 1);
    if (!(d.spike_width > 0 && d.spike_width <= kMaxSpikeWidth))
        return "The spike width must be above 0 and at most 10";
    if (d.burst < 1 || d.burst > kMaxBurst) return "The burst count must be 1 to 64";
    if (d.lead < 0 || d.lead > kMaxLead) return "The lead width must be 0 to 64";
    if (d.lead_colour > 0xFFFFFFu) return "The lead colour must be RRGGBB";
    return {};
}

int draw_picture(Document& doc, Host& host, const Drawing& drawing, UBUFFER& picture, Progress* progress,
                 int threads) {
    const int width = picture.width(), height = picture.height();
    const double scale = doc.working.width() > 0 ? double(width) / doc.working.width() : 1.0;
    // Random colours are drawn layer after layer; the layers the render paints before the chosen one
    // take theirs first, so the drawing's colours are those of its layer in the render.
    Random random(doc.seeds.time_seed());
    for (int i = 0; i < drawing.layer && !doc.segments.empty(); ++i) {
        Layer& layer = doc.layers[std::size_t(i)];
        if (layer.has_shapes() && layer.shown)
            make_placements(host, layer, doc.palettes, doc.segments, doc.circles, width, height, scale,
                            random);
    }
    Layer& layer = doc.layers[std::size_t(drawing.layer)];
    // A hidden layer's circles can still be drawn; the layer is left as it was on every way out.
    struct Shown {
        Layer& layer;
        bool was;
        ~Shown() { layer.shown = was; }
    } shown{layer, layer.shown};
    layer.shown = true;
    const auto placements =
        make_placements(host, layer, doc.palettes, doc.segments, doc.circles, width, height, scale, random);
    if (host.stopped()) return 1;
    if (placements.empty()) {
        host.message("Please complete the transform first");
        return -1;
    }
    fill_background(picture, doc.rendered_background);
    return paint_drawing(host, drawing, placements, doc.working, doc.rendered_settings.global_brightness,
                         picture, progress, threads)
               ? 0
               : 1;
}

int make_drawing(Document& doc, Host& host, const Drawing& drawing, int threads) {
    if (!doc.rendered || !doc.render_buffer) {
        host.message("Please render first");
        return -1;
    }
    if (const std::string problem = drawing_problem(drawing); !problem.empty()) {
        host.message(problem);
        return -1;
    }
    try {
        Progress progress(host,
                          drawing.kind == DrawingKind::WebSpikes || drawing.kind == DrawingKind::BurstSpikes
                              ? "Drawing spikes"
                              : "Drawing cells");
        UBUFFER picture;
        if (!picture.allocate(doc.render_buffer.width(), doc.render_buffer.height(), 4, Init::Uninitialised))
            throw std::bad_alloc();
        if (const int result = draw_picture(doc, host, drawing, picture, &progress, threads); result != 0)
            return result < 0 ? -1 : 0;
        render_logo(host, picture, doc.logo, doc.logo_transparency, 1.0, 0.0);
        doc.render_buffer = std::move(picture);
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate the drawing");
        return -1;
    }
    doc.rendered_settings.drawing = drawing;
    doc.settings.drawing = drawing;
    host.refresh(Refresh::Result);
    return 0;
}

int redraw_recorded(Document& doc, Host& host) {
    if (doc.settings.drawing.kind == DrawingKind::None || !doc.rendered) return 0;
    if (make_drawing(doc, host, doc.settings.drawing) != 0) return -1;
    return doc.rendered_settings.drawing == doc.settings.drawing ? 0 : -1;
}

}  // namespace velq
