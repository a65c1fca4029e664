#include "app/render_op.h"

#include <gtest/gtest.h>

#include <cmath>

#include "app/logo_choice.h"
#include "render/renderer.h"
#include "support/circles.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::circle;

// Two circles of radius 20 on a 200 x 150 working picture: the grey base layer (brightness 50) under a
// "Neon Cyber" layer at half size, over a dark blue background, with a white logo top right.
struct Scene {
    test::RecordingHost host;
    Document doc{host};

    Scene() {
        doc.working.allocate(200, 150, 4);
        doc.circles = {circle(0.25, 0.5, 20, ColourRecord{0, 250, 170, 255, 0, true}),
                       circle(0.75, 0.5, 20, ColourRecord{0, 179, 161, 255, 0, true})};
        doc.background = pack_colorref(0x10, 0x20, 0x40);
        doc.layers[0].set_brightness(50);
        doc.layers[1].palette = 7;
        doc.layers[1].set_size(50);
        doc.logo = test::flat_picture(20, 10, 0xFFFFFFFFu);
        doc.settings.out_width = 200;
        doc.settings.out_height = 150;
    }

    // Blue, green, red of a render pixel.
    std::array<int, 3> at(int x, int y) const {
        const std::uint8_t* p = &doc.render_buffer.at(x, y);
        return {p[0], p[1], p[2]};
    }
};

// At the working size and at twice it: the circles scale with the output.
TEST(Render, ChosenPointsAtTheWorkingSizeAndTwiceIt) {
    for (const int k : {1, 2}) {
        Scene s;
        s.doc.settings.out_width = 200 * k;
        s.doc.settings.out_height = 150 * k;
        int w = 0, h = 0;
        render_size(s.doc, w, h);
        ASSERT_EQ(generate_shaped_image(s.doc, s.host, w, h), 0);
        EXPECT_TRUE(s.doc.rendered);
        EXPECT_TRUE(s.host.messages().empty());
        struct Point {
            const char* what;
            int x, y;
            std::array<int, 3> bgr;
        } points[] = {
            {"background between the circles", 100, 75, {0x40, 0x20, 0x10}},
            {"corner", 2, 148, {0x40, 0x20, 0x10}},
            {"first layer's grey outside the second", 65, 75, {127, 127, 127}},
            {"second layer's palette colour", 50, 75, {170, 255, 0}},
        };
        for (const Point& p : points) EXPECT_EQ(s.at(k * p.x, k * p.y), p.bgr) << p.what << " x" << k;
        EXPECT_EQ(s.at(200 * k - 5, 1), (std::array<int, 3>{255, 255, 255})) << "logo x" << k;
        EXPECT_EQ(s.doc.render_buffer.at(100, 75, 3), 255);
        EXPECT_EQ(s.doc.rendered_settings.out_width, 200 * k);
    }
}

TEST(Render, RefusalsAndStop) {
    {
        Scene s;
        s.doc.circles.clear();
        s.doc.rendered = true;
        ASSERT_EQ(generate_shaped_image(s.doc, s.host, 50, 40), -1);
        EXPECT_TRUE(s.host.said("Please complete the transform first"));
        EXPECT_FALSE(s.doc.rendered);
        EXPECT_EQ(s.at(10, 10), (std::array<int, 3>{0x40, 0x20, 0x10}));  // the old picture is gone
    }
    {
        Scene s;
        s.host.stop = true;
        ASSERT_EQ(generate_shaped_image(s.doc, s.host, 200, 150), 0);
        EXPECT_FALSE(s.doc.rendered);
        EXPECT_TRUE(s.host.messages().empty());
    }
    {
        Scene s;
        ASSERT_EQ(generate_shaped_image(s.doc, s.host, 300000, 300000), -1);
        EXPECT_TRUE(s.host.said("Failed to allocate render_buffer in generate_shaped_image()"));
    }
    {
        // Hidden and empty layers paint nothing, not even the first.
        Scene s;
        s.doc.layers[0].shown = false;
        s.doc.layers[1].clear_shapes();
        ASSERT_EQ(generate_shaped_image(s.doc, s.host, 200, 150), 0);
        EXPECT_TRUE(s.doc.rendered);
        EXPECT_EQ(s.at(50, 75), (std::array<int, 3>{0x40, 0x20, 0x10}));
    }
}

