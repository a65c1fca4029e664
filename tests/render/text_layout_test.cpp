#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "render/font_file.h"
#include "render/text_layout.h"
#include "segments/ring_nesting.h"
#include "support/recording_host.h"

namespace velq {
namespace {

GlyphFont bold_sans() {
    GlyphFont font;
    EXPECT_TRUE(font.open(find_font("DejaVu Sans", true).file));
    return font;
}

struct Box {
    double x0 = 1e300, y0 = 1e300, x1 = -1e300, y1 = -1e300;
};
Box ink(const PlacedGlyph& g) {
    Box b;
    for (const auto& ring : flatten_path(g.path))
        for (const BoundaryPoint& p : ring) {
            b.x0 = std::min(b.x0, p.x), b.x1 = std::max(b.x1, p.x);
            b.y0 = std::min(b.y0, p.y), b.y1 = std::max(b.y1, p.y);
        }
    return b;
}

TEST(TextLayout, LettersBecomeOuterRingsWithTheirCounters) {
    GlyphFont font = bold_sans();
    struct Case {
        char32_t c;
        std::size_t outers, holes;
    };
    // '®' nests four deep: the ring, its inside, the R, the R's counter.
    for (const Case& k :
         {Case{U'O', 1, 1}, {U'B', 1, 2}, {U'i', 2, 0}, {U'%', 3, 2}, {U'@', 1, 1}, {U'®', 2, 2}}) {
        const std::vector<SegmentRegion> regions = group_rings(flatten_path(font.glyph(k.c).path));
        std::size_t holes = 0;
        for (const SegmentRegion& r : regions) holes += r.holes.size();
        EXPECT_EQ(std::pair(regions.size(), holes), std::pair(k.outers, k.holes)) << char(k.c);
    }
}

TEST(TextLayout, LinesKeepThePassageOrderAndWholeWordsAndFillTheWidth) {
    GlyphFont font = bold_sans();
    test::RecordingHost host;
    LinesParams p;
    p.width = 600, p.height = 400, p.rows = 6, p.margin = 2;
    const char32_t* words[] = {U"Tiny",  U"words", U"and", U"EXTRAORDINARILYLONGWORDSNEEDSPLITTING",
                               U"here,", U"ok.",   U"x"};
    std::u32string passage;
    for (const char32_t* w : words) passage += std::u32string(w) + U"  ";
    const std::vector<PlacedGlyph> placed = layout_lines(font, passage, p, host);
    ASSERT_GT(placed.size(), 60u);

    // The placed letters are the passage without its blanks, repeated.
    std::u32string letters;
    for (char32_t c : passage)
        if (!is_blank(c)) letters.push_back(c);
    for (std::size_t i = 0; i < placed.size(); ++i)
        ASSERT_EQ(placed[i].character, letters[i % letters.size()]) << i;

    // Rows by letter centre; every short word on one row; every row reaches the right margin.
    const double row_height = (p.height - 2 * p.margin) / p.rows;
    std::vector<int> row_of(placed.size());
    std::vector<double> right(std::size_t(p.rows), 0);
    for (std::size_t i = 0; i < placed.size(); ++i) {
        const Box b = ink(placed[i]);
        EXPECT_GE(b.x0, p.margin - 1e-9);
        EXPECT_LE(b.x1, p.width - p.margin + 1e-9);
        row_of[i] = int(((b.y0 + b.y1) / 2 - p.margin) / row_height);
        right[std::size_t(row_of[i])] = std::max(right[std::size_t(row_of[i])], b.x1);
    }
    for (double r : right) EXPECT_NEAR(r, p.width - p.margin, 1.0);
    // Walk the words in order: only the long one may change rows inside itself.
    std::size_t i = 0, splits = 0;
    for (std::size_t w = 0; i < placed.size(); ++w) {
        const std::size_t n = std::u32string_view(words[w % 7]).size();
        for (std::size_t k = i + 1; k < std::min(i + n, placed.size()); ++k)
            if (row_of[k] != row_of[k - 1]) {
                EXPECT_EQ(w % 7, 3u) << "word " << w << " split";
                ++splits;
            }
        i += n;
    }
    EXPECT_GT(splits, 0u) << "the long word needs splitting at this width";
}

TEST(TextLayout, PackedLettersNeverOverlapAndStayInTheFrame) {
    GlyphFont font = bold_sans();
    test::RecordingHost host;
    PackedParams p;
    p.width = 500, p.height = 360, p.largest = 120, p.smallest = 30, p.gap = 2;
    // The left half is busy: only small letters go there.
    p.flatness = [](double x0, double, double, double) { return x0 < 250 ? 0.0 : 1.0; };
    const std::vector<PlacedGlyph> placed = layout_packed(font, U"Packed @%B", p, host);
    ASSERT_GT(placed.size(), 20u);
    cv::Mat1i count = cv::Mat1i::zeros(p.height, p.width);
    for (const PlacedGlyph& g : placed) {
        const Box b = ink(g);
        EXPECT_TRUE(b.x0 >= p.gap && b.y0 >= p.gap && b.x1 <= p.width - p.gap && b.y1 <= p.height - p.gap);
        EXPECT_TRUE(b.x0 >= 250 || b.y1 - b.y0 < 0.5 * p.largest) << "a large letter in the busy half";
        cv::Mat1i one = cv::Mat1i::zeros(p.height, p.width);
        std::vector<std::vector<cv::Point>> polys;
        for (const auto& ring : flatten_path(g.path)) {
            auto& poly = polys.emplace_back();
            for (const BoundaryPoint& q : ring)
                poly.emplace_back(int(std::lround(q.x * 16)), int(std::lround(q.y * 16)));
        }
        cv::fillPoly(one, polys, 1, cv::LINE_8, 4);
        count += one;
    }
    double most = 0;
    cv::minMaxLoc(count, nullptr, &most);
    EXPECT_LE(most, 1.0);
}

}  // namespace
}  // namespace velq
