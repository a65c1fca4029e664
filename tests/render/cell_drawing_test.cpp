#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include <opencv2/imgproc.hpp>

#include "host/worker_pool.h"
#include "render/cell_diagram.h"
#include "render/cell_picture.h"
#include "render/drawing.h"
#include "render/site_grid.h"
#include "render/spikes.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "transform/ring_checks.h"

namespace velq {
namespace {

constexpr double kW = 256, kH = 256;

// Circles that do not overlap, placed at random, radii 1..max_r; optionally one huge circle first.
std::vector<CellSite> random_circles(unsigned seed, int n, double max_r, double huge = 0) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> pos(0, kW), rad(1, max_r);
    std::vector<CellSite> out;
    std::vector<double> radius;
    if (huge > 0) out.push_back({kW * 0.45, kH * 0.55, huge * huge}), radius.push_back(huge);
    for (int tries = 0; int(out.size()) < n && tries < 100000; ++tries) {
        const double x = pos(gen), y = pos(gen), r = rad(gen);
        bool clear = true;
        for (std::size_t k = 0; k < out.size() && clear; ++k)
            clear = std::hypot(out[k].x - x, out[k].y - y) >= r + radius[k];
        if (clear) out.push_back({x, y, r * r}), radius.push_back(r);
    }
    return out;
}

double power(const CellSite& s, double x, double y) {
    return (x - s.x) * (x - s.x) + (y - s.y) * (y - s.y) - s.weight;
}

// Every pixel centre belongs to the cell of its least power distance, found by trying every site;
// disagreements only within a pixel of an edge. The cells tile the frame.
TEST(CellDiagram, AgreesWithBruteForceNearestSearch) {
    struct Case {
        const char* what;
        std::vector<CellSite> sites;
    };
    auto plain = [](std::vector<CellSite> s) {
        for (CellSite& c : s) c.weight = 0;
        return s;
    };
    const Case cases[] = {
        {"power cells", random_circles(1, 300, 9)},
        {"plain cells", plain(random_circles(2, 300, 9))},
        // A fixed search window around the tiny cells would miss the huge circle's cut.
        {"one huge circle among tiny ones", random_circles(3, 300, 2.5, 70)},
        {"overlapping circles",
         [] {
             auto s = random_circles(4, 200, 6);
             for (CellSite& c : s) c.weight *= 4;
             return s;
         }()},
    };
    test::RecordingHost host;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CellDiagram d;
        ASSERT_TRUE(make_cell_diagram(host, c.sites, kW, kH, d, 1));
        ASSERT_EQ(d.size(), int(c.sites.size()));
        double area = 0;
        for (int i = 0; i < d.size(); ++i) area += cell_area(d, i);
        EXPECT_NEAR(area, kW * kH, kW * kH * 1e-9);
        int wrong = 0;
        for (int y = 0; y < int(kH); ++y)
            for (int x = 0; x < int(kW); ++x) {
                const double px = x + 0.5, py = y + 0.5;
                int best = 0;
                for (int j = 1; j < int(c.sites.size()); ++j)
                    if (power(c.sites[std::size_t(j)], px, py) < power(c.sites[std::size_t(best)], px, py))
                        best = j;
                if (test::inside_ring(d.cell(best), px, py)) continue;
                ++wrong;
                ASSERT_LE(test::distance_to_ring(d.cell(best), px, py), 1.0) << x << "," << y;
            }
        EXPECT_LE(wrong, int(kW * kH * 0.005));
        if (c.sites[0].weight != 0) continue;
        // The plain cells have the areas of OpenCV's Voronoi facets clipped to the frame.
        cv::Subdiv2D subdiv(cv::Rect(0, 0, int(kW), int(kH)));
        for (const CellSite& s : c.sites) subdiv.insert(cv::Point2f(float(s.x), float(s.y)));
        std::vector<std::vector<cv::Point2f>> facets;
        std::vector<cv::Point2f> centres;
        subdiv.getVoronoiFacetList({}, facets, centres);
        ASSERT_EQ(facets.size(), c.sites.size());
        const std::vector<cv::Point2f> frame{{0, 0}, {float(kW), 0}, {float(kW), float(kH)}, {0, float(kH)}};
        for (std::size_t i = 0; i < c.sites.size(); ++i) {
            std::vector<cv::Point2f> clipped;
            EXPECT_NEAR(cell_area(d, int(i)), cv::intersectConvexConvex(facets[i], frame, clipped), 0.05)
                << i;
        }
    }
}

