#include "app/view.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

TEST(ViewRectArithmetic, ResetViewCentresThePictureKeepingItsAspect) {
    struct Case {
        int cw, ch, pw, ph;
        ViewRect expected;
    };
    const Case cases[] = {
        {800, 600, 400, 200, {0, 100, 800, 500}},  // wider picture: full width
        {800, 600, 300, 600, {250, 0, 550, 600}},  // taller picture: full height
        {640, 480, 640, 480, {0, 0, 640, 480}},    // same aspect: the height branch, no margin
        {800, 600, 0, 0, {0, 0, 800, 600}},        // no picture
    };
    for (const Case& c : cases)
        EXPECT_EQ(reset_view(c.cw, c.ch, c.pw, c.ph), c.expected)
            << c.cw << "x" << c.ch << " " << c.pw << "x" << c.ph;
}

TEST(ViewRectArithmetic, WheelZoomsAboutTheCursorUnlessTheStepIsBelowOnePercentOfTheControl) {
    // One notch in at the centre of a 400 x 200 picture fitted into 800 x 600.
    EXPECT_EQ(wheel_zoom({0, 100, 800, 500}, 120, 400, 300, 800, 600, 400, 200),
              (ViewRect{-120, 40, 920, 560}));
    // Out again off centre: the point under the cursor stays (within truncation).
    EXPECT_EQ(wheel_zoom({0, 100, 800, 500}, -120, 200, 200, 800, 600, 400, 200),
              (ViewRect{60, 130, 620, 410}));
    // 12 x 9 view of a 4:3 picture in an 800 x 600 control: the floor is 8 x 6.
    const ViewRect small{100, 100, 112, 109};
    const std::pair<int, bool> cases[] = {{-1, true}, {-2, true}, {-3, false}, {-100, false}, {50, true}};
    for (const auto& [delta, accepted] : cases)
        EXPECT_EQ(wheel_zoom(small, delta, 106, 104, 800, 600, 400, 300).has_value(), accepted) << delta;
    EXPECT_EQ(wheel_zoom(small, -2, 106, 104, 800, 600, 400, 300), (ViewRect{102, 101, 110, 107}));
    // A degenerate rectangle never divides by zero.
    EXPECT_FALSE(wheel_zoom({5, 5, 5, 5}, 120, 0, 0, 800, 600, 400, 300));
}

TEST(ViewRectArithmetic, DragMovesEveryEdgeByTheTruncatedDifference) {
    ViewState s;
    s.rect = {10, 20, 110, 220};
    s.anchor_x = s.anchor_y = 10;
    drag_to(s, 15.7, 10.0);  // not dragging: nothing
    EXPECT_EQ(s.rect, (ViewRect{10, 20, 110, 220}));
    s.dragging = true;
    drag_to(s, 15.7, 7.2);
    EXPECT_EQ(s.rect, (ViewRect{15, 18, 115, 218}));
    EXPECT_DOUBLE_EQ(s.anchor_y, 7.2);
}

