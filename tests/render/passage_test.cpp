#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

#include <opencv2/imgproc.hpp>

#include "render/passage_shapes.h"
#include "support/recording_host.h"

namespace velq {
namespace {

constexpr int kSide = SHAPE::kSide, kCentre = kSide / 2;

std::vector<std::unique_ptr<SHAPE>> shapes_of(std::u16string text, PassageStyle style) {
    test::RecordingHost host;
    PassageChoice choice{std::move(text), {"DejaVu Sans"}, style};
    std::vector<std::unique_ptr<SHAPE>> shapes;
    EXPECT_EQ(make_passage_shapes(host, choice, shapes), 0);
    return shapes;
}

long long opacity_sum(const SHAPE& s) {
    return std::accumulate(s.mask_plane.data(), s.mask_plane.data() + s.mask_plane.size(), 0LL);
}

// Mean shade of the outer rim of an "O" met from one corner: along diagonals walked from that corner
// toward the centre, the first fully opaque pixels.
double rim_shade(const SHAPE& o, int from_x, int from_y) {
    const int sx = from_x == 0 ? 1 : -1, sy = from_y == 0 ? 1 : -1;
    double sum = 0;
    int n = 0;
    for (int shift = -60; shift <= 60; shift += 6) {
        int x = from_x + shift, y = from_y - shift, taken = 0;
        for (; x >= 0 && y >= 0 && x < kSide && y < kSide && taken < 12; x += sx, y += sy) {
            if (o.mask_plane.at(x, y) < 255) {
                if (taken > 0) break;
                continue;
            }
            sum += o.shade_plane.at(x, y);
            ++taken;
        }
        n += taken;
    }
    return n ? sum / n : 0;
}

TEST(PassageStyles, EachStyleDrawsInsideTheDiscWithItsOwnLook) {
    const bool lit[] = {false, false, false, true, true, true, true, true};
    for (int k = 0; k < kPassageStyleCount; ++k) {
        const auto style = PassageStyle(k);
        SCOPED_TRACE(std::string(passage_style_name(style)));
        const auto shapes = shapes_of(u"O.", style);
        ASSERT_EQ(shapes.size(), 2u);
        const SHAPE &o = *shapes[0], &dot = *shapes[1];
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x)
                if ((x - kCentre) * (x - kCentre) + (y - kCentre) * (y - kCentre) > kCentre * kCentre) {
                    ASSERT_EQ(o.mask_plane.at(x, y), 0) << x << "," << y;
                }
        if (lit[k]) {
            EXPECT_GT(rim_shade(o, 0, 0), rim_shade(o, kSide - 1, kSide - 1) + 80);
        }
        // Outline draws a ring: nothing deep inside a full stop, something on its edge.
        EXPECT_EQ(dot.mask_plane.at(kCentre, kCentre) == 0, style == PassageStyle::Outline);
        // All characters share one scale: a full stop stays far smaller than a capital.
        EXPECT_LT(opacity_sum(dot) * 5, opacity_sum(o));
        if (style == PassageStyle::Shadow) {
            // The dark part lies down and to the right of the letter.
            const cv::Mat mask(kSide, kSide, CV_8U, const_cast<std::uint8_t*>(o.mask_plane.data()));
            const cv::Mat shade(kSide, kSide, CV_8U, const_cast<std::uint8_t*>(o.shade_plane.data()));
            const cv::Moments dark = cv::moments((shade < 128) & mask, true);
            const cv::Moments light = cv::moments((shade >= 128) & mask, true);
            ASSERT_GT(dark.m00, 0);
            EXPECT_GT(dark.m10 / dark.m00, light.m10 / light.m00 + 10);
            EXPECT_GT(dark.m01 / dark.m00, light.m01 / light.m00 + 10);
        }
    }
}

// A passage gives the layer one shape per distinct character (blanks only when kept, empty) and the
// circles its characters in turn; bad input says why and leaves the layer as it was.
TEST(Passage, CirclesTakeConsecutiveCharactersAndBadInputLeavesTheLayer) {
    std::u16string many;
    for (char16_t c = u'\u0100'; many.size() <= kMaxPassageCharacters; ++c) many += c;
    struct Case {
        std::u16string text;
        std::string message;  // empty: it succeeds
        std::string face = "DejaVu Sans";
        bool fold = false, keep = false;
        std::u16string chars = {}, walk = {};  // the characters with shapes, those of five circles
    };
    const Case cases[] = {
        {u"bA a", "", "DejaVu Sans", true, false, u"ba", u"baaba"},
        {u"Ab a", "", "DejaVu Sans", false, true, u"Ab a", u"Ab aA"},
        {u"\n x\n", "", "DejaVu Sans", false, false, u"x", u"xxxxx"},
        // A character the font lacks is its missing-glyph box.
        {u"a\u0F40", "", "DejaVu Sans", false, false, u"a\u0F40", u"a\u0F40a\u0F40a"},
        {u"", "The passage has no characters to draw"},
        {u" \n\t", "The passage has no characters to draw"},
        {u"abc", "Failed to load the font No Such Face Anywhere", "No Such Face Anywhere"},
        {many, "The passage has 129 different characters; a layer takes at most 128"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.face + " " + std::string(c.text.begin(), c.text.end()));
        test::RecordingHost host;
        Layer layer(host, true);
        const SHAPE* disc = layer.current;
        const int result =
            set_layer_passage(host, layer, {c.text, {c.face}, PassageStyle::Bevel, c.fold, c.keep});
        EXPECT_EQ(result, c.message.empty() ? 0 : -1);
        if (!c.message.empty()) {
            EXPECT_EQ(host.messages(), std::vector<std::string>{c.message});
            EXPECT_EQ(std::tuple(layer.current, layer.passage_mode, layer.passage),
                      std::tuple(disc, false, u""));
            continue;
        }
        std::u16string made, taken;
        for (const auto& s : layer.shapes) made += char16_t(s->character);
        EXPECT_EQ(made, c.chars);
        layer.rewind();
        for (int i = 0; i < 5; ++i, layer.next_shape()) taken += char16_t(layer.current->character);
        EXPECT_EQ(taken, c.walk);
        for (const auto& s : layer.shapes) EXPECT_EQ(opacity_sum(*s) == 0, s->character == u' ');
    }
}

}  // namespace
}  // namespace velq
