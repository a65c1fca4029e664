#include "render/glyph_outline.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "render/font_file.h"
#include "render/shape.h"

namespace velq {

namespace {

struct Library {
    FT_Library lib = nullptr;
    Library() {
        if (FT_Init_FreeType(&lib) != 0) lib = nullptr;
    }
    ~Library() {
        if (lib) FT_Done_FreeType(lib);
    }
};

// An FT_Outline over the vectors of a GlyphOutline (FreeType only reads it).
struct OutlineView {
    std::vector<FT_Vector> points;
    FT_Outline outline{};
    explicit OutlineView(const GlyphOutline& g) : points(g.x.size()) {
        for (std::size_t i = 0; i < points.size(); ++i) points[i] = {g.x[i], g.y[i]};
        outline.n_points = short(points.size());
        outline.n_contours = short(g.contour_ends.size());
        outline.points = points.data();
        outline.tags = const_cast<char*>(g.tags.data());
        outline.contours = const_cast<short*>(g.contour_ends.data());
        outline.flags = g.flags;
    }
};

GlyphOutline copy_outline(const FT_Outline& o) {
    GlyphOutline g;
    g.x.resize(std::size_t(o.n_points));
    g.y.resize(std::size_t(o.n_points));
    for (int i = 0; i < o.n_points; ++i) {
        g.x[std::size_t(i)] = o.points[i].x;
        g.y[std::size_t(i)] = o.points[i].y;
    }
    g.tags.assign(o.tags, o.tags + o.n_points);
    g.contour_ends.assign(o.contours, o.contours + o.n_contours);
    g.flags = o.flags;
    return g;
}

// The font's own outline of `ch` in font units, made bold or slanted when the file is not.
bool unscaled_outline(FT_Face face, char16_t ch, bool embolden, bool shear, GlyphOutline& out) {
    const FT_UInt index = FT_Get_Char_Index(face, ch);  // 0 is the missing-glyph box
    if (FT_Load_Glyph(face, index, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP) != 0) return false;
    FT_GlyphSlot slot = face->glyph;
    if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return false;
    FT_Outline& o = slot->outline;
    if (embolden) FT_Outline_Embolden(&o, face->units_per_EM / 24);
    if (shear) {
        FT_Matrix m{0x10000, FT_Fixed(0.2 * 0x10000), 0, 0x10000};
        FT_Outline_Transform(&o, &m);
    }
    out = copy_outline(o);
    return true;
}

}  // namespace

int load_glyph_outlines(Host& host, const FontDescription& font, std::span<const char16_t> chars,
                        double margin_em, std::vector<GlyphOutline>& out, double& em_pixels) {
    const bool bold = font.weight >= 600, italic = font.italic;
    const FontMatch match = find_font(font.face, bold, italic);
    Library ft;
    FT_Face face = nullptr;
    auto fail = [&] {
        host.message("Failed to load the font " + font.face);
        return -1;
    };
    if (!match.named || match.file.empty() || !ft.lib ||
        FT_New_Face(ft.lib, match.file.c_str(), match.index, &face) != 0)
        return fail();
    std::unique_ptr<FT_FaceRec_, decltype(&FT_Done_Face)> face_owner(face, FT_Done_Face);
    if (!FT_IS_SCALABLE(face) || face->units_per_EM == 0) return fail();

    std::vector<GlyphOutline> glyphs(chars.size());
    double reach = 0;  // largest half-diagonal of a glyph box, font units
    for (std::size_t i = 0; i < chars.size(); ++i) {
        if (!unscaled_outline(face, chars[i], bold && !match.bold, italic && !match.italic, glyphs[i]))
            continue;  // a glyph without an outline draws nothing
        if (glyphs[i].x.empty()) continue;
        const auto [x0, x1] = std::minmax_element(glyphs[i].x.begin(), glyphs[i].x.end());
        const auto [y0, y1] = std::minmax_element(glyphs[i].y.begin(), glyphs[i].y.end());
        reach = std::max(reach, 0.5 * std::hypot(double(*x1 - *x0), double(*y1 - *y0)));
    }
    const double em = face->units_per_EM;
    const double scale = 500.0 / std::max(reach + margin_em * em, 1.0);  // pixels per font unit
    em_pixels = em * scale;

    // Scale into 26.6 pixels and centre each glyph's box on the square's centre.
    constexpr double kCentre = SHAPE::kSide / 2.0;
    for (GlyphOutline& g : glyphs) {
        if (g.x.empty()) continue;
        const auto [x0, x1] = std::minmax_element(g.x.begin(), g.x.end());
        const auto [y0, y1] = std::minmax_element(g.y.begin(), g.y.end());
        const double cx = 0.5 * double(*x0 + *x1), cy = 0.5 * double(*y0 + *y1);
        for (std::size_t k = 0; k < g.x.size(); ++k) {
            g.x[k] = std::lround(((double(g.x[k]) - cx) * scale + kCentre) * 64);
            g.y[k] = std::lround(((double(g.y[k]) - cy) * scale + kCentre) * 64);
        }
    }
    out = std::move(glyphs);
    return 0;
}

void draw_glyph(const GlyphOutline& outline, std::span<std::uint8_t> coverage) {
    std::fill(coverage.begin(), coverage.end(), std::uint8_t(0));
    if (outline.x.empty()) return;
    Library ft;  // one per call: FreeType's rasteriser is not shared between threads
    if (!ft.lib) return;
    OutlineView view(outline);
    FT_Bitmap bm{};
    bm.rows = SHAPE::kSide;
    bm.width = SHAPE::kSide;
    bm.pitch = SHAPE::kSide;  // positive: row 0 is the top of the outline's space
    bm.buffer = coverage.data();
    bm.num_grays = 256;
    bm.pixel_mode = FT_PIXEL_MODE_GRAY;
    FT_Outline_Get_Bitmap(ft.lib, &view.outline, &bm);
}

}  // namespace velq
