#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <tuple>

#include "reference.h"
#include "render/band_paint.h"
#include "render/paint.h"
#include "render/renderer.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::same_bytes;

TEST(FloorDiv255, EqualsTruncatedClampedQuotient) {
    // The one fact the division-free floor rests on: just below 255 n the quotient stays below n.
    for (int n = 1; n <= 256; ++n) {
        const double below = std::nextafter(255.0 * n, 0.0);
        EXPECT_EQ(floor_div255(below), std::min(n - 1, 255)) << n;
        EXPECT_EQ(floor_div255(255.0 * n), std::min(n, 255)) << n;
    }
    std::mt19937_64 gen(7);
    std::uniform_real_distribution<double> any(-2000.0, 70000.0);
    for (int i = 0; i < 200000; ++i) {
        const double s = any(gen);
        ASSERT_EQ(floor_div255(s), int(std::clamp(s / 255, 0.0, 255.0))) << s;
    }
}

// Shapes with soft edges and varied shading, so every path of the blend sees real inputs.
std::vector<std::unique_ptr<SHAPE>> test_shapes(Host& host) {
    std::vector<std::unique_ptr<SHAPE>> shapes;
    shapes.push_back(std::make_unique<SHAPE>(host));  // the default disc
    std::mt19937 gen(3);
    shapes.push_back(test::make_shape(host, [&](int, int) {
        return std::pair{int(gen() & 255), int(gen() % 3 == 0 ? 0 : gen() & 255)};
    }));
    shapes.push_back(test::make_shape(
        host,
        [](int x, int y) {
            const double r = std::hypot(x - 512.0, y - 512.0);
            return std::pair{int(x / 4), r < 400 ? 255 : r < 500 ? int(500 - r) * 2 : 0};
        },
        130, 200));
    return shapes;
}

Placement placement(const SHAPE* shape, double x, double y, double r, ColourRecord paint,
                    int transparency = 255, double brightness = 100) {
    Placement p;
    p.shape = shape, p.x = x, p.y = y, p.radius = r, p.paint = paint;
    p.transparency = transparency, p.brightness = brightness;
    return p;
}

ColourRecord grey(double v) {
    return ColourRecord{v, v, v, 255, 0, true};
}

struct RandomPlacements {
    std::mt19937 gen;
    const std::vector<std::unique_ptr<SHAPE>>& shapes;
    int w, h;

    double uniform(double a, double b) { return std::uniform_real_distribution<double>(a, b)(gen); }
    int pick(int n) { return int(gen() % unsigned(n)); }

    Placement next() {
        const int kind = pick(20);
        const double r = kind == 0 ? uniform(0.0, 1.0) : kind == 1 ? uniform(200, 330) : uniform(0.5, 40);
        double x = uniform(-45, w + 45);
        const double y = uniform(-45, h + 45);
        if (pick(8) == 0) x = -r + uniform(-1, 1);  // left edge inside the first column
        const int t = pick(4) == 0 ? 255 : pick(256);
        const double b = pick(5) == 0 ? uniform(20, 180) : 100.0;
        const bool whole = pick(4) != 0;
        double c[3];
        for (double& v : c) v = whole ? double(pick(256)) : uniform(0, 255);
        return placement(shapes[pick(int(shapes.size()))].get(), x, y, r,
                         ColourRecord{c[0], c[1], c[2], 255, 0, true}, t, b);
    }
};

