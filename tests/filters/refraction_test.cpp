#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include <opencv2/imgproc.hpp>

#include "filters/broken_glass.h"
#include "filters/filter.h"
#include "filters/prism.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::same_bytes;

UBUFFER run_prism(const UBUFFER& in, const PrismLayout& layout, int blocks = 1) {
    test::RecordingHost host;
    Progress progress(host, "Prism");
    UBUFFER out;
    out.allocate(in.width(), in.height(), 4);
    EXPECT_TRUE(prism_warp(progress, in, out, layout, blocks));
    return out;
}

UBUFFER run_glass(const UBUFFER& in, const Shatter& shatter, IBUFFER* labels = nullptr, int blocks = 1) {
    test::RecordingHost host;
    Progress progress(host, "Broken glass");
    UBUFFER out;
    out.allocate(in.width(), in.height(), 4);
    IBUFFER own;
    IBUFFER& l = labels ? *labels : own;
    l.allocate(in.width(), in.height());
    EXPECT_TRUE(broken_glass_warp(progress, in, out, l, shatter, blocks));
    return out;
}

// The labels that fall apart into more than one piece (neighbours through edges or corners).
std::set<std::uint32_t> split_labels(const IBUFFER& labels) {
    const cv::Mat map(labels.height(), labels.width(), CV_32S, const_cast<std::uint32_t*>(labels.data()));
    std::set<std::uint32_t> split;
    cv::Mat pieces;
    for (const std::uint32_t id : std::set<std::uint32_t>(labels.data(), labels.data() + labels.size()))
        if (cv::connectedComponents(map == int(id), pieces, 8) > 2) split.insert(id);
    return split;
}

// A one-pixel white line on black, inside one facet: green stays on the line, red and blue copies sit
// `spread` to either side along the facet's axis (2 * spread * |sin angle| apart across a vertical
// line), red on the side the facet's orientation gives. A flat grey stays grey under the shading.
// With no spread or shading every byte comes back: a read half a pixel off, or a gain that is not
// exactly 1, shows at once on noise.
TEST(Prism, ChannelsSeparateAlongTheFacetAxis) {
    const UBUFFER noise = test::noise_picture(97, 61, 5, false);
    PrismLayout still;
    still.side = 20, still.angle = 0.7, still.seed = 3;
    EXPECT_TRUE(same_bytes(run_prism(noise, still), noise));
    const int w = 41, h = 21, line = 20;
    const UBUFFER in =
        test::make_picture(w, h, [&](int x, int) { return x == line ? 0xFFFFFFFFu : 0xFF000000u; });
    for (const auto& [angle, spread] : {std::pair{std::acos(-1.0) / 2, 2.5}, {0.9, 3.0}}) {
        PrismLayout l;
        l.side = 2000, l.angle = angle, l.spread = spread, l.shift_u = 900, l.shift_v = 800;
        const UBUFFER out = run_prism(in, l);
        const FacetPlace place = prism_facet(l, line, h / 2);
        ASSERT_TRUE(prism_facet(l, 0, 0).id == place.id && prism_facet(l, w - 1, h - 1).id == place.id);
        const double dx = -std::sin(angle) * (place.up ? 1 : -1) * spread;
        for (int y = 0; y < h; y += 5) {
            double centre[3] = {}, mass[3] = {};
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3; ++c) centre[c] += x * out.at(x, y, c), mass[c] += out.at(x, y, c);
            EXPECT_NEAR(centre[1] / mass[1], line, 0.01) << angle;
            EXPECT_NEAR(centre[2] / mass[2], line - dx, 0.5) << angle;
            EXPECT_NEAR(centre[0] / mass[0], line + dx, 0.5) << angle;
        }
    }
    const UBUFFER out = run_prism(test::flat_picture(120, 90, 0xFF808080u), prism_layout(120, 90, 0.05, 4));
    std::set<int> greys;
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 120; ++x) {
            ASSERT_TRUE(out.at(x, y, 0) == out.at(x, y, 1) && out.at(x, y, 1) == out.at(x, y, 2));
            ASSERT_EQ(out.at(x, y, 3), 255) << "alpha is never shaded";
            greys.insert(out.at(x, y, 0));
        }
    EXPECT_TRUE(*greys.begin() >= 121 && *greys.rbegin() <= 135 && greys.size() > 8);
}

