#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "render/layer.h"
#include "render/palette.h"
#include "render/renderer.h"
#include "support/circles.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::circle;

TEST(Layer, EditsClampAndRetone) {
    test::RecordingHost host;
    // edit (Transparency, Size, Brightness), value, stored, whether it changed, mask and shade at the centre
    const std::tuple<char, int, int, bool, int, int> cases[] = {
        {'T', 400, 255, false, 255, 255}, {'T', -5, 0, true, 0, 255},       {'T', 128, 128, true, 128, 255},
        {'S', 350, 300, true, 255, 255},  {'S', -1, 0, true, 255, 255},     {'B', 1000, 1000, true, 255, 255},
        {'B', -3, 0, true, 255, 0},       {'B', 100, 100, false, 255, 255},
    };
    for (const auto& [edit, value, stored, changes, mask_at_centre, shade_at_centre] : cases) {
        SCOPED_TRACE(testing::Message() << edit << " " << value);
        Layer l(host, true);
        const bool changed = edit == 'T'   ? l.set_transparency(value)
                             : edit == 'S' ? l.set_size(value)
                                           : l.set_brightness(value);
        EXPECT_EQ(edit == 'T' ? l.transparency : edit == 'S' ? l.size : l.brightness, stored);
        EXPECT_EQ(changed, changes);
        EXPECT_EQ(l.shapes[0]->mask_plane.at(512, 512), mask_at_centre);
        EXPECT_EQ(l.shapes[0]->shade_plane.at(512, 512), shade_at_centre);
    }
    Layer hidden(host, false);
    hidden.shown = false;
    hidden.set_transparency(7);
    hidden.set_size(8);
    hidden.set_brightness(9);
    EXPECT_EQ(hidden.list_text(5), "Ly5 - Hidden T(7)-S(8)-B(9)");
}

// Reset gives the first two layers back their disc and the others nothing; set-as-default gives any
// layer the disc.
TEST(Layer, ResetAndSetAsDefault) {
    test::RecordingHost host;
    auto layers = make_default_layers(host);
    for (const int i : {1, 5}) {
        layers[i].shapes.push_back(std::make_unique<SHAPE>(host));
        layers[i].transparency = 3;
        reset_layer(host, layers, i);
        EXPECT_EQ(layers[i].shapes.size(), i < 2 ? 1u : 0u) << i;
        EXPECT_EQ(layers[i].transparency, 255);
    }
    set_layer_as_default(host, layers, 5);
    ASSERT_EQ(layers[5].shapes.size(), 1u);
    EXPECT_EQ(layers[5].current, layers[5].shapes[0].get());
}

TEST(Layer, ShapeCursorSteps) {
    test::RecordingHost host;
    auto walk = [&](int n, int steps, const std::function<void(Layer&)>& setup) {
        Layer l(host, false);
        for (int i = 0; i < n; ++i) {
            l.shapes.push_back(std::make_unique<SHAPE>(host));
            l.shapes.back()->character = std::uint16_t(u"abc"[i]);
        }
        setup(l);
        l.rewind();
        std::vector<int> seen;
        for (int i = 0; i < steps; ++i, l.next_shape()) {
            int idx = -1;
            for (std::size_t k = 0; k < l.shapes.size(); ++k)
                if (l.shapes[k].get() == l.current) idx = int(k);
            seen.push_back(idx);
        }
        return seen;
    };
    using V = std::vector<int>;
    EXPECT_EQ(walk(0, 2, [](Layer&) {}), (V{-1, -1}));
    EXPECT_EQ(walk(3, 7, [](Layer&) {}), (V{0, 1, 2, 0, 1, 2, 0}));
    EXPECT_EQ(walk(3, 4, [](Layer& l) { l.first_shape_only = true; }), (V{0, 0, 0, 0}));
    // The first circle takes the first shape; then the passage's characters from the second on, an
    // unknown one falling back to the first shape, and the passage wrapping round.
    EXPECT_EQ(walk(3, 6, [](Layer& l) { l.passage_mode = true, l.passage = u"xCbAc"; }),
              (V{0, 0, 1, 0, 2, 0}));

    Layer negative(host, false);
    for (int i = 0; i < 3; ++i) negative.shapes.push_back(std::make_unique<SHAPE>(host));
    negative.shape_cursor = -4;
    negative.next_shape();
    EXPECT_EQ(negative.current, negative.shapes[2].get());
}

