#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "render/font_file.h"
#include "render/logo.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// The bounding box {left, top, right, bottom} of the pixels that differ; right -1 when none do.
std::array<int, 4> changed(const UBUFFER& a, const UBUFFER& b) {
    std::array<int, 4> box{1 << 30, 1 << 30, -1, -1};
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (std::memcmp(&a.at(x, y), &b.at(x, y), 4) != 0)
                box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x), std::max(box[3], y)};
    return box;
}

// The logo is scaled to 3 % of the picture's height, centred on the chosen point but kept inside, and
// laid over the picture with its alpha scaled by the transparency; every pixel it covers turns opaque.
TEST(Logo, SizeAndPlacementAndTransparency) {
    test::RecordingHost host;
    const UBUFFER logo = test::flat_picture(200, 100, 0xC8FFFFFFu);  // white, alpha 200
    struct Case {
        int w, h;
        double fx, fy;
        int transparency;
        std::array<int, 4> box;  // painted box; right -1 when nothing is painted
        int value;               // of the box's last pixel, over grey 100
    } cases[] = {
        // h = 30, w = 60, x = 1000 - 60 + 1 = 941: the last logo column falls outside.
        {1000, 1000, 1.0, 0.0, 255, {941, 0, 999, 29}, 100 + 155 * 200 / 255},
        {1000, 1000, 0.5, 0.5, 255, {470, 485, 529, 514}, 100 + 155 * 200 / 255},
        {1000, 1000, 0.5, 0.5, 128, {470, 485, 529, 514}, (255 * 100 + 100 * 155) / 255},  // alpha 100
        {1000, 1000, 0.5, 0.5, 0, {470, 485, 529, 514}, 100},                   // only the alpha changes
        {1000, 1000, 0.0, 1.0, 255, {0, 971, 59, 999}, 100 + 155 * 200 / 255},  // y = 1000 - 30 + 1
        {400, 33, 1.0, 0.0, 255, {1 << 30, 1 << 30, -1, -1}, 0},                // h = 0: nothing
        {400, 34, 1.0, 0.0, 255, {399, 0, 399, 0}, 100 + 155 * 200 / 255},      // h = 1, w = 2
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(testing::Message()
                     << k.w << "x" << k.h << " at " << k.fx << "," << k.fy << " T " << k.transparency);
        UBUFFER pic = test::flat_picture(k.w, k.h, 0x10646464u);  // grey 100, alpha 16
        const UBUFFER before = pic.clone();
        ASSERT_EQ(render_logo(host, pic, logo, k.transparency, k.fx, k.fy), 0);
        EXPECT_EQ(changed(before, pic), k.box);
        if (k.box[2] < 0) continue;
        const std::uint8_t* last = &pic.at(k.box[2], k.box[3]);
        EXPECT_EQ(std::pair(int(last[0]), int(last[3])), std::pair(k.value, 255));
    }
}

// A text logo is drawn white and cropped to its drawn pixels: some lie on every edge, and with the
// letters spaced so that none overlaps another (tall ones and accents among them), the logo's coverage
// is the sum of the glyphs' own.
TEST(Logo, TextIsDrawnWhiteAndCropped) {
    test::RecordingHost host;
    UBUFFER logo;
    ASSERT_EQ(draw_text_logo(host, "h l A t \xC3\x85 g", "Courier New", logo), 0)
        << (host.messages().empty() ? "" : host.messages()[0]);
    int left = 0, right = 0, top = 0, bottom = 0;
    long drawn = 0, want = 0;
    for (int y = 0; y < logo.height(); ++y)
        for (int x = 0; x < logo.width(); ++x) {
            drawn += logo.at(x, y, 3);
            if (!logo.at(x, y, 3)) continue;
            left += x == 0, right += x == logo.width() - 1, top += y == 0, bottom += y == logo.height() - 1;
            EXPECT_TRUE(logo.at(x, y, 3) < 255 || logo.at(x, y, 0) == 255);
        }
    EXPECT_TRUE(left && right && top && bottom);
    FT_Library lib = nullptr;
    FT_Face face = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&lib), 0);
    ASSERT_EQ(FT_New_Face(lib, find_font_file("Courier New").c_str(), 0, &face), 0);
    FT_Set_Pixel_Sizes(face, 0, 128);
    for (char32_t c : {U'h', U'l', U'A', U't', U'\u00C5', U'g'}) {
        ASSERT_EQ(FT_Load_Char(face, c, FT_LOAD_RENDER), 0);
        const FT_Bitmap& bm = face->glyph->bitmap;
        for (unsigned r = 0; r < bm.rows; ++r)
            for (unsigned i = 0; i < bm.width; ++i) want += bm.buffer[r * bm.pitch + i];
    }
    FT_Done_Face(face);
    FT_Done_FreeType(lib);
    EXPECT_EQ(drawn, want);

    UBUFFER kept = logo.clone();
    EXPECT_EQ(draw_text_logo(host, "   ", "Courier New", logo), -1);  // nothing drawn
    EXPECT_EQ(logo.width(), kept.width());
}

}  // namespace
}  // namespace velq
