#include "app/render_op.h"

#include <gtest/gtest.h>

#include "app/logo_choice.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

Circle circle(double fx, double fy, double r, ColourRecord own) {
    Circle c;
    c.x = fx;
    c.y = fy;
    c.radius = r;
    c.own = own;
    return c;
}

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

TEST(Render, SmallPictureChosenPoints) {
    Scene s;
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
        {"first layer's grey, second circle", 150, 90, {127, 127, 127}},
        {"second layer's palette colour", 50, 75, {170, 255, 0}},
        {"second layer, a key colour", 150, 75, {161, 179, 0}},
        {"logo", 195, 1, {255, 255, 255}},
    };
    for (const Point& p : points) EXPECT_EQ(s.at(p.x, p.y), p.bgr) << p.what;
    EXPECT_EQ(s.doc.render_buffer.at(100, 75, 3), 255);
    EXPECT_EQ(s.doc.rendered_settings.out_width, 200);
}

TEST(Render, LargerOutputScalesTheCircles) {
    Scene s;
    s.doc.logo.reset();
    ASSERT_EQ(generate_shaped_image(s.doc, s.host, 400, 300), 0);
    EXPECT_EQ(s.at(130, 150), (std::array<int, 3>{127, 127, 127}));  // 30 px from the centre at 100, 150
    EXPECT_EQ(s.at(100, 150), (std::array<int, 3>{170, 255, 0}));
    EXPECT_EQ(s.at(200, 150), (std::array<int, 3>{0x40, 0x20, 0x10}));
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

TEST(Render, OneLayerAloneForLayeredExport) {
    Scene s;
    UBUFFER buf;
    buf.allocate(200, 150, 4);
    EXPECT_EQ(render_layer(s.doc, s.host, buf, 1), 0);
    EXPECT_EQ(buf.at(100, 75, 3), 0);  // transparent around the shapes
    EXPECT_EQ(buf.at(50, 75, 1), 255);
    EXPECT_EQ(render_layer(s.doc, s.host, buf, 0), 0);
    EXPECT_EQ(buf.at(100, 75, 0), 0x40);  // the first layer lies on the background
    EXPECT_EQ(buf.at(65, 75, 0), 127);
    EXPECT_EQ(render_layer(s.doc, s.host, buf, 4), 1);  // empty
}

TEST(Render, LogoChoiceKeepsThePreviousLogoWhenAFileFails) {
    test::RecordingHost host;
    Document doc(host);
    const std::string dir = test::temp_dir("logo-choice");
    ASSERT_EQ(choose_logo(doc, host, {true, "Logo", "Courier New", "", 300}), 0);
    ASSERT_TRUE(doc.logo);
    EXPECT_EQ(doc.logo_transparency, 255);
    const int width = doc.logo.width();
    std::FILE* f = std::fopen((dir + "/bad.png").c_str(), "wb");
    std::fputs("not a picture", f);
    std::fclose(f);
    EXPECT_EQ(choose_logo(doc, host, {false, "", "", dir + "/bad.png", 3}), -1);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Failed to read logo image"});
    EXPECT_EQ(doc.logo.width(), width);
    EXPECT_EQ(doc.logo_transparency, 255);
}

}  // namespace
}  // namespace velq