// Facets well inside the picture cover the area of an equilateral triangle of the layout's side
// within 3 % (an edge along the pixel rows gains or loses up to a row), each in one piece, whatever
// the turn of the lattice; rows of triangles meet corner to corner, so six facets meet at a corner.
TEST(Prism, FacetsTileThePictureInEqualTriangles) {
    const int w = 500, h = 400;
    for (double angle : {0.0, 0.4, 1.0}) {
        PrismLayout l;
        l.side = 80, l.angle = angle, l.shift_u = 13, l.shift_v = 7;
        IBUFFER labels;
        labels.allocate(w, h);
        std::map<std::int64_t, std::uint32_t> index;
        std::map<std::uint32_t, int> area;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const std::uint32_t id =
                    index.emplace(prism_facet(l, x, y).id, std::uint32_t(index.size())).first->second;
                labels.at(x, y) = id;
                // Facets on the frame are cut short: they never count.
                area[id] = (x == 0 || y == 0 || x == w - 1 || y == h - 1 || area[id] < 0) ? -1 : area[id] + 1;
            }
        const double triangle = std::sqrt(3.0) / 4 * 80 * 80;
        int inner = 0;
        for (const auto& [id, a] : area)
            if (a >= 0) {
                ++inner;
                EXPECT_NEAR(a, triangle, 0.03 * triangle) << angle;
            }
        EXPECT_GT(inner, 30);
        std::size_t most = 0;
        for (int y = 2; y < h - 2; ++y)
            for (int x = 2; x < w - 2; ++x) {
                std::set<std::uint32_t> around;
                for (int dy = -2; dy <= 2; ++dy)
                    for (int dx = -2; dx <= 2; ++dx) around.insert(labels.at(x + dx, y + dy));
                most = std::max(most, around.size());
            }
        EXPECT_EQ(most, 6u) << angle;
        EXPECT_TRUE(split_labels(labels).empty()) << angle;
    }
}

// On still, unshaded glass over noise only the cracks show: pixels with another shard within the
// crack width to their left or above are lit 55 % towards white, the rest with one to their right or
// below are halved, all others keep every byte (a read half a pixel off, or a gain that is not exactly
// 1, shows at once); alpha never changes.
TEST(BrokenGlass, CracksAreBevelsLitFromTheUpperLeft) {
    const int w = 160, h = 120, width = 2;
    BrokenGlassParams p;
    p.motion = 0, p.gain = 0, p.crack_width = width;
    IBUFFER labels;
    const UBUFFER in = test::noise_picture(w, h, 5, false);
    const UBUFFER out = run_glass(in, Shatter(w, h, p, 3), &labels);
    const auto other = [&](int x, int y, int sx, int sy) {
        for (int d = 1; d <= width; ++d)
            if (labels.inside(x + sx * d, y + sy * d) && labels.at(x + sx * d, y + sy * d) != labels.at(x, y))
                return true;
        return false;
    };
    int lit = 0, dark = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool up = other(x, y, -1, 0) || other(x, y, 0, -1);
            const bool down = !up && (other(x, y, 1, 0) || other(x, y, 0, 1));
            lit += up, dark += down;
            for (int c = 0; c < 3; ++c) {
                const int v = in.at(x, y, c);
                ASSERT_EQ(out.at(x, y, c), up ? v + (255 - v) * 55 / 100 : down ? v / 2 : v) << x << "," << y;
            }
            ASSERT_EQ(out.at(x, y, 3), in.at(x, y, 3));
        }
    EXPECT_TRUE(lit > 500 && dark > 500);
}

