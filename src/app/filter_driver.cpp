#include "app/filter_driver.h"

namespace velq {

namespace {

// Copies of the installed filter buffer and working picture, with the filtered picture a copy of the
// working one and the view and label map cleared, as init_filter_buffer leaves them. False when memory
// runs short (the caller then builds them anew, with that path's messages).
bool reuse_working_pictures(const Document& doc, RebuiltPictures& out) {
    const int w = doc.working.width(), h = doc.working.height();
    RebuiltPictures made;
    made.filter_buffer = doc.filter_buffer.clone();
    made.pictures.working = doc.working.clone();
    made.pictures.filtered = doc.working.clone();
    if (!made.filter_buffer || !made.pictures.working || !made.pictures.filtered ||
        !made.pictures.view.allocate(w, h, 4) || !made.pictures.label_map.allocate(w, h, 1))
        return false;
    made.key = out.key;
    out = std::move(made);
    return true;
}

}  // namespace

int build_working_pictures(const Document& doc, Host& host, std::int64_t memory_limit, RebuiltPictures& out) {
    const Settings& s = doc.settings;
    if (check_interpolation(host, s.interpolation, s.blur) != 0) return -1;
    out.key = {s.interpolation, s.blur, memory_limit};
    // The enlargement and blur are the slow part of every filter run; the same settings on the same
    // source give the same pictures.
    if (doc.working_built == out.key && doc.filter_buffer && doc.working && reuse_working_pictures(doc, out))
        return 0;
    if (init_interpol_buffer(host, doc.source, s.interpolation, memory_limit, out.filter_buffer) != 0)
        return -1;
    return init_filter_buffer(host, out.filter_buffer, s.interpolation, s.blur, out.pictures);
}

void install_working_pictures(Document& doc, RebuiltPictures&& made) {
    doc.filter_buffer = std::move(made.filter_buffer);
    doc.working = std::move(made.pictures.working);
    doc.filtered = std::move(made.pictures.filtered);
    doc.view = std::move(made.pictures.view);
    doc.label_map = std::move(made.pictures.label_map);
    doc.working_built = made.key;
    doc.settings.out_width = doc.working.width();
    doc.settings.out_height = doc.working.height();
}

int do_filter(Document& doc, Host& host, FilterKind kind, std::int64_t memory_limit, FilterSeed seed_from) {
    if (doc.motion_pack_loaded) return 0;
    if (!doc.source) {
        host.message("Failed to read image");
        return -1;
    }
    if (kind == FilterKind::KMean && doc.settings.k_mean < 2) {
        host.message("Invalid K-Mean value. It must be larger than 1");
        return -1;
    }
    if (check_interpolation(host, doc.settings.interpolation, doc.settings.blur) != 0) return -1;
    // Build and filter aside, so that a failure leaves the previous result in place. A Stop is no
    // failure: the picture as far as the filter got is the result.
    RebuiltPictures made;
    if (build_working_pictures(doc, host, memory_limit, made) != 0) {
        host.message("Failed to reallocating filter_buffer");
        return -1;
    }
    FilterParams params;
    params.max_size = doc.settings.max_size;
    params.gap = doc.settings.gap;
    params.k_mean = doc.settings.k_mean;
    params.impact_x = doc.settings.impact_x;
    params.impact_y = doc.settings.impact_y;
    // A random filter runs on one seed, kept with the result so that reopening it draws the same
    // pattern.
    std::optional<std::uint32_t> seed;
    SeedSource filter_seeds;
    if (filter_draws_seed(kind)) {
        const bool replay = seed_from == FilterSeed::Replay && doc.settings.filter_seed;
        seed = replay ? *doc.settings.filter_seed : doc.seeds.time_seed();
        filter_seeds.fix(*seed);
    }
    if (apply_filter(host, kind, made.pictures.filtered, params, filter_seeds) != 0) return -1;

    install_working_pictures(doc, std::move(made));
    doc.settings.filter_kind = int(kind);
    doc.settings.filter_seed = seed;
    doc.settings.memory_limit = memory_limit;
    doc.rendered = false;
    doc.transformed = false;
    doc.selected_outline = -1;
    doc.hovered_outline = -1;
    doc.segments.clear();
    doc.pieces.clear();
    doc.circles.clear();
    doc.render_buffer.reset();
    doc.toggles.original = false;
    doc.toggles.final_result = false;
    host.refresh(Refresh::View);
    return 0;
}

}  // namespace velq
