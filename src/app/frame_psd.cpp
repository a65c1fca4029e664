#include "app/frame_psd.h"

#include <vector>

#include "app/document_animation.h"
#include "app/frame_render.h"
#include "app/render_op.h"
#include "image/matte.h"
#include "image/picture_error.h"
#include "image/psd_writer.h"
#include "image/replace_file.h"
#include "render/logo.h"
#include "render/renderer.h"
#include "video/encoder.h"
#include "video/export_loop.h"

namespace velq {

namespace {

constexpr const char* kAllocMessage = "Failed to allocate background in render_snow_anim";

// Layer `index`'s animation at t into `out`: alone over `base`, or with the layers below it over the
// usual base when `base` is null.
bool draw_layer(Document& doc, Host& host, int index, double t, const UBUFFER* base, UBUFFER& out) {
    DocumentAnimation animation(doc, host);
    const int r = base ? animation.prepare_alone(out.width(), out.height(), index, *base, kAllocMessage)
                       : animation.prepare_up_to(out.width(), out.height(), index, kAllocMessage);
    if (r != 0) return false;
    if (!animation.scene().render(t)) return false;
    const UBUFFER& frame = animation.scene().frame();
    std::copy(frame.data(), frame.data() + frame.size(), out.data());
    return true;
}

}  // namespace

int export_frame_psd(Document& doc, Host& host, const std::string& path, int width, int height, double t) {
    if (width > kMaxPsdSide || height > kMaxPsdSide) {
        host.message(psd_too_large_message(width, height));
        return -1;
    }
    if (render_frame_at(doc, host, width, height, t) != 0) return -1;

    // What each layer of the file is: -1 the background, -2 the logo, else the Document's layer.
    std::vector<PsdLayer> layers;
    std::vector<int> source;
    const bool base_layer = doc.layers[0].shown && doc.layers[0].has_shapes();
    if (base_layer) {  // the frame has a background only under a first layer
        layers.push_back({"Background", false});
        source.push_back(-1);
    }
    for (std::size_t i = 0; i < doc.layers.size(); ++i) {
        if (!doc.layers[i].shown || !doc.layers[i].has_shapes()) continue;
        layers.push_back({"Ly" + std::to_string(i), false});
        source.push_back(int(i));
    }
    if (doc.logo) {
        layers.push_back({"Logo", false});
        source.push_back(-2);
    }

    // Each animated layer is drawn alone over black and over white for its colour and alpha, and with
    // the layers below it as the frame has them: laid on the layers written so far (`stack`) it must
    // give that back, so where it does not (a glow brightening what lies beneath, shapes of
    // different layers passing in front of each other) it is made opaque with the frame's pixels.
    UBUFFER plain, over_white, over_stack, stack;
    if (!plain.allocate(width, height, 4) || !over_white.allocate(width, height, 4) ||
        !over_stack.allocate(width, height, 4) || !stack.allocate(width, height, 4)) {
        host.message(kAllocMessage);
        return -1;
    }
    const auto lay = [&](UBUFFER& picture) {
        for (int y = 0; y < height; ++y) {
            const std::uint8_t* p = picture.row(y);
            std::uint8_t* d = stack.row(y);
            for (int x = 0; x < 4 * width; x += 4)
                for (int c = 0; c < 3; ++c)
                    d[x + c] = std::uint8_t((p[x + c] * p[x + 3] + d[x + c] * (255 - p[x + 3]) + 127) / 255);
        }
        return true;
    };
    const auto draw = [&](int index, UBUFFER& picture) {
        const int what = source[std::size_t(index)];
        if (what == -1) {
            fill_background(picture, doc.background);
            return true;
        }
        picture.fill(0);
        if (what == -2) {
            const LogoBounce at = logo_at_frame(int(t * Encoder::kFps));
            return render_logo(host, picture, doc.logo, doc.logo_transparency, at.a, at.b, true) == 0 &&
                   !host.stopped();
        }
        if (what == 0) {  // the first layer lies still in the base picture
            Random random(doc.seeds.time_seed());
            return render_layer(doc, host, picture, 0, random) >= 0;
        }
        fill_background(plain, 0x000000);
        if (!draw_layer(doc, host, what, t, &plain, picture)) return false;
        fill_background(plain, 0xFFFFFF);
        return draw_layer(doc, host, what, t, &plain, over_white) &&
               draw_layer(doc, host, what, t, nullptr, over_stack) &&
               matte_from_black_and_white(picture, over_white, picture, &stack, &over_stack);
    };
    const auto paint = [&](int index, UBUFFER& picture) { return draw(index, picture) && lay(picture); };

    PsdResult result = PsdResult::WriteFailed;
    const bool ok = replace_file_with(path, [&](std::FILE* f) {
        result = write_psd(f, doc.frame_buffer, doc.settings.dpi, layers, paint);
        return result == PsdResult::Written;
    });
    if (!ok) {
        if (result == PsdResult::TooLarge)
            host.message(psd_too_large_message(width, height));
        else if (result != PsdResult::Stopped && !host.stopped())
            host.message(picture_error_message(PictureError::WriteFailed, path));
        return -1;
    }
    host.status(1, "Written to " + path);
    return 0;
}

}  // namespace velq
