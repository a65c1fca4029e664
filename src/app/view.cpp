#include "app/view.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

#include "host/saturate.h"
#include "render/palette.h"

namespace velq {

namespace {

// Shuffle, Invert and Convert of a layer on a mapped colour, in that order. Random draws a new colour
// per placement at render time; on a per-pixel preview it would only be noise, so the view leaves it out.
void apply_view_options(const Layer& layer, ColourRecord& c) {
    if (layer.shuffle) c = ColourRecord{c.c2, c.c0, c.c1, c.c3, c.index, c.valid};
    if (layer.invert) {
        c.c0 = 255 - c.c0;
        c.c1 = 255 - c.c1;
        c.c2 = 255 - c.c2;
    }
    if (layer.convert) to_hsl(c);
}

std::uint8_t to_byte(double v) {
    return static_cast<std::uint8_t>(std::clamp(saturate_int(v), 0, 255));
}

}  // namespace

ViewRect reset_view(int cw, int ch, int pw, int ph) {
    if (cw <= 0 || ch <= 0 || pw <= 0 || ph <= 0) return {0, 0, std::max(cw, 0), std::max(ch, 0)};
    const double c = double(ch) / cw;
    const double p = double(ph) / pw;
    int left = 0, top = 0;
    if (c > p)
        top = saturate_int((ch - cw * p) * 0.5);
    else
        left = saturate_int((cw - ch / p) * 0.5);
    return {left, top, cw - left, ch - top};
}

void drag_to(ViewState& s, double x, double y) {
    if (!s.dragging) return;
    const int dx = saturate_int(x - s.anchor_x);
    const int dy = saturate_int(y - s.anchor_y);
    s.rect.left += dx;
    s.rect.right += dx;
    s.rect.top += dy;
    s.rect.bottom += dy;
    s.anchor_x = x;
    s.anchor_y = y;
}

std::optional<ViewRect> wheel_zoom(const ViewRect& r, int delta, double x, double y, int cw, int ch, int pw,
                                   int ph) {
    const int w = r.width();
    const int h = r.height();
    if (w <= 0 || h <= 0 || pw <= 0 || ph <= 0) return std::nullopt;
    const double w2 = double(w) + 2.0 * delta;
    const double h2 = w2 * ph / pw;
    if (w2 < cw * 0.01 || h2 < ch * 0.01) return std::nullopt;
    ViewRect out;
    out.right = saturate_int(w2 * (r.right - x) / w + x);
    out.bottom = saturate_int((r.bottom - y) / h * h2 + y);
    out.left = out.right - saturate_int(w2);
    out.top = out.bottom - saturate_int(h2);
    return out;
}

std::optional<PixelPos> control_to_pixel(const ViewRect& r, double x, double y, int pw, int ph) {
    if (r.width() <= 0 || r.height() <= 0 || pw <= 0 || ph <= 0) return std::nullopt;
    const double col = pw * (x - r.left) / r.width();
    const double row = ph * (y - r.top) / r.height();
    if (col < 0 || row < 0 || col >= pw || row >= ph) return std::nullopt;
    return PixelPos{saturate_int(col), saturate_int(row)};
}

ControlPoint pixel_to_control(const ViewRect& r, double px, double py, int pw, int ph) {
    if (pw <= 0 || ph <= 0) return {double(r.left), double(r.top)};
    return {r.left + px * r.width() / pw, r.top + py * r.height() / ph};
}

int hover_pick(const ViewRect& r, double x, double y, const IBUFFER& labels, int segment_count) {
    if (!labels || labels.channels() != 1) return -1;
    auto p = control_to_pixel(r, x, y, labels.width(), labels.height());
    if (!p) return -1;
    const std::uint32_t label = labels.at(p->col, p->row);
    if (label >= 1 && std::int64_t(label) <= segment_count) return int(label) - 1;
    return -1;
}

DoubleClickPick double_click_pick(const ViewRect& r, double x, double y, const IBUFFER& labels,
                                  int segment_count) {
    DoubleClickPick out;
    if (!labels || labels.channels() != 1) return out;
    auto p = control_to_pixel(r, x, y, labels.width(), labels.height());
    if (!p) return out;
    out.inside = true;
    const std::uint32_t label = labels.at(p->col, p->row);
    out.selected_segment = int(std::min<std::uint32_t>(label, 2147483647u));
    if (label >= 1 && std::int64_t(label) < segment_count) {
        out.selected_segment = int(label) - 1;
        out.picked = true;
    }
    return out;
}

int active_layer(const Document& doc) {
    const int i = doc.selected_layer;
    if (i < 1 || i >= int(doc.layers.size())) return -1;
    const Layer& l = doc.layers[i];
    return l.shown && l.has_shapes() ? i : -1;
}

ViewSource view_source(const Document& doc) {
    if (doc.toggles.final_result && doc.rendered && doc.render_buffer) return ViewSource::Render;
    if (doc.view) return ViewSource::Composed;
    return ViewSource::None;
}

bool compose_view(Document& doc) {
    const UBUFFER& src = doc.source;
    if (!src || src.channels() != 4) return true;
    const UBUFFER& size_of = doc.working ? doc.working : src;
    const int w = size_of.width(), h = size_of.height();
    if (!doc.view || doc.view.width() != w || doc.view.height() != h || doc.view.channels() != 4) {
        if (!doc.view.allocate(w, h, 4, Init::Uninitialised)) return false;
    }
    UBUFFER& view = doc.view;

    if (doc.toggles.original) {
        for (int y = 0; y < h; ++y) {
            const int sy = int(std::int64_t(y) * src.height() / h);
            std::uint8_t* out = view.row(y);
            const std::uint8_t* in = src.row(sy);
            for (int x = 0; x < w; ++x) {
                const int sx = int(std::int64_t(x) * src.width() / w);
                std::copy_n(in + std::size_t(sx) * 4, 4, out + std::size_t(x) * 4);
            }
        }
    } else {
        view.fill(0);
    }

    const UBUFFER& f = doc.filtered;
    const bool blend = doc.toggles.filtered && f && f.channels() == 4 && f.width() == w && f.height() == h;
    const int layer_index = doc.transformed ? -1 : active_layer(doc);
    const Layer* layer = layer_index >= 0 ? &doc.layers[layer_index] : nullptr;
    const Palette* palette = nullptr;
    if (layer && layer->palette >= 0 && layer->palette < int(doc.palettes.size()))
        palette = &doc.palettes[layer->palette];
    std::unordered_map<std::uint32_t, std::uint32_t> mapped;  // blended BGR -> mapped BGR

    for (int y = 0; y < h; ++y) {
        std::uint8_t* out = view.row(y);
        const std::uint8_t* in = blend ? f.row(y) : nullptr;
        for (int x = 0; x < w; ++x, out += 4) {
            if (blend) {
                const int a = in[x * 4 + 3];
                for (int c = 0; c < 3; ++c)
                    out[c] = std::uint8_t(std::min(255, (in[x * 4 + c] * a + out[c] * (255 - a)) / 255));
                if (layer) {
                    const std::uint32_t key = out[0] | (out[1] << 8) | (std::uint32_t(out[2]) << 16);
                    auto it = mapped.find(key);
                    if (it == mapped.end()) {
                        ColourRecord col{double(out[2]), double(out[1]), double(out[0]), 255.0, 0, true};
                        if (palette) col = map_colour(*palette, col);
                        apply_view_options(*layer, col);
                        const std::uint32_t v =
                            to_byte(col.c2) | (to_byte(col.c1) << 8) | (std::uint32_t(to_byte(col.c0)) << 16);
                        it = mapped.emplace(key, v).first;
                    }
                    out[0] = std::uint8_t(it->second);
                    out[1] = std::uint8_t(it->second >> 8);
                    out[2] = std::uint8_t(it->second >> 16);
                }
            }
            out[3] = 255;
        }
    }
    return true;
}

}  // namespace velq