ColourRecord rgb(double r, double g, double b) {
    return ColourRecord{r, g, b, 255, 0, true};
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

TEST(MakePlacements, FreeCirclesGeometryAndShapes) {
    Fixture f;
    f.layer.size = 150;
    f.layer.transparency = 99;
    const std::vector<Circle> circles = {circle(0.5, 0.25, 4, rgb(12, 200, 99)),
                                         circle(0.1, 1.0, 2, rgb(1, 2, 3)),
                                         circle(0.0, 0.0, 1, rgb(9, 9, 9))};
    const auto p = make_placements(f.host, f.layer, f.palettes, f.none, circles, 200, 100, 2.0, f.random);
    ASSERT_EQ(p.size(), 3u);
    // x and y scaled to the picture; the radius by the output scale, then by the size percent (the
    // initial state is taken before the size).
    EXPECT_EQ(std::tuple(p[0].x, p[0].y, p[0].radius, p[0].initial.radius, p[1].y, p[0].transparency),
              std::tuple(100.0, 25.0, 4 * 2.0 * 150 / 100, 8.0, 100.0, 99));
    // The shape cursor starts on the first shape and steps once per circle.
    const SHAPE* a = f.layer.shapes[0].get();
    EXPECT_EQ(std::vector({p[0].shape, p[1].shape, p[2].shape}),
              std::vector<const SHAPE*>({a, f.layer.shapes[1].get(), a}));
}

TEST(MakePlacements, ColourOptionsInTheirOrder) {
    // what, palette, random, shuffle, invert, convert, in, out
    const std::tuple<const char*, int, bool, bool, bool, bool, ColourRecord, ColourRecord> cases[] = {
        {"none", 0, false, false, false, false, rgb(12, 200, 99), rgb(12, 200, 99)},
        {"shuffle", 0, false, true, false, false, rgb(12, 200, 99), rgb(99, 12, 200)},
        {"invert", 0, false, false, true, false, rgb(12, 200, 99), rgb(243, 55, 156)},
        {"shuffle then invert", 0, false, true, true, false, rgb(12, 200, 99), rgb(156, 243, 55)},
        {"convert grey", 0, false, false, false, true, rgb(128, 128, 128), rgb(0, 0, 128)},
        {"invert then convert", 0, false, false, true, true, rgb(127, 127, 127), rgb(0, 0, 128)},
        {"palette first", 7, false, false, true, false, rgb(0, 250, 170), rgb(255, 0, 85)},
        {"random is not offered for free circles", 0, true, false, false, false, rgb(1, 2, 3), rgb(1, 2, 3)},
    };
    for (const auto& [what, palette, random, shuffle, invert, convert, in, out] : cases) {
        Fixture f;
        f.layer.palette = palette;
        f.layer.random = random, f.layer.shuffle = shuffle, f.layer.invert = invert,
        f.layer.convert = convert;
        const auto p = make_placements(f.host, f.layer, f.palettes, f.none,
                                       std::vector{circle(0.5, 0.5, 1, in)}, 10, 10, 1.0, f.random);
        ASSERT_EQ(p.size(), 1u);
        EXPECT_EQ(p[0].paint, out) << what;
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
    EXPECT_EQ(std::tuple(p[0].paint, p[1].paint, p[2].x), std::tuple(segs[0].display, segs[0].display, 7.0));
    EXPECT_NE(p[2].paint, segs[0].display);

    // Without the random option the display colour is the palette's nearest entry, every render anew.
    f.layer.random = false;
    make_placements(f.host, f.layer, f.palettes, segs, free_circles, 10, 10, 1.0, f.random);
    EXPECT_EQ(segs[0].display, rgb(0, 255, 170));
    EXPECT_EQ(segs[2].display, rgb(0, 43, 74));  // the darkest entry: 4/5 of the way to 001F3D
    // A hidden layer, or a stopped run, gives none.
    f.layer.shown = false;
    EXPECT_TRUE(make_placements(f.host, f.layer, f.palettes, segs, {}, 10, 10, 1.0, f.random).empty());
    f.layer.shown = true;
    f.host.stop = true;
    EXPECT_TRUE(make_placements(f.host, f.layer, f.palettes, segs, {}, 10, 10, 1.0, f.random).empty());
}

TEST(Palettes, GradientEntriesTruncateAndStopShortOfTheLastKey) {
    const auto p = make_palettes();
    const std::tuple<int, std::size_t, ColourRecord> cases[] = {
        {7, 0, rgb(0, 255, 170)},  // "Neon Cyber" starts on its first key
        {7, 1, rgb(0, 239, 168)},  // a fifth of the way to 00B3A1: 239.8 and 168.2
        {7, 5, rgb(0, 0xB3, 0xA1)},
        // "Sorbet Sky": 4/5 of the way from CCB9AC to D4266D: 210.4, 67.4, 121.4
        {10, 24, rgb(210, 67, 121)},
    };
    for (const auto& [palette, entry, expected] : cases)
        EXPECT_EQ(p[palette].entries[entry], expected) << p[palette].name << " entry " << entry;
    // The last key colour never appears.
    for (std::size_t i = 1; i < p.size(); ++i)
        for (const ColourRecord& e : p[i].entries) EXPECT_FALSE(e == p[i].keys.back()) << p[i].name;
}

TEST(Palettes, MapColourTakesTheFirstNearestEntry) {
    const auto p = make_palettes();
    Palette two("two", false, {0x000000, 0x0A0A0A});  // entries 0, 2, 4, 6, 8 in every channel
    const std::tuple<const Palette*, ColourRecord, ColourRecord> cases[] = {
        {&p[0], ColourRecord{12, 200, 99, 17, 3, false}, ColourRecord{12, 200, 99, 17, 3, false}},
        {&two, rgb(3, 3, 3), rgb(2, 2, 2)},  // 2 and 4 are equally near: the first wins
        {&two, rgb(250, 0, 0), rgb(8, 8, 8)},
    };
    for (const auto& [palette, in, out] : cases)
        EXPECT_EQ(map_colour(*palette, in), out) << palette->name << " " << in.c0;
}

TEST(Palettes, ToHslScalesHueSaturationLightness) {
    const std::tuple<ColourRecord, double, double, double> cases[] = {
        {rgb(128, 128, 128), 0, 0, 128},
        {rgb(255, 0, 0), 0, 255, 127.5},
        {rgb(0, 255, 0), 255.0 / 3, 255, 127.5},
        {rgb(0, 0, 255), 255.0 * 2 / 3, 255, 127.5},
        {rgb(255, 0, 255), 255.0 * 5 / 6, 255, 127.5},  // red is the maximum: (g - b) / d + 6
        {rgb(255, 255, 204), 255.0 / 6, 255, 229.5},    // lightness above one half
    };
    for (auto [c, h, s, l] : cases) {
        SCOPED_TRACE(testing::Message() << c.c0 << "," << c.c1 << "," << c.c2);
        to_hsl(c);
        EXPECT_NEAR(c.c0, h, 1e-9);
        EXPECT_NEAR(c.c1, s, 1e-9);
        EXPECT_EQ(c.c2, l);
    }
}

// "Bright" shows hue across and saturation down: row 0 mid grey, column 0 red at full saturation, a
// third of the way round green. "Neon Cyber" shows its five keys, one step per column: 00FFAA first,
// the second key at a quarter all the way down, 49/50 of the way from 005B80 to 001F3D last.
TEST(Palettes, PreviewPictures) {
    const auto p = make_palettes();
    const UBUFFER bright = palette_preview(p[0]), neon = palette_preview(p[7]);
    ASSERT_EQ(std::pair(bright.width(), neon.height()), std::pair(200, 200));
    // picture, x, y, channel, value
    const std::tuple<const UBUFFER*, int, int, int, int> cases[] = {
        {&bright, 150, 0, 2, 128}, {&bright, 0, 199, 2, 254}, {&neon, 0, 10, 0, 170},
        {&neon, 50, 10, 1, 0xB3},  {&neon, 50, 199, 0, 0xA1}, {&neon, 199, 0, 0, 62}};
    for (const auto& [picture, x, y, ch, value] : cases)
        EXPECT_EQ(picture->at(x, y, ch), value) << x << "," << y;
    EXPECT_LT(bright.at(0, 199, 1), 3);
    EXPECT_GT(bright.at(67, 199, 1), 250);
}

}  // namespace
}  // namespace velq
