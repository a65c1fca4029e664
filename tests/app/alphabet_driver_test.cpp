#include <gtest/gtest.h>

#include <algorithm>

#include "app/alphabet_driver.h"
#include "app/transform_driver.h"
#include "opened_document.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/ring_checks.h"

namespace velq {
namespace {

UBUFFER stripes(int w, int h) {
    return test::make_picture(w, h,
                              [](int x, int y) { return (x / 10 + y / 14) % 2 ? 0xFFD04020u : 0xFF2080E0u; });
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
        test::Opened<> o(stripes(150, 100));
        o.doc.settings.min_size = 0.004, o.doc.settings.alphabet.rows = 3;  // small circles, three rows
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

}  // namespace
}  // namespace velq
