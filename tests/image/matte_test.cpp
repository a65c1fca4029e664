#include "image/matte.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/pictures.h"

namespace velq {
namespace {

// Pictures drawn with blends that take what lies beneath, o, to A + B o (floored, as the renderer
// does): the layer found from the drawings over black and over white, laid over any picture with
// "over", gives the drawing on that picture within 2, and exactly where the drawing is opaque.
// A glow (B above 1) has no such layer: with the picture beneath given, those pixels become the
// drawing on it.
TEST(Matte, LayerFromBlackAndWhiteGivesTheDrawingOnAnyPicture) {
    constexpr int kW = 64, kH = 48;
    std::mt19937 gen(3);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<double> a(kW * kH * 3), b(kW * kH);
    for (int i = 0; i < kW * kH; ++i) {
        const int kind = i % 4;  // clear, opaque, soft, glowing
        b[i] = kind == 0 ? 1.0 : kind == 1 ? 0.0 : kind == 2 ? u(gen) : 1.5 + u(gen);
        for (int c = 0; c < 3; ++c) a[3 * i + c] = kind == 0 ? 0.0 : (1 - std::min(b[i], 1.0)) * 255 * u(gen);
    }
    const auto draw = [&](const UBUFFER& under) {
        UBUFFER out;
        out.allocate(kW, kH, 4);
        for (int i = 0; i < kW * kH; ++i)
            for (int c = 0; c < 3; ++c)
                out.data()[4 * i + c] = std::uint8_t(
                    std::clamp(std::floor(a[3 * i + c] + b[i] * under.data()[4 * i + c]), 0.0, 255.0));
        return out;
    };
    const auto flat = [&](std::uint32_t v) {
        return test::flat_picture(kW, kH, 0xFF000000u | v * 0x010101u);
    };
    const UBUFFER beneath = test::noise_picture(kW, kH, 3);
    const UBUFFER drawn = draw(beneath);

    for (const bool with_beneath : {false, true}) {
        UBUFFER layer;
        ASSERT_TRUE(matte_from_black_and_white(draw(flat(0)), draw(flat(255)), layer,
                                               with_beneath ? &beneath : nullptr,
                                               with_beneath ? &drawn : nullptr));
        for (int i = 0; i < kW * kH; ++i) {
            const std::uint8_t* l = layer.data() + 4 * i;
            EXPECT_EQ(l[3], i % 4 == 0 ? 0 : i % 4 == 1 ? 255 : l[3]) << "clear or opaque";
            if (i % 4 == 3 && !with_beneath) continue;  // a glow without its picture beneath is clamped
            for (int c = 0; c < 3; ++c) {
                const int o = beneath.data()[4 * i + c];
                const int laid = int(std::lround((l[c] * l[3] + o * (255 - l[3])) / 255.0));
                const int want = drawn.data()[4 * i + c];
                ASSERT_TRUE(i % 4 != 1 || l[c] == want) << i;
                ASSERT_LE(std::abs(laid - want), 2) << i << " kind " << i % 4;
            }
        }
    }
    UBUFFER out;
    EXPECT_FALSE(matte_from_black_and_white(test::flat_picture(kW + 1, kH, 0), flat(0), out))
        << "sizes differ";
}

}  // namespace
}  // namespace velq
