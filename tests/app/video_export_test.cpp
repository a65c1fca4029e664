#include <string>

#include <gtest/gtest.h>

#include "app/document_animation.h"
#include "app/drawing_op.h"
#include "app/frame_psd.h"
#include "app/frame_render.h"
#include "app/render_op.h"
#include "image/picture_reader.h"
#include "render/logo.h"
#include "support/circles.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/tools.h"

namespace velq {
namespace {

// A 160 x 120 picture packed with 48 touching circles of varied colours; layers 0, 1 and 2 hold the
// default disc, each animated in its own way.
struct Animated {
    test::RecordingHost host;
    Document doc{host};

    Animated() {
        doc.seeds.fix(5);  // every drawing of the animation gets the same sparkle
        doc.working.allocate(160, 120, 4);
        for (int j = 0; j < 6; ++j)
            for (int i = 0; i < 8; ++i)
                doc.circles.push_back(test::circle(
                    (10 + i * 20) / 160.0, (10 + j * 20) / 120.0, 10.2,
                    ColourRecord{double(i * 30), double(j * 40), double(255 - i * 20), 255, 0, true}));
        doc.background = pack_colorref(0x10, 0x20, 0x40);
        doc.settings.out_width = 160, doc.settings.out_height = 120, doc.settings.global_brightness = 9;
        doc.layers[2] = Layer(host, true);
        doc.layers[1].palette = 7;
        doc.layers[2].set_size(60);
        doc.layers[2].set_transparency(150);
        set(1, 2 /* Sparkle */, 1 /* Random */, 0.5, 1.5, 0.6);
        set(2, 5 /* Firefly */, 3 /* Circular in */, 0.0, 0.8, 0.5);
        set(0, 0, 0, 0.0, 1.0, 1.0);
    }

    void set(int layer, int motion, int scan, double start, double spread, double move) {
        AnimationSettings& a = doc.layers[layer].anim;
        a.motion = motion, a.scan = scan, a.timestamp = start, a.duration = spread, a.motion_time = move;
    }

