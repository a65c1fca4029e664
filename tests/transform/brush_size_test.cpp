#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "generated.h"
#include "ring_scan.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/brush_size.h"

namespace velq {
namespace {

using test::ring_scan;

// The map's cells in row order, so two maps compare (and print) as one vector.
std::vector<std::uint32_t> cells(const IBUFFER& m) {
    return std::vector<std::uint32_t>(m.data(), m.data() + m.size());
}

TEST(BrushSize, EqualsTheRingScanOnGeneratedPictures) {
    // w, h, thr, maxpx, minpx
    const std::tuple<int, int, double, int, int> cases[] = {
        {40, 30, 20, 12, 0}, {40, 30, 20, 12, 1},  {33, 47, 0, 20, 0},  {33, 47, 255, 9, 2},
        {50, 50, 30, 30, 3}, {21, 64, 12.5, 8, 1}, {64, 21, 20, 64, 0}, {17, 17, 20, 5, 4},
        {31, 29, 20, 40, 7}, {12, 40, 60, 3, 1},   {40, 12, 20, 2, 1},  {25, 25, 20, 1, 0},
        {25, 25, 20, 0, 0},  {25, 25, 20, -3, -2}, {30, 30, -1, 10, 0}, {1, 1, 20, 10, 0},
        {1, 40, 20, 10, 0},  {40, 2, 20, 10, 0},   {3, 3, 20, 10, 0},   {45, 38, 20, 25, -4},
    };
    test::RecordingHost host;
    for (const auto& [w, h, thr, maxpx, minpx] : cases)
        for (test::PictureKind kind : test::kAllKinds)
            for (std::uint32_t seed : {1u, 7u}) {
                const UBUFFER pic = test::generated_picture(kind, w, h, seed);
                const IBUFFER fast = get_brush_size(host, pic, thr, maxpx, minpx);
                EXPECT_EQ(cells(fast), cells(ring_scan(pic, thr, maxpx, minpx)))
                    << test::kind_name(kind) << " seed " << seed << " " << w << "x" << h << " thr " << thr
                    << " maxpx " << maxpx << " minpx " << minpx;
            }
}

// Bands of 16 rows (the smallest), so rings cross many band borders and threads share the work; and
// dots right next to every pixel or sparse, which the rings inside minpx never see. A stopped run
// gives a map with nothing measured, and closes its stage's title.
TEST(BrushSize, BandBordersAndInnerSquaresChangeNothing) {
    test::RecordingHost host;
    for (test::PictureKind kind :
         {test::PictureKind::Photo, test::PictureKind::Blocks, test::PictureKind::Flat}) {
        const UBUFFER pic = test::generated_picture(kind, 90, 140, 11);
        for (int minpx : {0, 2})
            EXPECT_EQ(cells(detail::get_brush_size(host, pic, 24, 21, minpx, 1)),
                      cells(ring_scan(pic, 24, 21, minpx)))
                << test::kind_name(kind) << " " << minpx;
    }
    const UBUFFER dots = test::make_picture(
        60, 50, [](int x, int y) { return (x % 2 == 0 && y % 2 == 0) ? 0xFF102030u : 0xFF808080u; });
    const UBUFFER sparse = test::make_picture(
        70, 70, [](int x, int y) { return (x % 9 == 4 && y % 7 == 3) ? 0xFFFF0000u : 0xFF0000FFu; });
    for (int minpx : {0, 1, 2, 3, 4, 6}) {
        EXPECT_EQ(cells(get_brush_size(host, dots, 20, 30, minpx)), cells(ring_scan(dots, 20, 30, minpx)))
            << minpx;
        EXPECT_EQ(cells(get_brush_size(host, sparse, 10, 34, minpx)), cells(ring_scan(sparse, 10, 34, minpx)))
            << minpx;
    }
    test::RecordingHost stopped;
    stopped.stop = true;
    const IBUFFER partial = get_brush_size(stopped, dots, 20, 10, 0);
    ASSERT_TRUE(partial);
    EXPECT_EQ(*std::max_element(partial.data(), partial.data() + partial.size()), 0u);
    EXPECT_EQ(stopped.titles(),
              (std::vector<std::string>{"Velquinograph (Getting brush size...)", "Velquinograph"}));
}

}  // namespace
}  // namespace velq
