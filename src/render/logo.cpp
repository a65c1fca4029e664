#include "render/logo.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "host/utf8.h"
#include "image/resample.h"
#include "render/font_file.h"

namespace velq {

int render_logo(Host& host, UBUFFER& target, const UBUFFER& logo, int transparency, double fx, double fy,
                bool straight_alpha) {
    if (!logo || !target || target.channels() != 4 || logo.channels() != 4) return 0;
    const int W = target.width(), H = target.height();
    const int lw = logo.width(), lh = logo.height();
    const int h = int(H * 0.03);
    const int w = int(std::int64_t(lw) * h / lh);
    if (w < 1 || h < 1) return 0;
    int x = std::max(int(W * fx - w * 0.5), 0);
    if (x + w >= W) x = W - w + 1;
    int y = std::max(int(H * fy - h * 0.5), 0);
    if (y + h >= H) y = H - h + 1;
    UBUFFER scaled;
    if (!scaled.allocate(w, h, 4)) {
        host.message("Failed to allocate buffer in render_logo()");
        return -1;
    }
    if (get_resized(host, logo, scaled) != 0) return -1;
    for (int j = 0; j < h; ++j) {
        for (int i = 0; i < w; ++i) {
            if (!target.inside(x + i, y + j)) continue;
            const std::uint8_t* s = &scaled.at(i, j);
            std::uint8_t* d = &target.at(x + i, y + j);
            const int a = s[3] * transparency / 255;
            if (straight_alpha) {  // on a transparent layer: what the blend gives over black, unweighted
                if (a == 0) continue;
                for (int c = 0; c < 3; ++c)
                    d[c] = std::uint8_t(std::min(255, (s[c] * a / 255 * 255 + a / 2) / a));
                d[3] = std::uint8_t(a);
                continue;
            }
            for (int c = 0; c < 3; ++c)
                d[c] = std::uint8_t(std::clamp((s[c] * a + d[c] * (255 - a)) / 255, 0, 255));
            d[3] = 255;
        }
    }
    return 0;
}

namespace {

// Height at which text logos are drawn; the renderer shrinks them to 3 percent of the picture.
constexpr int kTextPixels = 128;

struct FtLibrary {
    FT_Library lib = nullptr;
    FtLibrary() {
        if (FT_Init_FreeType(&lib) != 0) lib = nullptr;
    }
    ~FtLibrary() {
        if (lib) FT_Done_FreeType(lib);
    }
};

}  // namespace

int draw_text_logo(Host& host, std::string_view text_utf8, const std::string& face_name, UBUFFER& logo) {
    const std::string file = find_font_file(face_name.empty() ? "Courier New" : face_name);
    FtLibrary ft;
    FT_Face face = nullptr;
    if (file.empty() || !ft.lib || FT_New_Face(ft.lib, file.c_str(), 0, &face) != 0) {
        host.message("Failed to load the font " + face_name);
        return -1;
    }
    std::unique_ptr<FT_FaceRec_, decltype(&FT_Done_Face)> face_owner(face, FT_Done_Face);
    FT_Set_Pixel_Sizes(face, 0, kTextPixels);
    const std::u32string text = decode_utf8(text_utf8);

    // Lay the line out first to know the canvas; then draw the glyphs' coverage into it.
    const int ascent = int(face->size->metrics.ascender >> 6),
              descent = int(-face->size->metrics.descender >> 6);
    const int margin = kTextPixels / 4;
    std::vector<long> pens;
    long pen = margin;
    FT_UInt previous = 0;
    for (char32_t c : text) {
        const FT_UInt glyph = FT_Get_Char_Index(face, c);
        if (previous && glyph && FT_HAS_KERNING(face)) {
            FT_Vector k;
            if (FT_Get_Kerning(face, previous, glyph, FT_KERNING_DEFAULT, &k) == 0) pen += k.x >> 6;
        }
        pens.push_back(pen);
        if (FT_Load_Glyph(face, glyph, FT_LOAD_DEFAULT) == 0) pen += face->glyph->advance.x >> 6;
        previous = glyph;
    }
    const long width = pen + 2 * margin, height = ascent + descent + 2 * margin;
    UBUFFER canvas;
    if (width > 1 << 15 || !canvas.allocate(int(width), int(height), 4)) {
        host.message("Failed to allocate buffer in logo_text_render");
        return -1;
    }
    const int baseline = margin + ascent;
    for (std::size_t k = 0; k < text.size(); ++k) {
        if (FT_Load_Char(face, text[k], FT_LOAD_RENDER) != 0) continue;
        const FT_Bitmap& bm = face->glyph->bitmap;
        if (bm.pixel_mode != FT_PIXEL_MODE_GRAY) continue;
        const int ox = int(pens[k]) + face->glyph->bitmap_left, oy = baseline - face->glyph->bitmap_top;
        for (unsigned r = 0; r < bm.rows; ++r) {
            for (unsigned c = 0; c < bm.width; ++c) {
                const int x = ox + int(c), y = oy + int(r);
                if (!canvas.inside(x, y)) continue;
                const std::uint8_t v = bm.buffer[r * bm.pitch + c];
                std::uint8_t* px = &canvas.at(x, y);
                px[3] = std::max(px[3], v);
            }
        }
    }
    // White where drawn; crop to the drawn pixels.
    int left = canvas.width(), top = canvas.height(), right = -1, bottom = -1;
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            std::uint8_t* px = &canvas.at(x, y);
            if (px[3] == 0) continue;
            px[0] = px[1] = px[2] = 255;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    if (right < 0) {
        host.message("The logo text draws nothing");
        return -1;
    }
    UBUFFER cropped;
    if (!cropped.allocate(right - left + 1, bottom - top + 1, 4)) {
        host.message("Failed to allocate buffer in logo_text_render");
        return -1;
    }
    for (int y = top; y <= bottom; ++y)
        std::copy(&canvas.at(left, y), &canvas.at(left, y) + 4 * std::size_t(right - left + 1),
                  &cropped.at(0, y - top));
    logo = std::move(cropped);
    return 0;
}

}  // namespace velq
