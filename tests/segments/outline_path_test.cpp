#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "segments/outline_path.h"
#include "transform/ring_checks.h"

namespace velq {
namespace {

BoundaryPoint at(const BoundaryPoint (&p)[4], double t) {
    const double u = 1 - t, a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
    return {a * p[0].x + b * p[1].x + c * p[2].x + d * p[3].x,
            a * p[0].y + b * p[1].y + c * p[2].y + d * p[3].y};
}

// The fewest chords that a walk along finely sampled points can keep within the tolerance: the
// count a good flattening should come near.
int greedy_chords(const std::vector<BoundaryPoint>& s, double tol) {
    int chords = 0;
    for (std::size_t i = 0; i + 1 < s.size(); ++chords) {
        std::size_t j = i + 1;
        while (j + 1 < s.size()) {
            bool ok = true;
            for (std::size_t k = i + 1; k <= j && ok; ++k)
                ok = test::distance_to_ring(std::array{s[i], s[j + 1]}, s[k].x, s[k].y) <= tol;
            if (!ok) break;
            ++j;
        }
        i = j;
    }
    return chords;
}

TEST(OutlinePath, CubicsStayWithinTheToleranceWithoutOversubdividing) {
    std::uint32_t x = 7;
    const auto next = [&x] { return (x = x * 214013 + 2531011) >> 16 & 0x7FFF; };
    for (int trial = 0; trial < 40; ++trial) {
        BoundaryPoint p[4];
        const double size = 5 + next() % 300;
        for (auto& q : p) q = {size * next() / 32767.0, size * next() / 32767.0};
        std::vector<BoundaryPoint> line{p[0]};
        flatten_cubic(p[0], p[1], p[2], p[3], kFlattenTolerance, line);
        std::vector<BoundaryPoint> fine;
        for (int i = 0; i <= 2000; ++i) fine.push_back(at(p, i / 2000.0));
        double worst = 0;
        for (const BoundaryPoint& q : fine) {
            double d = 1e300;
            for (std::size_t k = 0; k + 1 < line.size(); ++k)
                d = std::min(d, test::distance_to_ring(std::array{line[k], line[k + 1]}, q.x, q.y));
            worst = std::max(worst, d);
        }
        EXPECT_LE(worst, kFlattenTolerance + 1e-9) << "trial " << trial;
        const int chords = int(line.size()) - 1, least = greedy_chords(fine, kFlattenTolerance);
        // Halving rounds the count up to the next split, so a few chords over twice the least.
        EXPECT_LE(chords, 2 * least + 3) << "trial " << trial << " least " << least;
    }
}

}  // namespace
}  // namespace velq