TEST(ViewPicking, ControlPositionsMapToPicturePixels) {
    const ViewRect r{0, 100, 800, 500};
    struct Case {
        double x, y;
        std::optional<PixelPos> expected;
    };
    const Case cases[] = {
        {100, 150, PixelPos{0, 0}}, {799.9, 499.9, PixelPos{3, 1}}, {400, 300, PixelPos{2, 1}},
        {800, 300, std::nullopt},   {-0.5, 300, std::nullopt},      {300, 99, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(control_to_pixel(r, c.x, c.y, 4, 2), c.expected) << c.x << "," << c.y;
    const ControlPoint p = pixel_to_control(r, 2, 1, 4, 2);
    EXPECT_EQ(std::pair(p.x, p.y), std::pair(400.0, 300.0));
}

TEST(ViewPicking, DoubleClickCannotPickTheLastSegmentWhileHoveringCan) {
    IBUFFER labels;
    ASSERT_TRUE(labels.allocate(4, 1, 1));
    for (int x = 0; x < 4; ++x) labels.at(x, 0) = std::uint32_t(x);
    const ViewRect r{0, 0, 400, 100};
    struct Case {
        double x;
        int hover;
        int selected;
        bool picked;
    };
    const Case cases[] = {
        {50, -1, 0, false},  // label 0: nothing, but the raw label is kept
        {150, 0, 0, true},   // label 1
        {250, 1, 1, true},   // label 2
        {350, 2, 3, false},  // label 3 = the segment count: hover yes, double click no
    };
    for (const Case& c : cases) {
        EXPECT_EQ(hover_pick(r, c.x, 50, labels, 3), c.hover) << c.x;
        const DoubleClickPick d = double_click_pick(r, c.x, 50, labels, 3);
        EXPECT_EQ(d.selected_segment, c.selected) << c.x;
        EXPECT_EQ(d.picked, c.picked) << c.x;
    }
    EXPECT_FALSE(double_click_pick(r, 450, 50, labels, 3).inside);
    EXPECT_EQ(hover_pick(r, 450, 50, labels, 3), -1);
}

class ComposeView : public ::testing::Test {
protected:
    test::RecordingHost host;
    Document doc{host};

    void SetUp() override {
        doc.source = test::make_picture(
            2, 2, [](int x, int y) { return 0xFF000000u | ((x ? 0xC8C8C8u : 0x101010u) + y); });
        ASSERT_TRUE(doc.working.allocate(4, 4, 4));
        doc.picture_loaded = true;
    }
};

TEST_F(ComposeView, SourceIsScaledByNearestNeighbourAndFilteredBlendedByAlpha) {
    doc.selected_layer = 0;  // no layer colours the view
    ASSERT_TRUE(compose_view(doc));
    ASSERT_EQ(doc.view.width(), 4);
    EXPECT_EQ(doc.view.at(1, 1, 0), 0x10);  // source (0, 0)
    EXPECT_EQ(doc.view.at(2, 3, 0), 0xC9);  // source (1, 1): blue 0xC8 + 1

    doc.filtered = test::flat_picture(4, 4, 0x80646464u);  // grey 100 at alpha 128
    ASSERT_TRUE(compose_view(doc));
    EXPECT_EQ(doc.view.at(2, 0, 1), (100 * 128 + 200 * 127) / 255);  // 149
    EXPECT_EQ(doc.view.at(0, 0, 1), (100 * 128 + 16 * 127) / 255);

    doc.toggles.filtered = doc.toggles.original = false;
    ASSERT_TRUE(compose_view(doc));
    EXPECT_EQ(doc.view.at(2, 0, 1), 0);
    EXPECT_EQ(doc.view.at(2, 0, 3), 255);
}

TEST_F(ComposeView, ActiveLayerPaletteColoursTheViewUntilTransformed) {
    doc.filtered = test::flat_picture(4, 4, 0xFF02FCABu);  // near Neon Cyber's first entry (0, 255, 170)
    doc.selected_layer = 1;
    doc.layers[1].palette = 7;
    ASSERT_TRUE(compose_view(doc));
    const auto rgb = [&] {
        return std::tuple(doc.view.at(0, 0, 2), doc.view.at(0, 0, 1), doc.view.at(0, 0, 0));
    };
    EXPECT_EQ(rgb(), std::tuple(0, 255, 170));

    doc.layers[1].invert = true;
    ASSERT_TRUE(compose_view(doc));
    EXPECT_EQ(rgb(), std::tuple(255, 0, 85));

    doc.transformed = true;  // after a transform the view shows the picture's own colours
    ASSERT_TRUE(compose_view(doc));
    EXPECT_EQ(rgb(), std::tuple(2, 252, 171));

    doc.transformed = false;
    doc.layers[1].shown = false;  // a hidden layer colours nothing
    EXPECT_EQ(active_layer(doc), -1);
}

TEST_F(ComposeView, FinalResultShowsTheRenderOnlyWhenOneExists) {
    ASSERT_TRUE(compose_view(doc));
    doc.render_buffer = test::flat_picture(8, 8, 0xFF0000FFu);
    EXPECT_EQ(view_source(doc), ViewSource::Composed);  // not rendered yet
    doc.rendered = true;
    EXPECT_EQ(view_source(doc), ViewSource::Render);
    doc.toggles.final_result = false;
    EXPECT_EQ(view_source(doc), ViewSource::Composed);
}

}  // namespace
}  // namespace velq
