#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <tuple>

#include "app/transform_driver.h"
#include "opened_document.h"
#include "support/circles.h"
#include "support/pictures.h"

namespace velq {
namespace {

using test::Opened;

UBUFFER quarters(int w = 48, int h = 36) {
    return test::make_picture(w, h, [w, h](int x, int y) {
        static const std::uint32_t c[4] = {0xFFC03020u, 0xFF2060D0u, 0xFF30A040u, 0xFFE0E0E0u};
        return c[(x >= w / 2) + 2 * (y >= h / 2)];
    });
}

TEST(TransformDriver, NormalPacksTheFrameInThePicturesColours) {
    Opened<> o(quarters(), 3);
    o.doc.settings.gap = 2;
    const int w = o.doc.working.width(), h = o.doc.working.height();
    ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, true), 0);
    const std::size_t n = o.doc.circles.size();
    ASSERT_GT(n, 20u);
    EXPECT_EQ(o.host.messages(), std::vector<std::string>{"The number of circles is " + std::to_string(n)});
    EXPECT_EQ(o.host.live_circles(), n) << "every circle was shown while the packing ran";
    EXPECT_EQ(o.host.titles().back(), "Velquinograph");
    EXPECT_TRUE(o.doc.transformed && !o.doc.rendered);
    EXPECT_TRUE(o.doc.toggles.edges && o.doc.toggles.filtered && !o.doc.toggles.final_result);
    // The frame, then one closed outline per circle.
    ASSERT_EQ(o.doc.pieces.size(), n + 1);
    for (std::size_t i = 0; i < n; ++i) {
        SCOPED_TRACE("circle " + std::to_string(i));
        const Circle& c = o.doc.circles[i];
        ASSERT_TRUE(c.x > 0 && c.x < 1 && c.y > 0 && c.y < 1);
        ASSERT_TRUE(o.doc.pieces[i + 1].closed);
        for (const Circle& e : std::span(o.doc.circles).first(i))
            ASSERT_GE(std::hypot((c.x - e.x) * w, (c.y - e.y) * h) + 1e-6, c.radius + e.radius + 2) << "GAP";
        const BoundaryPoint p = o.doc.pieces[i + 1].points[0];
        EXPECT_NEAR(std::hypot(p.x - c.x * w, p.y - c.y * h), c.radius, 1e-9);
        const double px = c.x * w, py = c.y * h;
        if (std::fabs(px - std::round(px)) < 1e-6 || std::fabs(py - std::round(py)) < 1e-6) continue;
        const std::uint8_t* f = &o.doc.filtered.at(int(px), int(py));
        EXPECT_EQ(std::tuple(c.own.c0, c.own.c1, c.own.c2, c.own.c3), std::tuple(f[2], f[1], f[0], f[3]));
    }
}

TEST(TransformDriver, ProgressOnlyMovesForwardAndEndsAt100) {
    for (const TransformMode mode : {TransformMode::Normal, TransformMode::Vectorize}) {
        SCOPED_TRACE(int(mode));
        // Enough circles that the packing outlasts several progress reports (one per 40 ms at most).
        Opened<> o(quarters(400, 300));
        o.doc.settings.max_size = 0.015;
        ASSERT_EQ(do_transform(o.doc, o.host, mode, false), 0);
        const std::vector<int> p = o.host.percents();
        ASSERT_FALSE(p.empty());
        EXPECT_TRUE(std::is_sorted(p.begin(), p.end())) << ::testing::PrintToString(p);
        EXPECT_EQ(p.back(), 100);
        EXPECT_EQ(std::count(p.begin(), p.end(), 100), 1);
        // The packing itself moves the bar: something between the start of packing and the end.
        EXPECT_TRUE(std::any_of(p.begin(), p.end(), [](int v) { return v > 20 && v < 100; }));
    }
}

TEST(TransformDriver, TheFilteredPictureShapesTheCircles) {
    // A 100 x 75 picture enlarged by 2: brush sizes up to 4 (maxpx 5), about 2 working pixels each.
    // Coarse noise (blocks of 4 working pixels, 2 after the picture is brought to the filter buffer's
    // size) leaves every brush size at 1; one flat colour lets circles grow.
    const UBUFFER source = test::noise_picture(100, 75, 2);
    Opened<> noisy(source.clone()), flat(source.clone());
    noisy.doc.filtered =
        test::make_picture(noisy.doc.working.width(), noisy.doc.working.height(), [](int x, int y) {
            const std::uint32_t k = std::uint32_t(x / 4) * 2654435761u ^ std::uint32_t(y / 4) * 40503u;
            return 0xFF000000u | ((k * 2246822519u) >> 8);
        });
    flat.doc.filtered = test::flat_picture(flat.doc.working.width(), flat.doc.working.height(), 0xFF806040u);
    const auto largest = [](Opened<>& o) {
        EXPECT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, false), 0);
        double r = 0;
        for (const Circle& c : o.doc.circles) r = std::max(r, c.radius);
        return r;
    };
    EXPECT_LE(largest(noisy), 2.0);
    EXPECT_GT(largest(flat), 4.0);
    // Coloured from the filtered picture too, not from the picture before the filter.
    for (const Circle& c : flat.doc.circles)
        EXPECT_EQ(std::tuple(c.own.c0, c.own.c1, c.own.c2), std::tuple(0x80, 0x60, 0x40));
}

