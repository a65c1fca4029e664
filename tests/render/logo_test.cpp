#include <gtest/gtest.h>

#include "render/logo.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// The bounding box of the pixels that differ between two pictures.
struct Box {
    int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;
};
Box changed(const UBUFFER& a, const UBUFFER& b) {
    Box box;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (std::memcmp(&a.at(x, y), &b.at(x, y), 4) != 0) {
                box.left = std::min(box.left, x);
                box.right = std::max(box.right, x);
                box.top = std::min(box.top, y);
                box.bottom = std::max(box.bottom, y);
            }
    return box;
}

TEST(Logo, SizeAndPlacement) {
    test::RecordingHost host;
    const UBUFFER logo = test::flat_picture(200, 100, 0xFFFFFFFFu);  // opaque white
    struct Case {
        int w, h;
        double fx, fy;
        int left, top, right, bottom;  // painted box; right -1 when nothing is painted
    } cases[] = {
        // h = 30, w = 60, x = 1000 - 60 + 1 = 941: the last logo column falls outside.
        {1000, 1000, 1.0, 0.0, 941, 0, 999, 29}, {1000, 1000, 0.5, 0.5, 470, 485, 529, 514},
        {1000, 1000, 0.0, 1.0, 0, 971, 59, 999},  // bottom edge: y = 1000 - 30 + 1
        {400, 33, 1.0, 0.0, 0, 0, -1, 0},         // height below 34: h = 0, nothing
        {400, 34, 1.0, 0.0, 399, 0, 399, 0},      // h = 1, w = 2, x = 400 - 2 + 1
    };
    for (const Case& k : cases) {
        UBUFFER pic = test::flat_picture(k.w, k.h, 0x00102030u);  // alpha 0 so every touched pixel changes
        const UBUFFER before = pic.clone();
        ASSERT_EQ(render_logo(host, pic, logo, 255, k.fx, k.fy), 0);
        const Box b = changed(before, pic);
        EXPECT_EQ(b.right, k.right) << k.w << "x" << k.h << " at " << k.fx << "," << k.fy;
        if (k.right < 0) continue;
        EXPECT_EQ(b.left, k.left);
        EXPECT_EQ(b.top, k.top);
        EXPECT_EQ(b.bottom, k.bottom);
        EXPECT_EQ(pic.at(b.right, b.bottom, 2), 255);  // white over the picture
        EXPECT_EQ(pic.at(b.right, b.bottom, 3), 255);
    }
}

TEST(Logo, TransparencyBlendsAndZeroOnlySetsAlpha) {
    test::RecordingHost host;
    const UBUFFER logo = test::flat_picture(100, 100, 0xC8FFFFFFu);  // white, alpha 200
    struct Case {
        int transparency, value;
    } cases[] = {{0, 100}, {255, 100 + 155 * 200 / 255}, {128, (255 * 100 + 100 * 155) / 255}};
    for (const Case& k : cases) {
        UBUFFER pic = test::flat_picture(200, 200, 0x10646464u);  // grey 100, alpha 16
        ASSERT_EQ(render_logo(host, pic, logo, k.transparency, 0.5, 0.5), 0);
        EXPECT_EQ(pic.at(100, 100, 0), k.value) << k.transparency;
        EXPECT_EQ(pic.at(100, 100, 3), 255);
        EXPECT_EQ(pic.at(10, 10, 3), 16);  // away from the logo nothing changes
    }
}

TEST(Logo, TextIsDrawnWhiteAndCropped) {
    test::RecordingHost host;
    UBUFFER logo;
    ASSERT_EQ(draw_text_logo(host, "Velq", "Courier New", logo), 0)
        << (host.messages().empty() ? "" : host.messages()[0]);
    ASSERT_TRUE(logo);
    // Four monospaced letters are wider than high; cropping leaves drawn pixels on every edge, and
    // what is drawn is white.
    EXPECT_GT(logo.width(), logo.height());
    int left = 0, right = 0, top = 0, bottom = 0, opaque = 0;
    for (int y = 0; y < logo.height(); ++y)
        for (int x = 0; x < logo.width(); ++x) {
            if (!logo.at(x, y, 3)) continue;
            left += x == 0, right += x == logo.width() - 1, top += y == 0, bottom += y == logo.height() - 1;
            opaque += logo.at(x, y, 3) == 255;
            EXPECT_TRUE(logo.at(x, y, 3) < 255 || logo.at(x, y, 0) == 255);
        }
    EXPECT_TRUE(left && right && top && bottom);
    EXPECT_GT(opaque, 100);

    UBUFFER kept = logo.clone();
    EXPECT_EQ(draw_text_logo(host, "   ", "Courier New", logo), -1);  // nothing drawn
    EXPECT_EQ(logo.width(), kept.width());
}

}  // namespace
}  // namespace velq
