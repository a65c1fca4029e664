#include <cmath>

#include <gtest/gtest.h>

#include "support/pictures.h"
#include "video/frame_scaler.h"

namespace velq {
namespace {

// The plain way, one output pixel at a time in doubles: the mean over the source area it covers
// when a side shrinks, the two nearest samples by distance when it grows.
double ref_axis_weight(int src, int dst, int i, int k) {
    const double s = double(src) / dst;
    if (src == dst) return i == k ? 1 : 0;
    if (src > dst) {
        const double lo = i * s, hi = std::min(double(src), (i + 1) * s);
        return std::max(0.0, std::min(hi, k + 1.0) - std::max(lo, double(k))) / (hi - lo);
    }
    const double x = std::clamp((i + 0.5) * s - 0.5, 0.0, double(src - 1));
    const int k0 = int(x);
    if (k == k0) return 1 - (x - k0);
    if (k == k0 + 1) return x - k0;
    return 0;
}

TEST(FrameScaler, MatchesThePlainAreaMeanAndInterpolation) {
    struct Case {
        int sw, sh, dw, dh;
    } cases[] = {{37, 29, 20, 15}, {64, 48, 64, 48}, {30, 20, 47, 33},
                 {50, 40, 17, 40}, {9, 7, 3, 11},    {5, 5, 1, 1}};
    for (const Case& c : cases) {
        const UBUFFER src = test::noise_picture(c.sw, c.sh, 42, false);
        UBUFFER dst;
        dst.allocate(c.dw, c.dh, 4);
        FrameScaler(c.sw, c.sh, c.dw, c.dh).scale(src, dst.data(), std::size_t(c.dw) * 4);
        int worst = 0;
        for (int y = 0; y < c.dh; ++y)
            for (int x = 0; x < c.dw; ++x)
                for (int ch = 0; ch < 4; ++ch) {
                    double v = 0;
                    for (int j = 0; j < c.sh; ++j) {
                        const double wy = ref_axis_weight(c.sh, c.dh, y, j);
                        if (wy == 0) continue;
                        for (int i = 0; i < c.sw; ++i)
                            v += wy * ref_axis_weight(c.sw, c.dw, x, i) * src.at(i, j, ch);
                    }
                    worst = std::max(worst, std::abs(int(dst.at(x, y, ch)) - int(std::floor(v + 0.5))));
                }
        // Floats against doubles: a rounding apart at most; same sizes copy exactly.
        EXPECT_LE(worst, (c.sw == c.dw && c.sh == c.dh) ? 0 : 1)
            << c.sw << "x" << c.sh << " -> " << c.dw << "x" << c.dh;
    }
}

TEST(FrameScaler, WritesIntoARectangleOfALargerFrame) {
    const UBUFFER src = test::flat_picture(40, 40, 0xFF808080);
    UBUFFER frame = test::flat_picture(64, 48, 0);
    FrameScaler(40, 40, 20, 20).scale(src, &frame.at(10, 5), std::size_t(64) * 4);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            const bool inside = x >= 10 && x < 30 && y >= 5 && y < 25;
            ASSERT_EQ(frame.at(x, y, 1), inside ? 0x80 : 0) << x << "," << y;
        }
}

}  // namespace
}  // namespace velq