// Sizes the packing cannot use leave no circles; the letters are set before anything changes, so a
// text without letters, a missing face or a picture too small for one letter keep the previous result.
TEST(TransformDriver, RefusalsSayWhy) {
    struct Case {
        TransformMode mode;
        double min, max;
        const char *text, *face;
        int side;
        std::string message;
        bool keeps;
    };
    const std::string algo2 = "Invalid MAX, MIN value in fill_circle_algo2()";
    for (const Case& k :
         {Case{TransformMode::Normal, 0.05, 0.05, "A", "", 48,
               "Invalid MAX, MIN value in fill_circle_algo1()", false},
          {TransformMode::Vectorize, 0.05, 0.02, "A", "", 48, algo2, false},
          {TransformMode::Alphabet, 0.05, 0.02, "A", "", 48, algo2, false},
          {TransformMode::Alphabet, 0, 0.5, " \t\n ", "", 150, "The alphabet text has no letter", true},
          {TransformMode::Alphabet, 0, 0.5, "Hello", "No Such Face Qwz", 150,
           "Failed to load the font (No Such Face Qwz)", true},
          {TransformMode::Alphabet, 0, 0.5, "Hello", "", 6, "The picture is too small for one letter",
           true}}) {
        SCOPED_TRACE(k.message);
        Opened<> o(quarters(k.side, k.side));
        o.doc.settings.max_size = 0.3;  // room for circles on the smallest picture
        ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, false), 0);
        const std::size_t before = o.doc.circles.size();
        EXPECT_GT(before, 0u);
        o.doc.settings.min_size = k.min, o.doc.settings.max_size = k.max;
        o.doc.settings.alphabet.text = k.text, o.doc.settings.alphabet.face = k.face;
        o.host.clear();
        EXPECT_EQ(do_transform(o.doc, o.host, k.mode, false), -1);
        EXPECT_EQ(o.host.messages(), std::vector<std::string>{k.message});
        EXPECT_EQ(o.doc.circles.size(), k.keeps ? before : 0);
        for (const Segment& s : o.doc.segments) EXPECT_TRUE(s.circles.empty());
        EXPECT_EQ(o.doc.settings.transform_mode, int(k.keeps ? TransformMode::Normal : k.mode));
    }
    test::RecordingHost host;
    Document doc(host);
    EXPECT_EQ(do_transform(doc, host, TransformMode::Normal, false), -1) << "nothing to transform";
}

// A Stop keeps the circles packed so far, coloured as without Stop: the first part of the full
// packing, per letter where letters are packed side by side. It is said in place of the count, also
// when no count was asked for and when no circle was packed yet.
TEST(TransformDriver, AStoppedPackingKeepsTheFirstPartOfTheFullOne) {
    for (const TransformMode mode : {TransformMode::Normal, TransformMode::Alphabet}) {
        SCOPED_TRACE(int(mode));
        // Enough circles that the packing outlasts the first live report (40 ms) several times over;
        // letters are packed side by side and hold fewer.
        const int side = mode == TransformMode::Normal ? 400 : 1000;
        Opened<test::StopAtFirstCircles> stopped(quarters(side, side * 3 / 4));
        Opened<> full(quarters(side, side * 3 / 4));
        stopped.doc.settings.max_size = full.doc.settings.max_size = 0.015;
        ASSERT_EQ(do_transform(full.doc, full.host, mode, false), 0);
        ASSERT_EQ(do_transform(stopped.doc, stopped.host, mode, mode == TransformMode::Normal), 0);
        // The free circles, then each letter's.
        std::vector<std::vector<Circle>> part{stopped.doc.circles}, whole{full.doc.circles};
        for (const Segment& s : stopped.doc.segments) part.push_back(s.circles);
        for (const Segment& s : full.doc.segments) whole.push_back(s.circles);
        ASSERT_EQ(part.size(), whole.size());
        std::size_t kept = 0, all = 0;
        for (std::size_t i = 0; i < part.size(); ++i) {
            ASSERT_LE(part[i].size(), whole[i].size()) << i;
            EXPECT_TRUE(test::same_circles(
                part[i], {whole[i].begin(), whole[i].begin() + std::ptrdiff_t(part[i].size())}))
                << i;
            kept += part[i].size(), all += whole[i].size();
        }
        ASSERT_GT(kept, 1u);
        EXPECT_LT(kept, all);
        EXPECT_EQ(stopped.host.messages(), std::vector<std::string>{"The transform was stopped after " +
                                                                    std::to_string(kept) + " circles"});
        EXPECT_LT(stopped.host.percents().back(), 100);
        if (mode == TransformMode::Normal) {
            EXPECT_EQ(stopped.doc.pieces.size(), 1u) << "outline paths stop with Stop";
        }
    }
    Opened<> early(quarters(), 3);
    early.host.stop = true;
    ASSERT_EQ(do_transform(early.doc, early.host, TransformMode::Vectorize, false), 0);
    EXPECT_EQ(early.host.messages(),
              std::vector<std::string>{"The transform was stopped before any circle was packed"});
}

}  // namespace
}  // namespace velq
