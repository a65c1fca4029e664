// The packer's shortcuts must answer exactly as the plain formulas they stand in for: the float box
// test of the edge grid against the double one, the float steps against std::nextafter, and the
// corner-side test against the angle worked out with atan2 and pi taken as 3.141592. A single
// different answer would change which circles are packed.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "transform/cell_grid.h"
#include "transform/corner.h"

namespace velq {
namespace {

using pack::Box;
using pack::FloatQuery;
using pack::GridEntry;
using pack::Vec2;

TEST(PackShortcuts, FloatStepsAreNextafter) {
    using L = std::numeric_limits<float>;
    const float inf = L::infinity();
    const float cases[] = {
        0.0f,     -0.0f,    1.0f,      -1.0f, 3.5e-3f, -2195.75f, L::denorm_min(), -L::denorm_min(),
        L::min(), L::max(), -L::max(), inf,   -inf};
    for (const float f : cases) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(pack::float_below(f)),
                  std::bit_cast<std::uint32_t>(std::nextafter(f, -inf)))
            << f;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(pack::float_above(f)),
                  std::bit_cast<std::uint32_t>(std::nextafter(f, inf)))
            << f;
    }
}

TEST(PackShortcuts, FloatQueryMeetsAsTheDoubleBoxTest) {
    // Entry boxes and query boxes whose sides fall on, just beside and between float values.
    const double one_up = std::nextafter(1.0, 2.0), one_down = std::nextafter(1.0, 0.0);
    const float f1 = 1.0f, f1_up = std::nextafter(f1, 2.0f);
    const double between = (double(f1) + double(f1_up)) / 2;  // no float
    const std::vector<Box> entries = {
        {0.0, 0.0, 1.0, 1.0},     {1.0, 1.0, 2.0, 2.0},        {-3.25, 0.5, -1.0, 0.75},
        {between, 0.0, 5.0, 1.0}, {0.1, 0.2, 0.30000001, 0.4}, {1e-30, -1e-30, 2e-30, 1e-30},
    };
    const std::vector<double> sides = {-1.0,   0.0,     0.1,     0.30000001, 0.3, one_down, 1.0,
                                       one_up, between, 1.0e-30, 2.0e-30,    2.0, -3.25,    5.0};
    int checked = 0, met = 0;
    for (const Box& eb : entries) {
        const GridEntry e = GridEntry::make(0, 0, eb);
        // Also the entry's own (float) sides exactly, and the doubles right beside them.
        std::vector<double> xs = sides, ys = {-1.0, 0.0, 0.4, one_up, 0.5, 1.0, 2.0};
        for (const float f : {e.x0, e.x1})
            xs.insert(xs.end(), {f, std::nextafter(double(f), -1e9), std::nextafter(double(f), 1e9)});
        for (const float f : {e.y0, e.y1})
            ys.insert(ys.end(), {f, std::nextafter(double(f), -1e9), std::nextafter(double(f), 1e9)});
        for (const double x0 : xs)
            for (const double x1 : xs) {
                if (x1 < x0) continue;
                for (const double y0 : ys)
                    for (const double y1 : ys) {
                        if (y1 < y0) continue;
                        const Box q{x0, y0, x1, y1};
                        const bool meets = FloatQuery(q).meets(e);
                        EXPECT_EQ(meets, e.meets(q)) << x0 << " " << y0 << " " << x1 << " " << y1;
                        ++checked;
                        met += meets;
                    }
            }
    }
    EXPECT_GT(met, 0);
    EXPECT_LT(met, checked);
}

// The corner's side the long way, as the angle in degrees.
bool reflex_by_angle(Vec2 u1, Vec2 u2) {
    double degrees = std::atan2(pack::cross(u2, u1), pack::dot(u1, u2)) * 180.0 / pack::kPi;
    if (degrees < 0) degrees += 360.0;
    return !(degrees * 0.5 * pack::kPi / 180.0 < pack::kHalfPi);
}

TEST(PackShortcuts, CornerSideAsTheAngle) {
    // Turns all round, and close to a straight angle on both sides of pi and of 3.141592, where the
    // shortened pi decides; each at several orientations.
    std::vector<double> turns;
    for (int i = 0; i < 720; ++i) turns.push_back(2 * M_PI * i / 720);
    for (const double centre : {M_PI, -M_PI, pack::kPi, -pack::kPi, 0.0})
        for (const double d : {0.0, 1e-12, 1e-9, 3e-7, 6e-7, 7e-7, 1e-6, 9e-6, 1e-5, 1.1e-5, 1e-4}) {
            turns.push_back(centre + d);
            turns.push_back(centre - d);
        }
    int reflex = 0, checked = 0;
    for (const double base : {0.0, 0.3, 1.9, -2.5}) {
        for (const double turn : turns) {
            const Vec2 u1{std::cos(base), std::sin(base)};
            const Vec2 u2{std::cos(base + turn), std::sin(base + turn)};
            const bool expected = reflex_by_angle(u1, u2);
            EXPECT_EQ(pack::is_reflex(u1, u2), expected) << "base " << base << " turn " << turn;
            reflex += expected;
            ++checked;
        }
    }
    EXPECT_GT(reflex, checked / 4);
    EXPECT_LT(reflex, 3 * checked / 4);
}

}  // namespace
}  // namespace velq
