#include <gtest/gtest.h>

#include <algorithm>

#include "app/alphabet_driver.h"
#include "app/transform_driver.h"
#include "opened_document.h"
#include "support/circles.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/ring_checks.h"

namespace velq {
namespace {

UBUFFER stripes(int w, int h) {
    return test::make_picture(w, h,
                              [](int x, int y) { return (x / 10 + y / 14) % 2 ? 0xFFD04020u : 0xFF2080E0u; });
}

// Opened and set for the Alphabet transform: small circles, three rows of letters.
template <class HostType = test::RecordingHost>
struct Opened : test::Opened<HostType> {
    explicit Opened(UBUFFER source, int interpolation = 2)
        : test::Opened<HostType>(std::move(source), interpolation) {
        this->doc.settings.min_size = 0.004, this->doc.settings.alphabet.rows = 3;
    }
};

// Every letter's circles, letter after letter.
std::vector<Circle> all_circles(const Document& doc) {
    std::vector<Circle> out;
    for (const Segment& s : doc.segments) out.insert(out.end(), s.circles.begin(), s.circles.end());
    return out;
}

// How far the point is from the region's nearest edge.
double to_edges(double x, double y, const SegmentRegion& r) {
    double d = test::distance_to_ring(r.outer, x, y);
    for (const auto& h : r.holes) d = std::min(d, test::distance_to_ring(h, x, y));
    return d;
}

// Circles inside their own letter are the segment packer's matter; the layout must keep the letters
// apart, so that no circle reaches into another letter.
TEST(AlphabetDriver, CirclesStayOffEveryOtherLetterInEachLayout) {
    for (const AlphabetLayout layout :
         {AlphabetLayout::Lines, AlphabetLayout::Packed, AlphabetLayout::Inverse}) {
        Opened<> o(stripes(150, 100));
        o.doc.settings.alphabet.layout = int(layout);
        o.doc.settings.alphabet.text = "Bo%";
        ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Alphabet, false), 0) << int(layout);
        const UBUFFER& pic = o.doc.filtered;
        const int w = pic.width(), h = pic.height();
        ASSERT_GT(o.doc.segments.size(), 2u);
        std::size_t circles = 0;
        for (std::size_t i = 0; i < o.doc.segments.size(); ++i) {
            const Segment& s = o.doc.segments[i];
            for (const Circle& c : s.circles) {
                const double x = c.x * w, y = c.y * h;
                ++circles;
                EXPECT_EQ(c.own.c0, pic.at(int(x), int(y), 2));
                // The centre lies in its own letter, and the circle stays off every other one.
                EXPECT_EQ(o.doc.label_map.at(int(x), int(y)), i + 1) << "picking finds the letter";
                for (std::size_t j = 0; j < o.doc.segments.size(); ++j)
                    for (const SegmentRegion& r : o.doc.segments[j].regions)
                        if (j != i) {
                            EXPECT_GE(to_edges(x, y, r), c.radius - 0.5);
                        }
            }
        }
        EXPECT_GT(circles, 50u);
    }
}

TEST(AlphabetDriver, BadInputSaysWhyAndKeepsThePreviousResult) {
    struct Case {
        const char* text;
        const char* face;
        int side;
        std::string message;
    };
    for (const Case& k : {Case{" \t\n ", "", 150, "The alphabet text has no letter"},
                          {"Hello", "No Such Face Qwz", 150, "Failed to load the font (No Such Face Qwz)"},
                          {"Hello", "", 6, "The picture is too small for one letter"}}) {
        Opened<> o(stripes(k.side, k.side), 1);
        o.doc.settings.max_size = 0.5;  // room for circles on the smallest picture
        ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, false), 0);
        const std::size_t before = o.doc.circles.size();
        o.doc.settings.alphabet.text = k.text;
        o.doc.settings.alphabet.face = k.face;
        o.host.clear();
        EXPECT_EQ(do_transform(o.doc, o.host, TransformMode::Alphabet, true), -1);
        EXPECT_EQ(o.host.messages(), std::vector<std::string>{k.message});
        EXPECT_EQ(o.doc.circles.size(), before);
        EXPECT_EQ(o.doc.settings.transform_mode, int(TransformMode::Normal));
    }
}

TEST(AlphabetDriver, StopKeepsTheLettersPackedSoFar) {
    Opened<> full(stripes(200, 150));
    Opened<test::StopAtFirstCircles> stopped(stripes(200, 150));
    ASSERT_EQ(do_transform(full.doc, full.host, TransformMode::Alphabet, false), 0);
    ASSERT_EQ(do_transform(stopped.doc, stopped.host, TransformMode::Alphabet, false), 0);
    // Letters are packed side by side, so a Stop keeps, per letter, the first part of its full packing
    // (all of it, some of it or none).
    const std::vector<Circle> kept = all_circles(stopped.doc), every = all_circles(full.doc);
    ASSERT_GT(kept.size(), 0u);
    ASSERT_EQ(stopped.doc.segments.size(), full.doc.segments.size());
    for (std::size_t i = 0; i < full.doc.segments.size(); ++i) {
        const auto& part = stopped.doc.segments[i].circles;
        const auto& whole = full.doc.segments[i].circles;
        ASSERT_LE(part.size(), whole.size()) << "letter " << i;
        EXPECT_TRUE(test::same_circles(part, {whole.begin(), whole.begin() + std::ptrdiff_t(part.size())}))
            << i;
    }
    EXPECT_EQ(stopped.host.messages(), std::vector<std::string>{stopped_message(kept.size())});
}

}  // namespace
}  // namespace velq