    // The duration these settings give: layer 1 ends last, at 0.5 + 1.5 * 47 / 48 + 0.6.
    static double expected_duration() { return 0.5 + 1.5 * 47.0 / 48.0 + 0.6; }
};

// Before any other layer starts, a frame is the picture the animation starts from: the first layer at
// rest (painted, never animated, although its Basic growth would still be running), or a drawing that
// replaced the render.
TEST(FrameRender, BeforeAnyLayerStartsAFrameIsTheStartingPicture) {
    for (const bool drawing : {false, true}) {
        SCOPED_TRACE(drawing ? "after a drawing" : "the first layer at rest");
        Animated a;
        a.set(0, 0, 0, 0.0, 4.0, 3.0);  // would grow over seven seconds if it moved
        a.set(2, 5, 3, 0.3, 0.8, 0.5);
        if (drawing) {
            ASSERT_EQ(generate_shaped_image(a.doc, a.host, 160, 120), 0);
            ASSERT_EQ(make_drawing(a.doc, a.host, Drawing{DrawingKind::PebbleCells}), 0);
        }
        ASSERT_EQ(render_frame_at(a.doc, a.host, 160, 120, 0.2), 0);
        if (!drawing) {
            for (std::size_t i = 1; i < a.doc.layers.size(); ++i) a.doc.layers[i].shown = false;
            ASSERT_EQ(generate_shaped_image(a.doc, a.host, 160, 120), 0);  // the first layer's still render
        }
        EXPECT_TRUE(test::same_bytes(a.doc.frame_buffer, a.doc.render_buffer));
    }
}

// Export frame to PSD: the merged picture is the frame; the layers (background, the first layer,
// each animated layer drawn alone, the logo) flattened by ImageMagick give the frame back, mid-way
// with Sparkle's glow over other shapes and Firefly's moving quads, and at the end.
TEST(FramePsd, TheLayersStackBackToTheFrame) {
    if (!test::have_tool("convert")) GTEST_SKIP() << "ImageMagick missing";
    const std::string dir = test::temp_dir("frame-psd");
    for (const double t : {1.0, Animated::expected_duration()}) {
        Animated a;
        if (t == 1.0) a.doc.logo = test::flat_picture(40, 20, 0x80FFFFFF);
        const std::string psd = dir + "/frame.psd", flat = dir + "/flat.png";
        ASSERT_EQ(export_frame_psd(a.doc, a.host, psd, 160, 120, t), 0) << t;
        EXPECT_TRUE(a.host.messages().empty());
        const PictureRead merged = read_picture(psd);
        ASSERT_TRUE(merged);
        EXPECT_TRUE(test::same_bytes(merged.picture, a.doc.frame_buffer)) << t;
        EXPECT_EQ(test::run_tool("identify -format '%l|' " + test::quoted(psd)),
                  t == 1.0 ? "|Background|Ly0|Ly1|Ly2|Logo|" : "|Background|Ly0|Ly1|Ly2|");
        ASSERT_EQ(test::run_tool("convert " + test::quoted(psd + "[1-5]") + " -layers flatten " +
                                 test::quoted(flat) + " && echo ok"),
                  "ok");
        const PictureRead stacked = read_picture(flat);
        ASSERT_TRUE(stacked);
        int worst = 0;
        for (int y = 0; y < 120; ++y)
            for (int x = 0; x < 160; ++x)
                for (int c = 0; c < 3; ++c)
                    worst = std::max(worst,
                                     std::abs(stacked.picture.at(x, y, c) - a.doc.frame_buffer.at(x, y, c)));
        EXPECT_LE(worst, 2) << t;
    }
}

TEST(FrameRender, TimestampsOutsideTheAnimationAreRefused) {
    Animated a;
    char expected[96];
    std::snprintf(expected, sizeof expected, "Invalid timestamp (must be between 0.0 and %f",
                  Animated::expected_duration());
    EXPECT_EQ(render_frame_at(a.doc, a.host, 160, 120, -0.01), -1);
    EXPECT_EQ(render_frame_at(a.doc, a.host, 160, 120, Animated::expected_duration() + 0.01), -1);
    EXPECT_EQ(a.host.messages(), (std::vector<std::string>{expected, expected}));
}

// Frame after frame through the renderer's painter, with shapes settling in every frame and the
// logo bouncing over them: every frame is the frame without the logo with the logo drawn on it (the
// logo never stays behind, also over frames where nothing moves), and the last equals the still render.
// A frame rendered alone at a time is the video's frame then, logo and all.
TEST(VideoExport, FramesOneAfterAnotherCarryTheLogoOnlyWhereItIsNow) {
    Animated a;
    ASSERT_EQ(generate_shaped_image(a.doc, a.host, 160, 120), 0);
    Animated plain;
    a.doc.logo = test::flat_picture(40, 20, 0xFF30C0F0);
    a.doc.logo_transparency = 200;
    DocumentAnimation with_logo(a.doc, a.host), without(plain.doc, plain.host);
    ASSERT_EQ(with_logo.prepare(160, 120, ""), 0);
    ASSERT_EQ(without.prepare(160, 120, ""), 0);
    LogoBounce bounce;
    int n = 0;
    for (double t = 0; Animated::expected_duration() + 0.5 >= t; t = double(++n) / 30) {
        const UBUFFER* shown = with_logo.frame(t, bounce.a, bounce.b);
        const UBUFFER* bare = without.frame(t, 0, 0);
        ASSERT_TRUE(shown && bare);
        UBUFFER expected = bare->clone();
        ASSERT_EQ(render_logo(a.host, expected, a.doc.logo, a.doc.logo_transparency, bounce.a, bounce.b), 0);
        ASSERT_TRUE(test::same_bytes(*shown, expected)) << "frame " << n;
        if (n == 30) {
            ASSERT_EQ(render_frame_at(a.doc, a.host, 160, 120, t), 0);
            EXPECT_TRUE(test::same_bytes(a.doc.frame_buffer, expected));
        }
        bounce.advance();
    }
    EXPECT_TRUE(
        test::same_bytes(*without.frame(Animated::expected_duration() + 0.5, 0, 0), a.doc.render_buffer));
    ASSERT_EQ(render_frame_at(plain.doc, plain.host, 160, 120, Animated::expected_duration()), 0);
    EXPECT_TRUE(test::same_bytes(plain.doc.frame_buffer, a.doc.render_buffer));
    EXPECT_TRUE(a.host.messages().empty() && plain.host.messages().empty());
}

}  // namespace
}  // namespace velq
