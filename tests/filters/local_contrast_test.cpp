#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "filters/local_contrast.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::same_bytes;

// The operator written out plainly: the mean of box (x0, x1] x (y0, y1] summed pixel by pixel.
UBUFFER plain_local_contrast(const UBUFFER& in, double k, ContrastDirection dir) {
    UBUFFER out = in.clone();
    const int w = in.width(), h = in.height(), r = w / 10;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int y0 = std::max(y - r, 0), y1 = std::min(y + r, h - 1);
            const int x0 = std::max(x - r, 0), x1 = std::min(x + r, w - 1);
            const int area = (x1 - x0) * (y1 - y0);
            if (area == 0) continue;
            for (int c = 0; c < 3; ++c) {
                long sum = 0;
                for (int j = y0 + 1; j <= y1; ++j)
                    for (int i = x0 + 1; i <= x1; ++i) sum += in.at(i, j, c);
                const double mean = double(sum) / area;
                const double v = in.at(x, y, c);
                const double nv = dir == ContrastDirection::Up ? v + (v - mean) * k : v + (mean - v) * k;
                out.at(x, y, c) = std::uint8_t(nv < 0 ? 0 : nv > 255 ? 255 : nv);
            }
        }
    return out;
}

TEST(LocalContrast, MatchesDirectBoxSumsByteForByte) {
    using enum ContrastDirection;
    // w, h, k, dir; narrower than 10 pixels the box has no width, one row high it has no height:
    // unchanged.
    const std::tuple<int, int, double, ContrastDirection> cases[] = {
        {10, 10, 3.0, Up},   {23, 17, 3.0, TowardsMean},   {64, 40, 1.5, Up}, {41, 90, 0.4, TowardsMean},
        {200, 150, 3.0, Up}, {120, 300, 3.0, TowardsMean}, {9, 30, 3.0, Up},  {1, 5, 3.0, Up},
        {37, 1, 3.0, Up}};
    std::uint32_t seed = 1;
    for (const auto& [w, h, k, dir] : cases) {
        // Noise with any alpha, and a smooth picture, whose means are far from the extremes.
        for (int kind = 0; kind < 2; ++kind) {
            const UBUFFER in = kind == 0 ? test::noise_picture(w, h, seed++, false)
                                         : test::make_picture(w, h, [](int x, int y) {
                                               return 0x80000000u | std::uint32_t((x * 3) & 255) << 16 |
                                                      std::uint32_t((y * 5) & 255) << 8 | ((x + y) & 255);
                                           });
            UBUFFER got = in.clone();
            test::RecordingHost host;
            {
                Progress progress(host, "Contrast up");
                ASSERT_EQ(local_contrast(progress, got, k, dir), 0);
            }
            SCOPED_TRACE(testing::Message() << w << "x" << h << " k " << k << " kind " << kind);
            EXPECT_TRUE(same_bytes(got, plain_local_contrast(in, k, dir)));
        }
    }
}

}  // namespace
}  // namespace velq