TEST(FillShape, MatchesTheDirectFormula) {
    test::RecordingHost host;
    const auto shapes = test_shapes(host);
    for (const int g : {0, 40, -25, 300, 700}) {
        RandomPlacements rnd{std::mt19937(unsigned(100 + g)), shapes, 150, 110};
        UBUFFER fast = test::noise_picture(150, 110, unsigned(g + 1000));
        UBUFFER slow = fast.clone();
        for (int i = 0; i < 120; ++i) {
            const Placement p = rnd.next();
            ASSERT_EQ(fill_shape(host, p, fast, g), 0);
            test::reference_fill_shape(host, p, slow, g);
            ASSERT_TRUE(same_bytes(fast, slow)) << "G " << g << " placement " << i << " r " << p.radius;
        }
    }
    // Chosen placements, each with its global brightness: large sides enlarging and shrinking, a left
    // edge inside the first column so that two stencil columns land on column 0, left edges a hair
    // below a whole number; and every shade and opacity pair at the one side (1024) where the stencil
    // is the shape itself, for tints and settings that reach the exact path's corners.
    std::vector<std::pair<Placement, int>> chosen;
    for (const double r : {511.6, 512.0, 515.3})
        chosen.emplace_back(placement(shapes[2].get(), 300, 350, r, ColourRecord{200, 30, 90, 255, 0, true}),
                            0);
    chosen.emplace_back(placement(shapes[0].get(), 9.5, 10, 10, grey(255), 128), 0);
    for (const double left : {std::nextafter(3.0, 0.0), std::nextafter(7.0, 0.0), 5.0, 2.5})
        chosen.emplace_back(
            placement(shapes[0].get(), left + 9.3, std::nextafter(12.0, 0.0), 9.3, grey(255), 128), 0);
    auto pairs = test::make_shape(host, [](int x, int y) { return std::pair{x & 255, y & 255}; });
    // tint level, transparency, global, brightness
    const std::tuple<int, int, int, double> tints[] = {
        {0, 204, 0, 100},      {255, 255, 0, 100},  {255, 128, 0, 100},
        {17, 77, -30, 100},    {200, 1, 50, 100},   {128, 255, 512, 100},
        {254, 230, -512, 100}, {99, 255, 600, 100}, {31, 128, 0, 73.5}};
    for (const auto& [level, transparency, global, brightness] : tints) {
        const ColourRecord tint{double(level), double(255 - level), double(level / 2), 255, 0, true};
        chosen.emplace_back(placement(pairs.get(), 511.75, 511.75, 511.75, tint, transparency, brightness),
                            global);
    }
    // The old value runs through all 256 across each 256 x 256 tile, differently per tile.
    const UBUFFER tiles = test::make_picture(1024, 1024, [](int x, int y) {
        const std::uint32_t o = std::uint32_t(x * 7 + (y >> 8) * 61 + (x >> 8) * 13) & 255;
        return 0xFF000000u | o << 16 | (255 - o) << 8 | ((o * 3) & 255);
    });
    for (const auto& [p, g] : chosen) {
        SCOPED_TRACE(testing::Message() << "r " << p.radius << " at " << p.x << "," << p.y << " G " << g
                                        << " T " << p.transparency << " tint " << p.paint.c0);
        UBUFFER fast = tiles.clone(), slow = tiles.clone();
        fill_shape(host, p, fast, g);
        test::reference_fill_shape(host, p, slow, g);
        EXPECT_TRUE(same_bytes(fast, slow));
    }
    EXPECT_TRUE(host.messages().empty());
}

// Pinned bytes: where the formula's value is a whole number its doubles may fall just short of it,
// and the painted byte follows the doubles; and the edge cases of radius, transparency, brightness.
TEST(FillShape, PinnedCentreBytes) {
    test::RecordingHost host;
    struct Case {
        const char* what;
        int shade, opacity, tint, transparency, old_value, global;
        double radius, brightness;
        int centre;
    } cases[] = {
        {"exactly 57 as a fraction", 0, 238, 0, 204, 225, 0, 6, 100, 56},
        {"grey base layer shows the shade", 128, 255, 255, 255, 90, 0, 6, 100, 128},
        {"global brightness alone", 0, 255, 0, 255, 0, 50, 6, 100, 50},
        {"radius 0.2 paints nothing", 255, 255, 255, 255, 100, 0, 0.2, 100, 100},
        {"transparency 0 leaves the picture", 255, 255, 255, 0, 100, 0, 6, 100, 100},
        {"transparency 0, brightness 50 darkens", 255, 255, 255, 0, 100, 0, 6, 50, 50},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        auto shape = test::make_shape(host, [&](int, int) { return std::pair{k.shade, k.opacity}; });
        const Placement p =
            placement(shape.get(), 8, 8, k.radius, grey(k.tint), k.transparency, k.brightness);
        UBUFFER buf = test::flat_picture(16, 16, 0xFF000000u | k.old_value * 0x010101u);
        buf.at(8, 8, 3) = 7;
        EXPECT_EQ(fill_shape(host, p, buf, k.global), 0);
        EXPECT_EQ(std::tuple(int(buf.at(8, 8, 1)), int(buf.at(0, 0, 1)), int(buf.at(8, 8, 3))),
                  std::tuple(k.centre, k.old_value, k.radius < 1 ? 7 : 255));
    }
}