// Each layer alone, laid with straight-alpha "over" on the background in order, gives the render
// back: within 2 per channel everywhere (8-bit rounding where shapes are soft) and exactly where every
// layer is opaque or clear. Overlapping soft discs, a darkened base layer, a half-transparent layer,
// a global brightness and a hidden layer that the stack leaves out.
TEST(Render, LayersAloneStackBackToTheRender) {
    Scene s;
    s.doc.logo.reset();
    s.doc.settings.global_brightness = 9;
    for (int i = 0; i < 14; ++i)
        s.doc.circles.push_back(circle(0.1 + 0.06 * i, 0.2 + 0.04 * (i % 5), 14 + i % 4,
                                       ColourRecord{double(i * 17), double(200 - i * 9), 90, 255, 0, true}));
    s.doc.layers[2] = Layer(s.host, true);
    s.doc.layers[2].set_transparency(128);
    s.doc.layers[2].set_size(130);
    s.doc.layers[3] = Layer(s.host, true);
    s.doc.layers[3].shown = false;
    ASSERT_EQ(generate_shaped_image(s.doc, s.host, 200, 150), 0);

    UBUFFER stack;
    stack.allocate(200, 150, 4);
    fill_background(stack, s.doc.background);
    std::vector<bool> clean(200 * 150, true);  // every layer opaque or clear there
    Random random(s.doc.seeds.time_seed());
    UBUFFER layer;
    layer.allocate(200, 150, 4);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(render_layer(s.doc, s.host, layer, i, random), 0) << i;
        for (int y = 0; y < 150; ++y)
            for (int x = 0; x < 200; ++x) {
                const int a = layer.at(x, y, 3);
                clean[y * 200 + x] = clean[y * 200 + x] && (a == 0 || a == 255);
                for (int ch = 0; ch < 3; ++ch)
                    stack.at(x, y, ch) = std::uint8_t(
                        std::lround((layer.at(x, y, ch) * a + stack.at(x, y, ch) * (255 - a)) / 255.0));
            }
    }
    int worst = 0, clean_seen = 0;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            for (int ch = 0; ch < 3; ++ch) {
                const int d = std::abs(stack.at(x, y, ch) - s.doc.render_buffer.at(x, y, ch));
                worst = std::max(worst, d);
                if (clean[y * 200 + x]) {
                    ASSERT_EQ(d, 0) << x << "," << y;
                    clean_seen += ch == 0;
                }
            }
    EXPECT_LE(worst, 2);
    EXPECT_GT(clean_seen, 1000);
    // A hidden layer is still painted, for the layered result.
    ASSERT_EQ(render_layer(s.doc, s.host, layer, 3, random), 0);
    EXPECT_EQ(layer.at(50, 75, 3), 255);
}

TEST(Render, LogoChoiceKeepsThePreviousLogoWhenAFileFails) {
    test::RecordingHost host;
    Document doc(host);
    const std::string dir = test::temp_dir("logo-choice");
    ASSERT_EQ(choose_logo(doc, host, {true, "Logo", "Courier New", "", 300}), 0);
    ASSERT_TRUE(doc.logo);
    EXPECT_EQ(doc.logo_transparency, 255);
    const int width = doc.logo.width();
    test::put_text(dir + "/bad.png", "not a picture");
    EXPECT_EQ(choose_logo(doc, host, {false, "", "", dir + "/bad.png", 3}), -1);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Failed to read logo image"});
    EXPECT_EQ(doc.logo.width(), width);
    EXPECT_EQ(doc.logo_transparency, 255);
}

}  // namespace
}  // namespace velq
