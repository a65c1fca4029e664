#include <gtest/gtest.h>

#include "app/units.h"

namespace velq {
namespace {

TEST(Units, PixelsOfALengthTruncate) {
    struct Case {
        double v;
        Unit u;
        int dpi, px;
    } cases[] = {
        {100.9, Unit::Pixel, 96, 100}, {2.5, Unit::Inch, 96, 240},      {2.54, Unit::Cm, 300, 300},
        {1.0, Unit::Cm, 72, 28},       {0.0254, Unit::Meter, 150, 150}, {1e12, Unit::Inch, 300, 2147483647},
    };
    for (const Case& k : cases) EXPECT_EQ(to_pixels(k.v, k.u, k.dpi), k.px) << k.v;
}

TEST(Units, WidthKeepsThePictureAspectAndWritesHeightInTheUnitsFormat) {
    Settings s;
    s.dpi = 100;
    ASSERT_TRUE(set_width_field(s, 400, 300, 200));
    EXPECT_EQ(std::pair(s.out_width, s.out_height), std::pair(200, 150));
    EXPECT_EQ(format_size(s.hgt, s.unit), "150");
    EXPECT_FALSE(set_width_field(s, 400, 300, 200)) << "an unchanged value is ignored";

    s.unit = Unit::Inch;
    ASSERT_TRUE(set_width_field(s, 400, 300, 3.0));
    EXPECT_EQ(std::pair(s.out_width, s.out_height), std::pair(300, 225));
    EXPECT_EQ(format_size(s.hgt, s.unit), "2.2500");

    ASSERT_TRUE(set_height_field(s, 400, 300, 1.5));
    EXPECT_EQ(std::pair(s.out_width, s.out_height), std::pair(200, 150));
}

}  // namespace
}  // namespace velq
