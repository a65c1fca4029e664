#include "app/psd_export.h"

#include <vector>

#include "app/drawing_op.h"
#include "app/render_op.h"
#include "image/picture_error.h"
#include "image/psd_writer.h"
#include "image/replace_file.h"
#include "render/logo.h"
#include "render/renderer.h"

namespace velq {

int save_psd(Document& doc, Host& host, const std::string& path, std::span<const std::uint8_t> block) {
    const UBUFFER& merged = doc.render_buffer;
    if (merged.width() > kMaxPsdSide || merged.height() > kMaxPsdSide) {
        host.message(psd_too_large_message(merged.width(), merged.height()));
        return -1;
    }
    // What each layer of the file is: -1 the background, -2 the logo, -3 the drawing that replaced
    // the shapes, else the Document's layer.
    const Drawing& drawing = doc.rendered_settings.drawing;
    std::vector<PsdLayer> layers{{"Background", false}};
    std::vector<int> source{-1};
    if (drawing.kind != DrawingKind::None) {
        layers.push_back({"Drawing", false});
        source.push_back(-3);
    }
    for (std::size_t i = 0; i < doc.layers.size() && drawing.kind == DrawingKind::None; ++i) {
        if (!doc.layers[i].has_shapes()) continue;
        layers.push_back({"Ly" + std::to_string(i), !doc.layers[i].shown});
        source.push_back(int(i));
    }
    if (doc.logo) {
        layers.push_back({"Logo", false});
        source.push_back(-2);
    }

    // One Random through the shown layers in order gives each the colour draws it had in the render.
    Random random(doc.seeds.time_seed());
    const auto paint = [&](int index, UBUFFER& picture) {
        const int what = source[std::size_t(index)];
        if (what == -1) {
            fill_background(picture, doc.background);
            return true;
        }
        // The drawing is opaque: it is painted over the background colour, as the merged picture has it.
        if (what == -3) return draw_picture(doc, host, drawing, picture, nullptr) == 0;
        picture.fill(0);
        if (what == -2)
            return render_logo(host, picture, doc.logo, doc.logo_transparency, 1.0, 0.0, true) == 0 &&
                   !host.stopped();
        return render_layer(doc, host, picture, what, random) >= 0;
    };

    host.status(1, "Writing to...");
    PsdResult result = PsdResult::WriteFailed;
    const bool ok = replace_file_with(path, [&](std::FILE* f) {
        result = write_psd(f, merged, doc.rendered_settings.dpi, layers, paint);
        return result == PsdResult::Written &&
               (block.empty() || std::fwrite(block.data(), 1, block.size(), f) == block.size());
    });
    if (!ok) {
        if (result == PsdResult::TooLarge)
            host.message(psd_too_large_message(merged.width(), merged.height()));
        else if (result != PsdResult::Stopped)
            host.message(picture_error_message(PictureError::WriteFailed, path));
        return -1;
    }
    host.status(1, "Written to " + path);
    return 0;
}

}  // namespace velq