// Every web spike ends on the dividing line of its pair: where the two power distances are equal.
TEST(CellDiagram, WebSpikesMeetOnTheDividingLine) {
    test::RecordingHost host;
    const auto sites = random_circles(6, 300, 8);
    CellDiagram diagram;
    ASSERT_TRUE(make_cell_diagram(host, sites, kW, kH, diagram, 2));
    std::size_t count = 0;
    for (int i = 0; i < diagram.size(); ++i) {
        std::vector<Spike> spikes;
        web_spikes(diagram, sites, i, 1, spikes);
        for (const Spike& s : spikes) {
            // The neighbour this spike points at: the one whose power distance at the tip equals i's.
            const double own = power(sites[std::size_t(i)], s.tip.x, s.tip.y);
            double nearest = 1e300;
            for (std::int32_t j : diagram.edges(i))
                if (j >= 0)
                    nearest =
                        std::min(nearest, std::abs(power(sites[std::size_t(j)], s.tip.x, s.tip.y) - own));
            EXPECT_LE(nearest, 1e-9 * std::max(1.0, std::abs(own)));
        }
        count += spikes.size();
    }
    EXPECT_GT(count, 4 * sites.size());
}

// The circles as placements, each in a colour of its own.
std::vector<Placement> placements_of(const std::vector<CellSite>& sites) {
    std::vector<Placement> placements;
    for (std::size_t i = 0; i < sites.size(); ++i) {
        Placement p;
        p.x = sites[i].x, p.y = sites[i].y, p.radius = std::sqrt(sites[i].weight);
        p.paint = {double(i * 37 % 200), double(i * 91 % 200), double(i * 13 % 200), 255, 0, true};
        placements.push_back(p);
    }
    return placements;
}

// Every look gives the same bytes on one thread as on several.
TEST(Drawing, SameBytesWhateverTheThreadCount) {
    const auto placements = placements_of(random_circles(7, 400, 7, 30));
    const UBUFFER picture =
        test::make_picture(64, 64, [](int x, int y) { return std::uint32_t(x * 3 + y) << 8; });
    test::RecordingHost host;
    for (DrawingKind kind : {DrawingKind::PebbleCells, DrawingKind::CrystalCells, DrawingKind::WebSpikes,
                             DrawingKind::BurstSpikes}) {
        SCOPED_TRACE(int(kind));
        const Drawing drawing{kind, 1, 1.0, 7, 2, 0x204060};
        const auto draw = [&](int threads) {
            UBUFFER out;
            EXPECT_TRUE(out.allocate(int(kW), int(kH), 4));
            EXPECT_TRUE(paint_drawing(host, drawing, placements, picture, 5, out, nullptr, threads));
            return out;
        };
        const UBUFFER first = draw(1);
        for (int threads : {2, 3})
            EXPECT_TRUE(test::same_bytes(draw(threads), first)) << threads << " threads";
        // Something was drawn in the placements' colours.
        const std::uint8_t* p = &first.at(int(placements[5].x), int(placements[5].y));
        EXPECT_NE(p[0] + p[1] + p[2], 0);
    }
}

// The site grids are the same made on one thread or several (which read the sites in runs).
TEST(SiteGrid, SameGridsWhateverTheThreadCount) {
    std::mt19937 gen(5);
    std::uniform_real_distribution<double> pos(-10, 3000), rad(0.5, 60);
    std::vector<CellSite> sites;
    for (int i = 0; i < 9000; ++i) sites.push_back({pos(gen), pos(gen), std::pow(rad(gen), 4) / 3600});
    sites.push_back(sites[17]);  // a repeated site keeps its order
    const auto one = make_site_grids(sites, 2900, 2800);
    for (int threads : {2, 3}) {
        WorkerPool pool(threads);
        const auto many = make_site_grids(sites, 2900, 2800, &pool);
        ASSERT_EQ(many.size(), one.size());
        for (std::size_t c = 0; c < one.size(); ++c) {
            SCOPED_TRACE(testing::Message() << threads << " threads, class " << c);
            EXPECT_EQ(many[c].start, one[c].start);
            EXPECT_EQ(many[c].ids, one[c].ids);
            EXPECT_EQ(many[c].x, one[c].x);
            EXPECT_EQ(many[c].weight, one[c].weight);
            EXPECT_EQ(many[c].max_weight, one[c].max_weight);
        }
    }
    EXPECT_GT(one.size(), 2u);
}

// The cell picture makes the same bytes one pixel, four or eight at a time (as far as the processor
// goes), with overlapping, repeated and huge circles, rows split anyhow and a frame whose width and
// height are no multiple of a tile.
TEST(CellPicture, SameBytesWhateverTheLanes) {
    auto sites = random_circles(11, 300, 8, 40);
    sites.push_back(sites[3]);
    sites.push_back({sites[7].x + 2, sites[7].y, sites[7].weight * 4});  // over its neighbour
    std::vector<CellInk> inks;
    for (std::size_t i = 0; i < sites.size(); ++i)
        inks.push_back({float(1 / (2.56 * sites[i].weight)),
                        1.5f,
                        {float(i * 37 % 255), float(i * 91 % 255), float(i * 13 % 255)},
                        {20, 40, 60},
                        sites[i].x,
                        sites[i].y});
    const int w = 253, h = 250;
    const auto draw = [&](int lanes, int split) {
        const CellPicture picture(sites, inks, w, h, lanes);
        UBUFFER out;
        EXPECT_TRUE(out.allocate(w, h, 4));
        for (int y = 0; y < h; y += split) picture.paint_rows(out, y, std::min(h, y + split));
        return out;
    };
    const UBUFFER one = draw(1, h);
    for (const auto& [lanes, split] : {std::pair{4, 16}, std::pair{8, 32}, std::pair{0, 5}})
        EXPECT_TRUE(test::same_bytes(draw(lanes, split), one)) << lanes << " lanes, rows by " << split;
}

