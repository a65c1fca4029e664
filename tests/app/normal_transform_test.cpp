#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "app/filter_driver.h"
#include "app/transform_driver.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/packer.h"

namespace velq {
namespace {

// Stops the transform when the first accepted circles are reported.
class StopAtFirstCircles : public test::RecordingHost {
public:
    void circles_added(std::span<const LiveCircle> batch) override {
        test::RecordingHost::circles_added(batch);
        stop = true;
    }
};

// A Document with a picture of four flat quarters, filtered once (Normal) with INT 3.
template <class HostType = test::RecordingHost>
struct Opened {
    HostType host;
    Document doc{host};
    explicit Opened(UBUFFER source = quarters(), int interpolation = 3) {
        doc.source = std::move(source);
        doc.settings.interpolation = interpolation;
        doc.settings.max_size = 0.05;
        doc.seeds.fix(3);
        EXPECT_EQ(do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit), 0);
        host.clear();
    }
    static UBUFFER quarters() {
        return test::make_picture(48, 36, [](int x, int y) {
            static const std::uint32_t c[4] = {0xFFC03020u, 0xFF2060D0u, 0xFF30A040u, 0xFFE0E0E0u};
            return c[(x >= 24) + 2 * (y >= 18)];
        });
    }
};

std::uint32_t argb_of(const ColourRecord& c) {
    return std::uint32_t(c.c3) << 24 | std::uint32_t(c.c0) << 16 | std::uint32_t(c.c1) << 8 |
           std::uint32_t(c.c2);
}
std::uint32_t argb_at(const UBUFFER& p, int x, int y) {
    return std::uint32_t(p.at(x, y, 3)) << 24 | std::uint32_t(p.at(x, y, 2)) << 16 |
           std::uint32_t(p.at(x, y, 1)) << 8 | p.at(x, y, 0);
}

TEST(NormalTransform, NormalPacksTheFrameInThePicturesColours) {
    Opened o;
    const int w = o.doc.working.width(), h = o.doc.working.height();
    ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, true), 0);
    const std::size_t n = o.doc.circles.size();
    ASSERT_GT(n, 20u);
    EXPECT_EQ(o.host.messages(), std::vector<std::string>{"The number of circles is " + std::to_string(n)});
    const auto titles = o.host.titles();
    EXPECT_NE(std::find(titles.begin(), titles.end(), "Velquinograph (Getting brush size...)"), titles.end());
    EXPECT_EQ(o.host.live_circles(), n) << "every circle was shown while the packing ran";
    EXPECT_EQ(titles.back(), "Velquinograph");
    EXPECT_TRUE(o.doc.transformed);
    EXPECT_FALSE(o.doc.rendered);
    EXPECT_TRUE(o.doc.toggles.edges && o.doc.toggles.filtered && !o.doc.toggles.final_result);
    // The map is made at the filter buffer's size.
    EXPECT_EQ(o.doc.bs_buffer.width(), o.doc.filter_buffer.width());
    EXPECT_EQ(o.doc.bs_buffer.height(), o.doc.filter_buffer.height());
    // The frame, then one closed outline per circle.
    ASSERT_EQ(o.doc.pieces.size(), n + 1);
    EXPECT_TRUE(o.doc.pieces[0].closed);
    ASSERT_EQ(o.doc.pieces[0].points.size(), 4u);
    EXPECT_EQ(o.doc.pieces[0].points[2].x, w);
    EXPECT_EQ(o.doc.pieces[0].points[2].y, h);
    for (std::size_t i = 0; i < n; ++i) {
        const Circle& c = o.doc.circles[i];
        ASSERT_GT(c.x, 0);
        ASSERT_LT(c.x, 1);
        ASSERT_GT(c.y, 0);
        ASSERT_LT(c.y, 1);
        ASSERT_TRUE(o.doc.pieces[i + 1].closed);
        const BoundaryPoint p = o.doc.pieces[i + 1].points[0];
        EXPECT_NEAR(std::hypot(p.x - c.x * w, p.y - c.y * h), c.radius, 1e-9);
        const double px = c.x * w, py = c.y * h;
        if (std::fabs(px - std::round(px)) < 1e-6 || std::fabs(py - std::round(py)) < 1e-6) continue;
        EXPECT_EQ(argb_of(c.own), argb_at(o.doc.filtered, int(px), int(py))) << "circle " << i;
    }
}

