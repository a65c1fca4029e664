#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "generated.h"
#include "image/resample.h"
#include "reference_packer.h"
#include "ring_checks.h"
#include "support/recording_host.h"
#include "transform/brush_size.h"
#include "transform/packer.h"

namespace velq {
namespace {

PackRegion frame(double w, double h) {
    PackRegion r;
    r.outer = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    return r;
}

// A picture packed the way the Normal transform does it: the brush-size map is made at the size of
// the picture before its enlargement by `factor`, the circles at the working size.
struct Packing {
    UBUFFER working;
    IBUFFER map;
    PackRegion region;
    PackOptions options;
};

Packing normal_setup(test::PictureKind kind, int w, int h, std::uint32_t seed, int factor = 3, int gap = 1) {
    Packing s;
    s.working = test::generated_picture(kind, w, h, seed);
    QuietHost host;
    UBUFFER small;
    small.allocate((w - 1) / factor + 1, (h - 1) / factor + 1, 4);
    get_resized(host, s.working, small);
    const int l = std::max(small.width(), small.height());
    s.map = get_brush_size(host, small, 20, int(l * 0.05 + 0.5), int(l * 0.0005 + 0.5));
    s.region = frame(w, h);
    s.options.min_radius = std::max(1.1, w * 0.0005);
    s.options.max_radius = w * 0.05;
    s.options.gap = gap;
    s.options.brush_map = &s.map;
    s.options.picture_width = w;
    s.options.picture_height = h;
    return s;
}

::testing::AssertionResult valid_packing(const std::vector<Circle>& circles, const PackOptions& o, double w,
                                         double h) {
    const double shrink = o.gap * 0.5;
    for (std::size_t i = 0; i < circles.size(); ++i) {
        const Circle& c = circles[i];
        if (c.radius < o.min_radius - shrink - 1e-9 || c.radius > o.max_radius - shrink + 1e-9)
            return ::testing::AssertionFailure() << "circle " << i << " radius " << c.radius;
        if (c.x - c.radius < -1e-9 || c.y - c.radius < -1e-9 || c.x + c.radius > w + 1e-9 ||
            c.y + c.radius > h + 1e-9)
            return ::testing::AssertionFailure() << "circle " << i << " leaves the picture";
        for (std::size_t j = 0; j < i; ++j) {
            const Circle& d = circles[j];
            const double apart = std::hypot(c.x - d.x, c.y - d.y) - (c.radius + d.radius + o.gap);
            if (apart < -1e-9)
                return ::testing::AssertionFailure()
                       << "circles " << j << " and " << i << " overlap by " << -apart;
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult same_circles(const std::vector<Circle>& a, const std::vector<Circle>& b) {
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        if (a[i].x != b[i].x || a[i].y != b[i].y || a[i].radius != b[i].radius)
            return ::testing::AssertionFailure() << "circle " << i << " differs";
    if (a.size() != b.size())
        return ::testing::AssertionFailure() << a.size() << " circles against " << b.size();
    return ::testing::AssertionSuccess();
}

// Every kind of picture, with and without gaps: the circles keep their bounds, stay in the picture
// and apart, and are those of the plain search one for one.
TEST(Packer, EqualsThePlainSearchCircleForCircle) {
    QuietHost host;
    for (test::PictureKind kind : test::kAllKinds)
        for (std::uint32_t seed : {4u, 5u})
            for (int gap : {0, 1, 3}) {
                SCOPED_TRACE(test::kind_name(kind) + " seed " + std::to_string(seed) + " gap " +
                             std::to_string(gap));
                const int w = 48 + int(seed) * 3, h = 40 - int(seed);
                Packing s = normal_setup(kind, w, h, seed, 3, gap);
                const std::vector<Circle> circles = pack_circles(s.region, s.options, host);
                EXPECT_FALSE(circles.empty());
                EXPECT_TRUE(valid_packing(circles, s.options, w, h));
                EXPECT_TRUE(same_circles(circles, test::reference_pack(s.region, s.options)));
            }
    // Without a map every candidate takes the largest radius the outline allows.
    for (double rmax : {3.0, 6.5}) {
        PackOptions o;
        o.min_radius = 1.1;
        o.max_radius = rmax;
        o.gap = 1;
        const PackRegion r = frame(41, 29);
        EXPECT_TRUE(same_circles(pack_circles(r, o, host), test::reference_pack(r, o)))
            << "no map, rmax " << rmax;
    }
}

// FNV-1a over the bit patterns of every circle's centre and radius, in packing order.
std::uint64_t circle_hash(const std::vector<Circle>& circles) {
    std::uint64_t h = 1469598103934665603ull;
    for (const Circle& c : circles)
        for (const double d : {c.x, c.y, c.radius}) {
            const auto bits = std::bit_cast<std::uint64_t>(d);
            for (int i = 0; i < 8; ++i) {
                h ^= (bits >> (8 * i)) & 0xff;
                h *= 1099511628211ull;
            }
        }
    return h;
}

// The packings of a few pictures, pinned bit for bit: speed work on the packer must not move a single
// circle. (Recorded from the packer as first written; change them only with a deliberate change of
// the packing rules.)
TEST(Packer, CircleListsArePinned) {
    struct Case {
        test::PictureKind kind;
        int w, h;
        std::uint32_t seed;
        std::size_t circles;
        std::uint64_t hash;
    };
    const Case cases[] = {
        {test::PictureKind::Photo, 240, 180, 11, 1838, 0x69106e8884104e94ull},
        {test::PictureKind::Noise, 200, 150, 12, 1459, 0x5721f5b06a220da3ull},
        {test::PictureKind::Blocks, 180, 200, 13, 1693, 0x00594632b75848cbull},
        {test::PictureKind::Stripes, 210, 140, 14, 1431, 0x1a2086fb0c9483fdull},
    };
    QuietHost host;
    for (const Case& c : cases) {
        Packing s = normal_setup(c.kind, c.w, c.h, c.seed);
        const std::vector<Circle> circles = pack_circles(s.region, s.options, host);
        EXPECT_EQ(circles.size(), c.circles) << test::kind_name(c.kind);
        EXPECT_EQ(circle_hash(circles), c.hash) << test::kind_name(c.kind);
    }
}

TEST(Packer, RegionsWithHolesArePackedAroundTheHoles) {
    QuietHost host;
    PackRegion r;
    r.outer = {{0, 0}, {60, 2}, {64, 40}, {30, 50}, {2, 38}};
    r.holes.push_back({{15, 15}, {25, 15}, {25, 25}, {15, 25}});  // square, either orientation
    r.holes.push_back({{40, 30}, {45, 20}, {50, 30}});            // triangle
    r.holes.push_back({{30, 8}, {34, 8}, {34, 9}, {30, 9}});      // thin sliver near the edge
    for (double rmax : {2.5, 5.0, 9.0}) {
        PackOptions o;
        o.min_radius = 0.8;
        o.max_radius = rmax;
        o.gap = 0.5;
        const std::vector<Circle> circles = pack_circles(r, o, host);
        ASSERT_GT(circles.size(), 10u) << rmax;
        EXPECT_TRUE(valid_packing(circles, o, 1e9, 1e9)) << rmax;
        for (const Circle& c : circles) {
            ASSERT_TRUE(test::inside_ring(r.outer, c.x, c.y));
            ASSERT_GE(test::distance_to_ring(r.outer, c.x, c.y), c.radius - 1e-9);
            for (const PackRing& hole : r.holes) {
                ASSERT_FALSE(test::inside_ring(hole, c.x, c.y)) << c.x << "," << c.y;
                ASSERT_GE(test::distance_to_ring(hole, c.x, c.y), c.radius - 1e-9) << c.x << "," << c.y;
            }
        }
        EXPECT_TRUE(same_circles(circles, test::reference_pack(r, o))) << rmax;
    }
}

TEST(Packer, GapShrinksAcceptedCirclesAndRefusesSmallOnes) {
    // A square of side 10 without a map: the first corner's candidate is the largest radius.
    struct Case {
        double rmax, gap;
        std::size_t at_least;
        double first;  // stored radius of the first circle; 0: no circle at all
    };
    const Case cases[] = {
        {2.0, 0.0, 1, 2.0}, {2.0, 1.0, 1, 1.5}, {0.5, 1.0, 0, 0.0}, {0.5, 0.98, 1, 0.01}, {0.5, 0.0, 1, 0.5},
    };
    QuietHost host;
    for (const Case& c : cases) {
        PackOptions o;
        o.min_radius = 0.1;
        o.max_radius = c.rmax;
        o.gap = c.gap;
        const std::vector<Circle> circles = pack_circles(frame(10, 10), o, host);
        ASSERT_GE(circles.size(), c.at_least) << c.rmax << " " << c.gap;
        if (c.first == 0) {
            EXPECT_TRUE(circles.empty());
            continue;
        }
        EXPECT_NEAR(circles[0].radius, c.first, 1e-12) << c.rmax << " " << c.gap;
        EXPECT_NEAR(circles[0].x, c.rmax, 1e-9);  // in the first corner, touching both edges
        EXPECT_NEAR(circles[0].y, c.rmax, 1e-9);
    }
}

TEST(Packer, NothingToPackGivesNoCircles) {
    QuietHost host;
    PackRegion degenerate;
    degenerate.outer = {{0, 0}, {10, 0}, {20, 0}};
    struct Case {
        PackRegion region;
        double min, max;
    } cases[] = {{degenerate, 1, 5}, {PackRegion{}, 1, 5}, {frame(20, 20), 1, 0}, {frame(20, 20), 30, 5}};
    for (const Case& c : cases) {
        PackOptions o;
        o.min_radius = c.min;
        o.max_radius = c.max;
        EXPECT_TRUE(pack_circles(c.region, o, host).empty()) << c.min << " " << c.max;
    }
}

// Stops the packing once it has been told about `after` circles.
class StoppingHost : public test::RecordingHost {
public:
    explicit StoppingHost(std::size_t after) : after_(after) {}
    void circles_added(std::span<const LiveCircle> batch) override {
        test::RecordingHost::circles_added(batch);
        seen_ += batch.size();
        if (seen_ >= after_) stop = true;
    }

private:
    std::size_t after_, seen_ = 0;
};

TEST(Packer, ReportsCirclesLiveAndStopsKeepingThem) {
    Packing s = normal_setup(test::PictureKind::Photo, 120, 90, 9);
    s.options.live_interval_seconds = 0;
    test::RecordingHost all;
    const std::vector<Circle> full = pack_circles(s.region, s.options, all);
    EXPECT_EQ(all.live_circles(), full.size());

    StoppingHost stopping(25);
    const std::vector<Circle> part = pack_circles(s.region, s.options, stopping);
    ASSERT_EQ(part.size(), 25u);
    EXPECT_EQ(stopping.live_circles(), 25u);
    for (std::size_t i = 0; i < part.size(); ++i) EXPECT_EQ(part[i].x, full[i].x);

    test::RecordingHost stopped;
    stopped.stop = true;
    EXPECT_TRUE(pack_circles(s.region, s.options, stopped).empty());
}

}  // namespace
}  // namespace velq