// Every pixel whose centre is clear of a dividing line takes its site's colour, shaded as
// 1.12 - 0.25 min(1, d / 1.6 r), with the lead colour over it by clamp(reach - e, 0, 1), e the
// distance to the nearest line between its site and another; the owner and e by trying every site.
// A repeated circle (in a colour of its own) owns nothing: the first of equals wins.
TEST(Drawing, CellPixelsTakeTheShadedColourOfTheirSite) {
    auto sites = random_circles(8, 300, 9);
    sites.push_back(sites[5]);
    const auto placements = placements_of(sites);
    const std::uint32_t lead_colour = 0x2050f0;  // red in the low byte
    const double lead_bgr[3] = {0x20, 0x50, 0xf0}, reach = 2 / 2.0 + 0.5;
    test::RecordingHost host;
    UBUFFER out;
    ASSERT_TRUE(out.allocate(int(kW), int(kH), 4));
    ASSERT_TRUE(paint_drawing(host, Drawing{DrawingKind::PebbleCells, 1, 1.0, 7, 2, lead_colour}, placements,
                              UBUFFER{}, 0, out, nullptr, 1));
    int checked = 0, inked = 0;
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x) {
            const double px = x + 0.5, py = y + 0.5;
            std::size_t best = 0;
            for (std::size_t j = 1; j < sites.size(); ++j)
                if (power(sites[j], px, py) < power(sites[best], px, py)) best = j;
            double edge = 1e9;
            for (std::size_t j = 0; j < sites.size(); ++j) {
                const double d = std::hypot(sites[best].x - sites[j].x, sites[best].y - sites[j].y);
                if (d > 0)
                    edge = std::min(edge, (power(sites[j], px, py) - power(sites[best], px, py)) / (2 * d));
            }
            if (edge < 1e-3) continue;
            const Placement& p = placements[best];
            const double shade =
                1.12 - 0.25 * std::min(1.0, std::hypot(px - p.x, py - p.y) / (1.6 * p.radius));
            const double colour[3] = {p.paint.c2, p.paint.c1, p.paint.c0};
            const double cover = std::clamp(reach - edge, 0.0, 1.0);
            for (int k = 0; k < 3; ++k) {
                const double level = std::min(255.0, std::floor(colour[k] * shade + 0.5));
                ASSERT_NEAR(out.at(x, y, k), std::floor(level + (lead_bgr[k] - level) * cover + 0.5), 1)
                    << x << "," << y;
            }
            ++checked;
            inked += cover > 0;
        }
    EXPECT_GT(checked, out.width() * out.height() * 9 / 10);
    EXPECT_GT(inked, checked / 5);
}

// Lead lines lie on the edges two cells share: full ink within half the width of the edge, a soft
// side half a pixel wide beyond it, nothing further on and nothing along the frame.
TEST(Drawing, LeadLinesCoverSharedEdgesOnly) {
    std::vector<Placement> placements(2);
    placements[0].x = 16, placements[1].x = 48;  // the shared edge is the line x = 32
    for (Placement& p : placements) p.y = 16, p.radius = 8, p.paint = {200, 150, 100, 255, 0, true};
    test::RecordingHost host;
    auto draw = [&](int lead) {
        const Drawing drawing{DrawingKind::PebbleCells, 1, 1.0, 7, lead, 0x000000};
        UBUFFER out;
        EXPECT_TRUE(out.allocate(64, 32, 4));
        EXPECT_TRUE(paint_drawing(host, drawing, placements, UBUFFER{}, 0, out, nullptr, 1));
        return out;
    };
    const UBUFFER plain = draw(0), leaded = draw(3);  // reach 3 / 2 + 0.5 from the edge
    enum Expect { Ink, Between, Plain };
    const struct {
        int x, y;
        Expect expect;
    } cases[] = {{31, 10, Ink},   {32, 10, Ink},   {30, 10, Between}, {33, 10, Between},
                 {29, 10, Plain}, {34, 10, Plain}, {31, 0, Ink},      {32, 31, Ink},
                 {10, 0, Plain},  {0, 16, Plain},  {63, 31, Plain}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << "," << c.y);
        const std::uint8_t* got = &leaded.at(c.x, c.y);
        const std::uint8_t* was = &plain.at(c.x, c.y);
        for (int k = 0; k < 3; ++k) {
            switch (c.expect) {
                case Ink:
                    EXPECT_EQ(got[k], 0);
                    break;
                case Plain:
                    EXPECT_EQ(got[k], was[k]);
                    break;
                case Between:  // centre 1.5 from the edge: coverage 2 - 1.5
                    EXPECT_EQ(got[k], int(was[k] * 0.5 + 0.5));
                    break;
            }
        }
    }
}

}  // namespace
}  // namespace velq
