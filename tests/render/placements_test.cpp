#include <gtest/gtest.h>

#include "render/renderer.h"
#include "support/recording_host.h"

namespace velq {
namespace {

ColourRecord rgb(double r, double g, double b) {
    return ColourRecord{r, g, b, 255, 0, true};
}

Circle circle(double x, double y, double r, ColourRecord own) {
    Circle c;
    c.x = x, c.y = y, c.radius = r, c.own = own;
    return c;
}

struct Fixture {
    test::RecordingHost host;
    std::vector<Palette> palettes = make_palettes();
    Layer layer{host, false};
    Random random{1};
    std::vector<Segment> none;

    Fixture() {
        for (int i = 0; i < 2; ++i) layer.shapes.push_back(std::make_unique<SHAPE>(host));
        layer.rewind();
    }
};

TEST(MakePlacements, FreeCirclesGeometryShapesAndColours) {
    Fixture f;
    f.layer.size = 150;
    f.layer.transparency = 99;
    std::vector<Segment> none;
    const std::vector<Circle> circles = {circle(0.5, 0.25, 4, rgb(12, 200, 99)),
                                         circle(0.1, 1.0, 2, rgb(1, 2, 3)),
                                         circle(0.0, 0.0, 1, rgb(9, 9, 9))};
    const auto p = make_placements(f.host, f.layer, f.palettes, none, circles, 200, 100, 2.0, f.random);
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p[0].x, 100.0);
    EXPECT_EQ(p[0].y, 25.0);
    EXPECT_EQ(p[0].radius, 4 * 2.0 * 150 / 100);  // output scale, then the size percent
    EXPECT_EQ(p[0].initial.radius, 8.0);          // the initial state is taken before the size
    EXPECT_EQ(p[1].y, 100.0);
    EXPECT_EQ(p[0].transparency, 99);
    EXPECT_EQ(p[0].paint, rgb(12, 200, 99));  // "Bright" passes the circle's colour through
    // The shape cursor starts on the first shape and steps once per circle.
    EXPECT_EQ(p[0].shape, f.layer.shapes[0].get());
    EXPECT_EQ(p[1].shape, f.layer.shapes[1].get());
    EXPECT_EQ(p[2].shape, f.layer.shapes[0].get());
}

TEST(MakePlacements, ColourOptionsInTheirOrder) {
    struct Case {
        const char* what;
        int palette;
        bool random, shuffle, invert, convert;
        ColourRecord in, out;
    } cases[] = {
        {"none", 0, false, false, false, false, rgb(12, 200, 99), rgb(12, 200, 99)},
        {"shuffle", 0, false, true, false, false, rgb(12, 200, 99), rgb(99, 12, 200)},
        {"invert", 0, false, false, true, false, rgb(12, 200, 99), rgb(243, 55, 156)},
        {"shuffle then invert", 0, false, true, true, false, rgb(12, 200, 99), rgb(156, 243, 55)},
        {"convert grey", 0, false, false, false, true, rgb(128, 128, 128), rgb(0, 0, 128)},
        {"invert then convert", 0, false, false, true, true, rgb(127, 127, 127), rgb(0, 0, 128)},
        {"palette first", 7, false, false, true, false, rgb(0, 250, 170), rgb(255, 0, 85)},
        {"random is not offered for free circles", 0, true, false, false, false, rgb(1, 2, 3), rgb(1, 2, 3)},
    };
    for (const Case& k : cases) {
        Fixture f;
        f.layer.palette = k.palette;
        f.layer.random = k.random, f.layer.shuffle = k.shuffle, f.layer.invert = k.invert,
        f.layer.convert = k.convert;
        const auto p = make_placements(f.host, f.layer, f.palettes, f.none,
                                       std::vector{circle(0.5, 0.5, 1, k.in)}, 10, 10, 1.0, f.random);
        ASSERT_EQ(p.size(), 1u);
        EXPECT_EQ(p[0].paint, k.out) << k.what;
    }
}

TEST(MakePlacements, SegmentsTakePrecedenceAndKeepTheirDisplayColour) {
    Fixture f;
    f.layer.palette = 7;  // "Neon Cyber"
    f.layer.random = true;
    std::vector<Segment> segs(3);
    segs[0].colour = rgb(0, 250, 170);
    segs[0].circles = {circle(0.5, 0.5, 1, rgb(1, 1, 1)), circle(0.2, 0.2, 1, rgb(1, 1, 1))};
    segs[1].enabled = false;
    segs[1].circles = {circle(0.3, 0.3, 1, rgb(1, 1, 1))};
    segs[2].colour = rgb(0, 0, 0);
    segs[2].circles = {circle(0.7, 0.7, 1, rgb(1, 1, 1))};
    const std::vector<Circle> free_circles = {circle(0.9, 0.9, 1, rgb(5, 5, 5))};
    const auto p = make_placements(f.host, f.layer, f.palettes, segs, free_circles, 10, 10, 1.0, f.random);
    ASSERT_EQ(p.size(), 3u);  // the disabled segment and the free list are skipped
    // Random draws blue, then green, then red, rand() * 255 / 32767, once per segment.
    Random r(1);
    const int b = r.next() * 255 / 32767, g = r.next() * 255 / 32767, red = r.next() * 255 / 32767;
    EXPECT_EQ(segs[0].display, (ColourRecord{double(red), double(g), double(b), 255, 0, true}));
    EXPECT_EQ(p[0].paint, segs[0].display);
    EXPECT_EQ(p[1].paint, segs[0].display);
    EXPECT_NE(p[2].paint, segs[0].display);
    EXPECT_EQ(p[2].x, 7.0);

    // Without the random option the display colour is the palette's nearest entry, every render anew.
    f.layer.random = false;
    make_placements(f.host, f.layer, f.palettes, segs, free_circles, 10, 10, 1.0, f.random);
    EXPECT_EQ(segs[0].display, rgb(0, 255, 170));
    EXPECT_EQ(segs[2].display, rgb(0, 43, 74));  // the darkest entry: 4/5 of the way to 001F3D
}

TEST(MakePlacements, HiddenLayerAndStopYieldNone) {
    Fixture f;
    std::vector<Segment> segs(1);
    segs[0].circles = {circle(0.5, 0.5, 1, rgb(1, 1, 1))};
    f.layer.shown = false;
    EXPECT_TRUE(make_placements(f.host, f.layer, f.palettes, segs, {}, 10, 10, 1.0, f.random).empty());
    f.layer.shown = true;
    f.host.stop = true;
    EXPECT_TRUE(make_placements(f.host, f.layer, f.palettes, segs, {}, 10, 10, 1.0, f.random).empty());
}

}  // namespace
}  // namespace velq
