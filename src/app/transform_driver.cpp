#include "app/transform_driver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "app/alphabet_driver.h"
#include "app/vectorize_driver.h"
#include "host/progress.h"
#include "image/resample.h"
#include "transform/brush_size.h"
#include "transform/packer.h"

namespace velq {

namespace {

// The picture the brush-size map reads: the filtered picture brought to the filter buffer's size, so
// that the map's scale matches the sizes it is asked for and a colour filter shapes the circles.
UBUFFER brush_source(Document& doc, Host& host) {
    const UBUFFER& small = doc.filter_buffer;
    if (!small || !doc.filtered) return {};
    if (small.width() == doc.filtered.width() && small.height() == doc.filtered.height())
        return doc.filtered.clone();
    UBUFFER out;
    if (!out.allocate(small.width(), small.height(), 4)) return {};
    if (get_resized(host, doc.filtered, out) != 0) return {};
    return out;
}

// A closed outline of the circle for the "Edges and Circles" view.
BoundaryPiece circle_outline(double x, double y, double r) {
    BoundaryPiece piece;
    piece.closed = true;
    const int n = std::clamp(int(std::ceil(r * 1.5)), 8, 96);
    piece.points.reserve(n);
    for (int i = 0; i < n; ++i) {
        const double a = 2 * 3.141592653589793 * i / n;
        piece.points.push_back({x + r * std::cos(a), y + r * std::sin(a)});
    }
    return piece;
}

}  // namespace

std::string stopped_message(std::size_t circles) {
    if (circles == 0) return "The transform was stopped before any circle was packed";
    return "The transform was stopped after " + std::to_string(circles) +
           (circles == 1 ? " circle" : " circles");
}

std::optional<std::size_t> fill_circle_algo1(Document& doc, Host& host) {
    const UBUFFER& picture = doc.filtered;
    const int w = picture.width(), h = picture.height();
    const double min_rel = std::max(1.1 / w, doc.settings.min_size);
    if (min_rel >= doc.settings.max_size) {
        host.message("Invalid MAX, MIN value in fill_circle_algo1()");
        return std::nullopt;
    }
    // The region is the picture frame, starting top-left.
    BoundaryPiece frame;
    frame.closed = true;
    frame.points = {{0, 0}, {double(w), 0}, {double(w), double(h)}, {0, double(h)}};
    doc.pieces.assign(1, frame);

    PackRegion region;
    for (const BoundaryPoint& p : frame.points) region.outer.push_back({p.x, p.y});
    PackOptions options;
    options.min_radius = w * min_rel;
    options.max_radius = w * doc.settings.max_size;
    options.gap = doc.settings.gap;
    options.brush_map = doc.bs_buffer ? &doc.bs_buffer : nullptr;
    options.picture_width = w;
    options.picture_height = h;
    {
        Progress progress(host, "Transforming");
        options.progress = [&progress](double done) { progress.set(int(done * 100)); };
        doc.circles = pack_circles(region, options, host);
    }

    // Every accepted circle gets its colour and its fractional centre, even after a Stop; only the
    // outlines for the view obey Stop.
    for (Circle& c : doc.circles) {
        if (!host.stopped()) doc.pieces.push_back(circle_outline(c.x, c.y, c.radius));
        const int px = std::clamp(int(c.x), 0, w - 1), py = std::clamp(int(c.y), 0, h - 1);
        c.own.c0 = picture.at(px, py, 2);
        c.own.c1 = picture.at(px, py, 1);
        c.own.c2 = picture.at(px, py, 0);
        c.own.c3 = picture.at(px, py, 3);
        c.x /= w;
        c.y /= h;
    }
    return doc.circles.size();
}

int do_transform(Document& doc, Host& host, TransformMode mode, bool show_count) {
    if (doc.motion_pack_loaded) return 0;
    if (!doc.filtered) {
        host.message("Please open a picture first");
        return -1;
    }
    // The letters are set first: a blank text, a missing font or a picture too small for one
    // letter leaves the previous result as it was.
    std::optional<std::vector<PlacedGlyph>> letters;
    if (mode == TransformMode::Alphabet && !(letters = set_alphabet_text(doc, host))) return -1;
    doc.selected_outline = -1;
    doc.hovered_outline = -1;
    doc.segments.clear();
    doc.pieces.clear();
    doc.circles.clear();
    doc.toggles.final_result = false;
    doc.toggles.filtered = true;
    doc.toggles.edges = true;
    doc.rendered = false;
    doc.transformed = false;
    doc.settings.transform_mode = int(mode);
    host.refresh(Refresh::View);

    // One bar over the stages; the brush-size map is quick next to the packing.
    ProgressRun run(host);
    std::optional<std::size_t> count;
    switch (mode) {
        case TransformMode::Normal: {
            const double larger = std::max(doc.filter_buffer.width(), doc.filter_buffer.height());
            const int maxpx = int(larger * doc.settings.max_size + 0.5);
            const int minpx = int(larger * doc.settings.min_size + 0.5);
            doc.bs_buffer.reset();
            {
                ProgressShare share(host, 0, 0.1);
                const UBUFFER source = brush_source(doc, host);
                if (source)
                    doc.bs_buffer = get_brush_size(host, source, doc.settings.threshold, maxpx, minpx);
            }
            if (!doc.bs_buffer) {
                host.message("Failed to allocate bs_buffer in do_filter()");
                return -1;
            }
            ProgressShare share(host, 0.1, 1);
            count = fill_circle_algo1(doc, host);
            break;
        }
        case TransformMode::Vectorize:
            count = do_vectorize(doc, host);
            break;
        case TransformMode::Alphabet:
            count = do_alphabet(doc, host, *letters);
            break;
    }
    // A refused packing still ends like a finished one in the window (flag, outlines, count); only the
    // result says it failed.
    doc.transformed = true;
    if (count && !host.stopped()) run.finish();
    host.refresh(Refresh::Outlines);
    if (host.stopped() && count) {
        // Said whether or not the count was asked for: the user asked for the stop and hears how far
        // the transform got, in the window and in the tool alike.
        host.message(stopped_message(*count));
    } else if (show_count) {
        char text[64];
        std::snprintf(text, sizeof text, "The number of circles is %zu", count.value_or(0));
        host.message(text);
    }
    return count ? 0 : -1;
}

}  // namespace velq
