#include "app/render_op.h"

#include <new>

#include "app/document_animation.h"
#include "render/logo.h"
#include "render/renderer.h"

namespace velq {

namespace {

// Circles are measured in working pixels; a larger output scales them so the look stays the same.
double radius_scale(const Document& doc, int width) {
    return doc.working && doc.working.width() > 0 ? double(width) / doc.working.width() : 1.0;
}

// A motion pack's still result: the model at time 0, drawn as every frame of its video is. 0, 1 when
// stopped, -1 after the message.
int render_pack_still(Document& doc, Host& host, int width, int height) {
    DocumentAnimation animation(doc, host);
    const int prepared =
        animation.prepare(width, height, "Failed to allocate render_buffer in generate_shaped_image()");
    if (prepared != 0) return prepared < 0 || !host.stopped() ? -1 : 1;
    if (!animation.scene().render(0.0)) return 1;
    doc.render_buffer = std::move(animation.scene().display());
    return 0;
}

// The still render of a picture's circles: every shown layer's placements over the background. 0, 1
// when stopped, -1 after the message.
int paint_layers(Document& doc, Host& host, int width, int height) {
    const int g = doc.settings.global_brightness;
    try {
        Progress progress(host, "Rendering shapes");
        fill_background(doc.render_buffer, doc.background);
        Random random(doc.seeds.time_seed());
        const double scale = radius_scale(doc, width);
        for (std::size_t i = 0; i < doc.layers.size(); ++i) {
            Layer& layer = doc.layers[i];
            if (!layer.has_shapes() || !layer.shown) continue;
            const auto placements = make_placements(host, layer, doc.palettes, doc.segments, doc.circles,
                                                    width, height, scale, random);
            if (host.stopped()) return 1;
            if (placements.empty()) {
                host.message("Please complete the transform first");
                return -1;
            }
            if (!paint_placements(host, placements, doc.render_buffer, g, i == 0, &progress)) return 1;
        }
        if (host.stopped()) return 1;
        render_logo(host, doc.render_buffer, doc.logo, doc.logo_transparency, 1.0, 0.0);
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate render_buffer in generate_shaped_image()");
        return -1;
    }
    return 0;
}

}  // namespace

void render_size(const Document& doc, int& width, int& height) {
    width = doc.settings.out_width;
    height = doc.settings.out_height;
    if (width < 1 || height < 1) {
        width = doc.working.width();
        height = doc.working.height();
    }
}

int generate_shaped_image(Document& doc, Host& host, int width, int height) {
    doc.rendered = false;
    doc.render_buffer.reset();
    if (!doc.render_buffer.allocate(width, height, 4, Init::Uninitialised)) {
        host.message("Failed to allocate render_buffer in generate_shaped_image()");
        return -1;
    }
    if (doc.motion_pack_loaded) {
        Progress progress(host, "Rendering shapes");
        const int made = render_pack_still(doc, host, width, height);
        if (made != 0) return made < 0 ? -1 : 0;
        render_logo(host, doc.render_buffer, doc.logo, doc.logo_transparency, 1.0, 0.0);
    } else {
        const int painted = paint_layers(doc, host, width, height);
        if (painted != 0) return painted < 0 ? -1 : 0;
    }
    doc.rendered = true;
    doc.toggles.final_result = true;
    doc.rendered_settings = doc.settings;
    doc.rendered_settings.out_width = width;
    doc.rendered_settings.out_height = height;
    doc.rendered_settings.drawing = {};  // a drawing is made after the render, by make_drawing
    doc.rendered_background = doc.background;
    doc.rendered_logo = doc.logo_choice;
    host.refresh(Refresh::Result);
    return 0;
}

int render_layer(Document& doc, Host& host, UBUFFER& buffer, int index, Random& random) {
    if (index < 0 || index >= int(doc.layers.size()) || !buffer || buffer.channels() != 4) return 1;
    Layer& layer = doc.layers[index];
    buffer.fill(0);
    if (!layer.has_shapes()) return 1;
    // A hidden layer is painted as if shown, with draws of its own: the render never reaches it, so
    // it must not take draws from the layers after it.
    const bool hidden = !layer.shown;
    Random own(doc.seeds.time_seed());
    layer.shown = true;
    std::vector<Placement> placements;
    try {
        placements =
            make_placements(host, layer, doc.palettes, doc.segments, doc.circles, buffer.width(),
                            buffer.height(), radius_scale(doc, buffer.width()), hidden ? own : random);
    } catch (...) {
        layer.shown = !hidden;
        throw;
    }
    layer.shown = !hidden;
    if (host.stopped()) return -1;
    if (placements.empty()) return 1;
    Progress progress(host, std::string(kAppName), Progress::Raw{});
    return paint_layer_alone(host, placements, buffer, doc.settings.global_brightness, index == 0, &progress)
               ? 0
               : -1;
}

}  // namespace velq
