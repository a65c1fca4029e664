#include "app/motion_pack_load.h"

#include <filesystem>

#include "app/open_picture.h"
#include "app/units.h"
#include "image/file_types.h"
#include "render/renderer.h"

namespace velq {

int load_motion_pack(Document& doc, Host& host, const std::string& path) {
    host.status(1, "Reading from...");
    std::error_code ec;
    const std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    const std::string where = ec ? path : absolute.string();
    std::string error;
    std::unique_ptr<MotionPack> pack = MotionPack::load(where, error);
    if (!pack) {
        host.status(1, "");
        host.message("Failed to load motion pack- " + where + " (" + error + ")");
        return -1;
    }
    const int w = doc.settings.video_width > 0 ? doc.settings.video_width : 640;
    const int h = doc.settings.video_height > 0 ? doc.settings.video_height : 480;
    PackSamples samples =
        sample_pack(*pack, doc.pack_view, w, h, doc.settings.max_size, doc.settings.min_size);
    if (samples.too_many) {
        host.status(1, "");
        host.message(too_many_samples_message(where));
        return -1;
    }
    // The pictures a picture would have, all blank in the background colour.
    const auto blank = [&](UBUFFER& b) {
        if (!b.allocate(w, h, 4)) return false;
        fill_background(b, doc.background);
        return true;
    };
    UBUFFER canvas;
    if (!blank(canvas)) {
        host.message("Failed to load motion pack- " + where + " (out of memory)");
        return -1;
    }
    doc.reset();
    init_operation(doc);
    if (!blank(doc.filter_buffer) || !blank(doc.working) || !blank(doc.view) ||
        !doc.filtered.allocate(w, h, 4)) {
        doc.reset();
        host.message("Failed to load motion pack- " + where + " (out of memory)");
        return -1;
    }
    doc.source = std::move(canvas);
    doc.settings.dpi = 96;
    doc.settings.out_width = w;
    doc.settings.out_height = h;
    rewrite_size_fields(doc.settings);
    doc.circles = std::move(samples.circles);
    doc.motion_pack = std::move(pack);
    doc.motion_pack_loaded = true;
    doc.transformed = true;
    doc.path = where;
    host.status(1, "Read from " + where);
    if (doc.motion_pack->still())
        host.message("The 3D model has no animation: it stays still (" + where + ")");
    host.refresh(Refresh::View);
    return 0;
}

std::string too_many_samples_message(const std::string& path) {
    return "Max and Min are too small for the 3D model: it would take more than " +
           std::to_string(kMaxPackSamples) + " circles (" + path + ")";
}

bool is_model_file(const std::string& path) {
    const std::string ext = file_extension(path);
    return ext == "gltf" || ext == "glb" || ext == "fbx";
}

}  // namespace velq