// On a picture whose red and green are the pixel's own x and y, every pixel shows the source position
// its shard's motion gives, within the rounding to bytes; every motion is a turn plus a shift (nothing
// sheared), and most shards move. Motion is doubled so that turns show above the rounding; reads that
// the motion sends off the picture (mirrored there) are left out. Every shard is one piece (through
// edges or corners: pixel centres in a thin wedge touch only diagonally), with impacts seeded, near a
// corner and near an edge.
TEST(BrokenGlass, EachShardIsOnePieceAndMovesRigidly) {
    const int w = 220, h = 180;
    const UBUFFER coords = test::make_picture(
        w, h, [](int x, int y) { return 0xFF000000u | std::uint32_t(x) << 16 | std::uint32_t(y) << 8; });
    for (const auto& [seed, fx, fy] :
         {std::tuple{7u, 0.0, 0.0}, {2u, 0.0, 0.0}, {3u, 0.9, 0.1}, {4u, 0.05, 0.5}}) {
        SCOPED_TRACE(seed);
        BrokenGlassParams p;
        p.gain = 0, p.crack_width = 0, p.motion = 2, p.impact_x = fx, p.impact_y = fy;
        const Shatter shatter(w, h, p, seed);
        IBUFFER labels;
        const UBUFFER out = run_glass(coords, shatter, &labels);
        EXPECT_TRUE(split_labels(labels).empty());
        std::set<std::uint32_t> shards, moved;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const Shatter::Motion& m = shatter.motion(int(labels.at(x, y)));
                ASSERT_TRUE(m.m00 == m.m11 && m.m01 == -m.m10) << labels.at(x, y);
                ASSERT_NEAR(m.m00 * m.m00 + m.m01 * m.m01, 1.0, 1e-9);
                const double sx = m.m00 * x + m.m01 * y + m.tx, sy = m.m10 * x + m.m11 * y + m.ty;
                shards.insert(labels.at(x, y));
                if (std::hypot(sx - x, sy - y) > 0.5) moved.insert(labels.at(x, y));
                if (sx < 0 || sy < 0 || sx > w - 1 || sy > h - 1) continue;
                ASSERT_NEAR(out.at(x, y, 2), sx, 1.0) << x << "," << y;
                ASSERT_NEAR(out.at(x, y, 1), sy, 1.0) << x << "," << y;
            }
        EXPECT_GT(shards.size(), std::size_t(shatter.ray_count()) * 2);
        EXPECT_GT(moved.size(), shards.size() / 2);
    }
}

// Both filters through the dispatcher: one seed repeats the bytes, another changes them, any split of
// the rows gives the same bytes, and Stop halfway leaves the picture untouched.
TEST(Refraction, SeededThreadFreeAndStoppable) {
    const UBUFFER in = test::noise_picture(150, 110, 9, false);
    FilterParams params;
    params.max_size = 0.03;
    const auto filtered = [&](FilterKind kind, std::uint32_t seed) {
        test::RecordingHost host;
        SeedSource seeds;
        seeds.fix(seed);
        UBUFFER p = in.clone();
        EXPECT_EQ(apply_filter(host, kind, p, params, seeds), 0);
        EXPECT_EQ(host.percents().end()[-2], 100) << "then 0 when the stage ends";
        return p;
    };
    for (FilterKind kind : {FilterKind::Prism, FilterKind::BrokenGlass}) {
        SCOPED_TRACE(filter_menu_text(kind));
        const UBUFFER a = filtered(kind, 31);
        EXPECT_TRUE(same_bytes(a, filtered(kind, 31)) && !same_bytes(a, filtered(kind, 32)));
        for (int blocks : {1, 3, 7}) {
            const UBUFFER b = kind == FilterKind::Prism
                                  ? run_prism(in, prism_layout(150, 110, params.max_size, 31), blocks)
                                  : run_glass(in, Shatter(150, 110, {}, 31), nullptr, blocks);
            EXPECT_TRUE(same_bytes(a, b)) << blocks << " blocks";
        }
        test::RecordingHost host;
        host.stop_at_percent = 1;  // once the first band of rows is done
        UBUFFER p = in.clone();
        EXPECT_EQ(apply_filter(host, kind, p, params, SeedSource{}), -1);
        EXPECT_TRUE(same_bytes(p, in) && host.messages().empty());
    }
}

}  // namespace
}  // namespace velq