TEST(PaintPlacements, TilesAndThreadsKeepEveryPixelsOrder) {
    test::RecordingHost host;
    const auto shapes = test_shapes(host);
    RandomPlacements rnd{std::mt19937(11), shapes, 300, 260};
    std::vector<Placement> list;
    for (int i = 0; i < 400; ++i) list.push_back(rnd.next());
    UBUFFER ref = test::noise_picture(300, 260, 9);
    for (const Placement& p : list) test::reference_fill_shape(host, p, ref, 10);
    for (const int threads : {1, 2, 4}) {
        UBUFFER buf = test::noise_picture(300, 260, 9);
        ASSERT_TRUE(paint_placements(host, list, buf, 10, false, nullptr, threads));
        EXPECT_TRUE(same_bytes(buf, ref)) << threads << " threads";
    }
    // Shapes whose budget keeps next to none of their stencils paint the same.
    const auto tight = std::make_shared<StencilBudget>(20000);
    for (const auto& s : shapes) {
        s->stencils.clear();
        s->stencils.share(tight);
    }
    UBUFFER tight_buf = test::noise_picture(300, 260, 9);
    ASSERT_TRUE(paint_placements(host, list, tight_buf, 10, false, nullptr, 2));
    EXPECT_TRUE(same_bytes(tight_buf, ref)) << "tight budget";
    EXPECT_LE(tight->used(), tight->limit());
    UBUFFER buf = test::noise_picture(300, 260, 9);
    ASSERT_TRUE(paint_circles(host, std::vector<Circle>(list.begin(), list.end()), buf, 10));
    EXPECT_TRUE(same_bytes(buf, ref)) << "circles";

    // The white tint paints every shape white, the progress running to its end; a stop paints nothing.
    UBUFFER white = test::noise_picture(300, 260, 9), white_ref = white.clone();
    for (Placement p : list) {
        p.paint = grey(255);
        test::reference_fill_shape(host, p, white_ref, 10);
    }
    {
        Progress progress(host, "Rendering shapes");
        ASSERT_TRUE(paint_placements(host, list, white, 10, true, &progress, 2));
    }
    EXPECT_TRUE(same_bytes(white, white_ref)) << "white";
    const auto percents = host.percents();
    ASSERT_GE(percents.size(), 3u);
    EXPECT_EQ(std::pair(percents[percents.size() - 2], percents.back()), std::pair(100, 0));
    host.stop = true;
    EXPECT_FALSE(paint_placements(host, list, buf, 10, false, nullptr));
    EXPECT_TRUE(same_bytes(buf, ref)) << "stopped";
}

// A frame's shapes painted in bands on kept threads give the bytes of painting them one by one, for
// any number of jobs (none, fewer than a band takes, many) and of threads, frame after frame. So do
// kept jobs painted by their places, here last to first. A stop leaves the picture alone.
TEST(PaintJobsInBands, KeepEveryPixelsOrderForAnyBandsAndThreads) {
    test::RecordingHost host;
    const auto shapes = test_shapes(host);
    for (const int threads : {1, 2, 3, 5}) {
        WorkerPool pool(threads);
        Painter painter(host, 10);
        RandomPlacements rnd{std::mt19937(unsigned(20 + threads)), shapes, 240, 200};
        UBUFFER buf = test::noise_picture(240, 200, 4);
        UBUFFER ref = buf.clone(), kept_buf = buf.clone(), kept_ref = buf.clone();
        std::vector<PaintJob> jobs;
        for (const int count : {0, 5, 60, 400, 130}) {
            SCOPED_TRACE(testing::Message() << threads << " threads, " << count << " jobs");
            std::vector<Placement> placements(static_cast<std::size_t>(count));
            jobs = std::vector<PaintJob>(placements.size());
            std::vector<JobReach> reach;
            std::vector<std::uint32_t> which;
            for (std::size_t i = 0; i < placements.size(); ++i) {
                placements[i] = rnd.next();
                painter.prepare(placements[i], placements[i].paint, jobs[i]);
                test::reference_fill_shape(host, placements[i], ref, 10);
                reach.push_back(job_reach(jobs[i]));
                which.insert(which.begin(), std::uint32_t(i));
            }
            ASSERT_TRUE(paint_jobs_in_bands(host, painter, jobs, buf, pool));
            ASSERT_TRUE(same_bytes(buf, ref));
            for (const std::uint32_t i : which) test::reference_fill_shape(host, placements[i], kept_ref, 10);
            ASSERT_TRUE(paint_jobs_in_bands(host, painter, jobs, reach, which, kept_buf, pool));
            ASSERT_TRUE(same_bytes(kept_buf, kept_ref));
        }
        // The stop flag ends the painting, untouched, and is reported.
        host.stop = true;
        EXPECT_FALSE(paint_jobs_in_bands(host, painter, jobs, buf, pool));
        EXPECT_TRUE(same_bytes(buf, ref));
        host.stop = false;
    }
}

}  // namespace
}  // namespace velq
