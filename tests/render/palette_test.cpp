#include <gtest/gtest.h>

#include "render/palette.h"

namespace velq {
namespace {

ColourRecord rgb(double r, double g, double b) {
    return ColourRecord{r, g, b, 255, 0, true};
}

TEST(Palettes, GradientEntriesTruncateAndStopShortOfTheLastKey) {
    const auto p = make_palettes();
    struct Case {
        int palette;
        std::size_t entry;
        ColourRecord expected;
    } cases[] = {
        {7, 0, rgb(0, 255, 170)},  // "Neon Cyber" starts on its first key
        {7, 1, rgb(0, 239, 168)},  // a fifth of the way to 00B3A1: 239.8 and 168.2
        {7, 5, rgb(0, 0xB3, 0xA1)},
        // "Sorbet Sky": 4/5 of the way from CCB9AC to D4266D: 210.4, 67.4, 121.4
        {10, 24, rgb(210, 67, 121)},
        {1, 19, rgb(194, 187, 179)},  // 4/5 from EDDCCC to B8B3AD: 194.6, 187.2, 179.2
    };
    for (const Case& k : cases) {
        const ColourRecord& e = p[k.palette].entries[k.entry];
        EXPECT_EQ(e, k.expected) << p[k.palette].name << " entry " << k.entry << ": " << e.c0 << "," << e.c1
                                 << "," << e.c2;
    }
    // The last key colour never appears.
    for (std::size_t i = 1; i < p.size(); ++i)
        for (const ColourRecord& e : p[i].entries) EXPECT_FALSE(e == p[i].keys.back()) << p[i].name;
}

TEST(Palettes, MapColourTakesTheFirstNearestEntry) {
    const auto p = make_palettes();
    Palette two("two", false, {0x000000, 0x0A0A0A});  // entries 0, 2, 4, 6, 8 in every channel
    struct Case {
        const Palette* palette;
        ColourRecord in, out;
    } cases[] = {
        {&p[0], ColourRecord{12, 200, 99, 17, 3, false}, ColourRecord{12, 200, 99, 17, 3, false}},
        {&two, rgb(3, 3, 3), rgb(2, 2, 2)},  // 2 and 4 are equally near: the first wins
        {&two, rgb(7, 7, 7), rgb(6, 6, 6)},
        {&two, rgb(250, 0, 0), rgb(8, 8, 8)},
        {&p[7], rgb(0, 250, 170), rgb(0, 255, 170)},
    };
    for (const Case& k : cases) {
        const ColourRecord got = map_colour(*k.palette, k.in);
        EXPECT_EQ(got, k.out) << k.palette->name << " " << k.in.c0;
    }
}

TEST(Palettes, ToHslScalesHueSaturationLightness) {
    struct Case {
        ColourRecord in;
        double h, s, l;
    } cases[] = {
        {rgb(128, 128, 128), 0, 0, 128},
        {rgb(255, 0, 0), 0, 255, 127.5},
        {rgb(0, 255, 0), 255.0 / 3, 255, 127.5},
        {rgb(0, 0, 255), 255.0 * 2 / 3, 255, 127.5},
        {rgb(255, 0, 255), 255.0 * 5 / 6, 255, 127.5},  // red is the maximum: (g - b) / d + 6
        {rgb(255, 255, 204), 255.0 / 6, 255, 229.5},    // lightness above one half
    };
    for (const Case& k : cases) {
        ColourRecord c = k.in;
        to_hsl(c);
        SCOPED_TRACE(testing::Message() << k.in.c0 << "," << k.in.c1 << "," << k.in.c2);
        EXPECT_NEAR(c.c0, k.h, 1e-9);
        EXPECT_NEAR(c.c1, k.s, 1e-9);
        EXPECT_EQ(c.c2, k.l);
    }
}

TEST(Palettes, PreviewPictures) {
    const auto p = make_palettes();
    const UBUFFER bright = palette_preview(p[0]);
    ASSERT_EQ(bright.width(), 200);
    // Row 0 has no saturation: mid grey across. Column 0 at full saturation is red (hue 0).
    EXPECT_EQ(bright.at(150, 0, 2), 128);
    EXPECT_EQ(bright.at(0, 199, 2), 254);
    EXPECT_LT(bright.at(0, 199, 1), 3);
    // Hue a third of the way round is green.
    EXPECT_GT(bright.at(67, 199, 1), 250);

    const UBUFFER neon = palette_preview(p[7]);  // five keys: one step per column
    EXPECT_EQ(neon.at(0, 10, 0), 170);           // 00FFAA
    EXPECT_EQ(neon.at(50, 10, 1), 0xB3);         // the second key at a quarter
    EXPECT_EQ(neon.at(50, 199, 0), 0xA1);
    EXPECT_EQ(neon.at(199, 0, 0), 62);  // 49/50 of the way from 005B80 to 001F3D
}

}  // namespace
}  // namespace velq