TEST(NormalTransform, TheFilteredPictureShapesTheCircles) {
    // A 100 x 75 picture enlarged by 2: brush sizes up to 4 (maxpx 5), about 2 working pixels each.
    // Coarse noise (blocks of 4 working pixels, 2 after the picture is brought to the filter buffer's
    // size) leaves every brush size at 1; one flat colour lets circles grow.
    const UBUFFER source = test::noise_picture(100, 75, 2);
    Opened noisy(source.clone(), 2), flat(source.clone(), 2);
    noisy.doc.filtered =
        test::make_picture(noisy.doc.working.width(), noisy.doc.working.height(), [](int x, int y) {
            const std::uint32_t k = std::uint32_t(x / 4) * 2654435761u ^ std::uint32_t(y / 4) * 40503u;
            return 0xFF000000u | ((k * 2246822519u) >> 8);
        });
    flat.doc.filtered = test::flat_picture(flat.doc.working.width(), flat.doc.working.height(), 0xFF806040u);
    ASSERT_EQ(do_transform(noisy.doc, noisy.host, TransformMode::Normal, false), 0);
    ASSERT_EQ(do_transform(flat.doc, flat.host, TransformMode::Normal, false), 0);
    double noisy_max = 0, flat_max = 0;
    for (const Circle& c : noisy.doc.circles) noisy_max = std::max(noisy_max, c.radius);
    for (const Circle& c : flat.doc.circles) {
        flat_max = std::max(flat_max, c.radius);
        EXPECT_EQ(argb_of(c.own), 0xFF806040u);
    }
    EXPECT_LE(noisy_max, 2.0);
    EXPECT_GT(flat_max, 4.0);
    EXPECT_GT(noisy.doc.circles.size(), flat.doc.circles.size());

    // After K-mean with 2 colours, the circles take those colours only.
    Opened k;
    k.doc.settings.k_mean = 2;
    k.doc.source = test::noise_picture(48, 36, 8);
    ASSERT_EQ(do_filter(k.doc, k.host, FilterKind::KMean, k.doc.settings.memory_limit), 0);
    ASSERT_EQ(do_transform(k.doc, k.host, TransformMode::Normal, false), 0);
    std::set<std::uint32_t> colours;
    for (const Circle& c : k.doc.circles) colours.insert(argb_of(c.own));
    EXPECT_LE(colours.size(), 2u);
}

TEST(NormalTransform, RefusesMinAtOrAboveMax) {
    struct Case {
        double min, max;
    };
    // The working picture is 142 pixels wide: 1.1 / 142 = 0.0077 is the smallest Min in effect.
    for (const Case c : {Case{0.02, 0.02}, Case{0.05, 0.02}, Case{0.0005, 0.007}, Case{0.0, 0.0}}) {
        Opened o;
        o.doc.settings.min_size = c.min;
        o.doc.settings.max_size = c.max;
        do_transform(o.doc, o.host, TransformMode::Normal, true);
        const std::vector<std::string> said{"Invalid MAX, MIN value in fill_circle_algo1()",
                                            "The number of circles is 0"};
        EXPECT_EQ(o.host.messages(), said);
        EXPECT_TRUE(o.doc.circles.empty());
    }
}

TEST(NormalTransform, StopKeepsTheColoursAndPlacesOfAcceptedCircles) {
    Opened<StopAtFirstCircles> o;
    ASSERT_EQ(do_transform(o.doc, o.host, TransformMode::Normal, false), 0);
    ASSERT_FALSE(o.doc.circles.empty());
    EXPECT_EQ(o.doc.pieces.size(), 1u) << "outline paths stop with Stop";
    std::set<std::uint32_t> colours;
    for (const Circle& c : o.doc.circles) {
        EXPECT_GT(c.x, 0);
        EXPECT_LT(c.x, 1);
        colours.insert(argb_of(c.own));
    }
    EXPECT_FALSE(colours.count(0xFFFFFFFFu)) << "no circle kept the white it was made with";
}

}  // namespace
}  // namespace velq
