#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "filters/broken_glass.h"
#include "filters/filter.h"
#include "filters/prism.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

bool same_bytes(const UBUFFER& a, const UBUFFER& b) {
    return a.same_shape(b) && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

UBUFFER blank_like(const UBUFFER& p) {
    UBUFFER out;
    out.allocate(p.width(), p.height(), 4);
    return out;
}

UBUFFER run_prism(const UBUFFER& in, const PrismLayout& layout, int blocks = 1) {
    test::RecordingHost host;
    Progress progress(host, "Prism");
    UBUFFER out = blank_like(in);
    EXPECT_TRUE(prism_warp(progress, in, out, layout, blocks));
    return out;
}

UBUFFER run_glass(const UBUFFER& in, const Shatter& shatter, IBUFFER* labels_out = nullptr, int blocks = 1) {
    test::RecordingHost host;
    Progress progress(host, "Broken glass");
    UBUFFER out = blank_like(in);
    IBUFFER labels;
    labels.allocate(in.width(), in.height());
    EXPECT_TRUE(broken_glass_warp(progress, in, out, labels, shatter, blocks));
    if (labels_out) *labels_out = std::move(labels);
    return out;
}

// Number of connected pieces of each label, through edges only or corners too.
std::map<std::uint32_t, int> pieces_per_label(const IBUFFER& labels, bool corners) {
    const int w = labels.width(), h = labels.height();
    std::vector<char> seen(std::size_t(w) * h, 0);
    std::map<std::uint32_t, int> pieces;
    std::vector<int> stack;
    for (int start = 0; start < w * h; ++start) {
        if (seen[start]) continue;
        const std::uint32_t id = labels.data()[start];
        ++pieces[id];
        seen[start] = 1;
        stack.assign(1, start);
        while (!stack.empty()) {
            const int i = stack.back();
            stack.pop_back();
            const int x = i % w, y = i / w;
            const int next[8][2] = {{x - 1, y},     {x + 1, y},     {x, y - 1},     {x, y + 1},
                                    {x - 1, y - 1}, {x + 1, y + 1}, {x - 1, y + 1}, {x + 1, y - 1}};
            for (const auto& n : std::span(next).first(corners ? 8 : 4)) {
                if (!labels.inside(n[0], n[1])) continue;
                const int j = n[1] * w + n[0];
                if (!seen[j] && labels.data()[j] == id) seen[j] = 1, stack.push_back(j);
            }
        }
    }
    return pieces;
}

// With no displacement, spread, shading, motion or cracks both filters give back every byte: a read
// half a pixel off, or a gain that is not exactly 1, shows at once on noise.
TEST(Refraction, IdentityWhenEverythingIsOff) {
    const UBUFFER in = test::noise_picture(97, 61, 5, false);
    PrismLayout still;
    still.side = 20, still.angle = 0.7, still.seed = 3;
    EXPECT_TRUE(same_bytes(run_prism(in, still), in));

    BrokenGlassParams calm;
    calm.motion = 0, calm.gain = 0, calm.crack_width = 0;
    for (std::uint32_t seed : {1u, 2u})
        EXPECT_TRUE(same_bytes(run_glass(in, Shatter(97, 61, calm, seed)), in));
}

// A one-pixel white line on black, inside one facet: green stays on the line, red and blue copies sit
// `spread` to either side along the facet's axis (so 2 * spread * |sin angle| apart across a vertical
// line), red on the side the facet's orientation gives. A flat grey stays grey under the shading.
TEST(Prism, ChannelsSeparateAlongTheFacetAxis) {
    struct Case {
        double angle, spread;
    } cases[] = {{std::acos(-1.0) / 2, 2.5}, {0.9, 3.0}, {std::acos(-1.0) / 2, 0.0}};
    const int w = 41, h = 21, line = 20;
    const UBUFFER in =
        test::make_picture(w, h, [&](int x, int) { return x == line ? 0xFFFFFFFFu : 0xFF000000u; });
    for (const Case& c : cases) {
        SCOPED_TRACE(c.angle);
        PrismLayout l;
        l.side = 2000, l.angle = c.angle, l.spread = c.spread, l.seed = 1, l.shift_u = 900, l.shift_v = 800;
        const UBUFFER out = run_prism(in, l);
        const FacetPlace place = prism_facet(l, line, h / 2);
        ASSERT_EQ(prism_facet(l, 0, 0).id, place.id);
        ASSERT_EQ(prism_facet(l, w - 1, h - 1).id, place.id);
        const double dx = -std::sin(c.angle) * (place.up ? 1 : -1) * c.spread;
        for (int y = 0; y < h; y += 5) {
            double centre[3] = {}, mass[3] = {};
            for (int x = 0; x < w; ++x)
                for (int ch = 0; ch < 3; ++ch)
                    centre[ch] += x * out.at(x, y, ch), mass[ch] += out.at(x, y, ch);
            for (int ch = 0; ch < 3; ++ch) ASSERT_GT(mass[ch], 200);
            EXPECT_NEAR(centre[1] / mass[1], line, 0.01);
            EXPECT_NEAR(centre[2] / mass[2], line - dx, 0.5);
            EXPECT_NEAR(centre[0] / mass[0], line + dx, 0.5);
        }
    }

    const UBUFFER grey = test::flat_picture(120, 90, 0xFF808080u);
    const UBUFFER out = run_prism(grey, prism_layout(120, 90, 0.05, 4));
    int lo = 255, hi = 0;
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 120; ++x) {
            ASSERT_TRUE(out.at(x, y, 0) == out.at(x, y, 1) && out.at(x, y, 1) == out.at(x, y, 2))
                << x << "," << y;
            ASSERT_EQ(out.at(x, y, 3), 255);
            lo = std::min<int>(lo, out.at(x, y, 0)), hi = std::max<int>(hi, out.at(x, y, 0));
        }
    EXPECT_TRUE(lo >= 121 && lo < 126 && hi > 130 && hi <= 135) << lo << " " << hi;
}

// Every facet well inside the picture covers the area of an equilateral triangle of the layout's side
// in one piece (a 60-degree tip may hang on by a corner), whatever the turn of the lattice: on average
// within 1 %, each within 3 % (an edge along the pixel rows gains or loses up to a row). Rows of
// triangles meet corner to corner, so six facets meet at a corner.
TEST(Prism, FacetsTileThePictureInEqualTriangles) {
    const int w = 500, h = 400;
    for (double angle : {0.0, 0.4, 1.0}) {
        SCOPED_TRACE(angle);
        PrismLayout l;
        l.side = 80, l.angle = angle, l.shift_u = 13, l.shift_v = 7;
        IBUFFER labels;
        labels.allocate(w, h);
        std::map<std::int64_t, std::uint32_t> index;
        std::map<std::uint32_t, int> area;
        std::set<std::uint32_t> on_border;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const auto id = prism_facet(l, x, y).id;
                const auto [it, fresh] = index.emplace(id, std::uint32_t(index.size()));
                labels.at(x, y) = it->second;
                ++area[it->second];
                if (x == 0 || y == 0 || x == w - 1 || y == h - 1) on_border.insert(it->second);
            }
        const double triangle = std::sqrt(3.0) / 4 * 80 * 80;
        int inner = 0;
        double total = 0;
        for (const auto& [id, a] : area) {
            if (on_border.count(id)) continue;
            ++inner, total += a;
            EXPECT_NEAR(a, triangle, 0.03 * triangle) << id;
        }
        EXPECT_GT(inner, 30);
        EXPECT_NEAR(total / inner, triangle, 0.01 * triangle);
        std::size_t most = 0;
        for (int y = 2; y < h - 2; ++y)
            for (int x = 2; x < w - 2; ++x) {
                std::set<std::uint32_t> around;
                for (int dy = -2; dy <= 2; ++dy)
                    for (int dx = -2; dx <= 2; ++dx) around.insert(labels.at(x + dx, y + dy));
                most = std::max(most, around.size());
            }
        EXPECT_EQ(most, 6u);
        for (const auto& [id, n] : pieces_per_label(labels, true)) EXPECT_EQ(n, 1) << id;
    }
}

// Shards: each one piece (joined through edges or corners: pixel centres in a thin wedge touch
// diagonally), and every ray reaches the crushed spot at the impact, so all sectors show round it.
TEST(BrokenGlass, ShardsAreConnectedAndMeetAtTheImpact) {
    const int w = 240, h = 180;
    struct Case {
        std::uint32_t seed;
        double fx, fy;
    } cases[] = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0.9, 0.1}, {5, 0.05, 0.5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.seed);
        BrokenGlassParams p;
        p.impact_x = c.fx, p.impact_y = c.fy;
        const Shatter shatter(w, h, p, c.seed);
        if (c.fx > 0) {
            EXPECT_DOUBLE_EQ(shatter.impact_x(), c.fx * w);
            EXPECT_DOUBLE_EQ(shatter.impact_y(), c.fy * h);
        }
        EXPECT_TRUE(shatter.ray_count() >= 11 && shatter.ray_count() <= 17);
        IBUFFER labels;
        run_glass(test::noise_picture(w, h, 1), shatter, &labels);
        const auto pieces = pieces_per_label(labels, true);
        EXPECT_GT(pieces.size(), std::size_t(shatter.ray_count()) * 2);
        for (const auto& [id, n] : pieces) EXPECT_EQ(n, 1) << "shard " << id;

        std::set<std::uint32_t> near;
        const double r = shatter.crater_radius() + 6;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (std::hypot(x - shatter.impact_x(), y - shatter.impact_y()) <= r)
                    near.insert(labels.at(x, y));
        if (c.fx == 0) EXPECT_GE(near.size(), std::size_t(shatter.ray_count()) + 1);
    }
}

// On still, unshaded glass over flat grey only the cracks show: pixels with another shard within
// the crack width to their left or above are lit 55 % towards white, the rest with one to their
// right or below are halved, all others keep their grey; alpha never changes.
TEST(BrokenGlass, CracksAreBevelsLitFromTheUpperLeft) {
    const int w = 160, h = 120, width = 2;
    BrokenGlassParams p;
    p.motion = 0, p.gain = 0, p.crack_width = width;
    IBUFFER labels;
    const UBUFFER out = run_glass(test::flat_picture(w, h, 0x80646464u), Shatter(w, h, p, 3), &labels);
    const auto other_within = [&](int x, int y, int sx, int sy) {
        for (int d = 1; d <= width; ++d)
            if (labels.inside(x + sx * d, y + sy * d) && labels.at(x + sx * d, y + sy * d) != labels.at(x, y))
                return true;
        return false;
    };
    int lit = 0, dark = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool upper_left = other_within(x, y, -1, 0) || other_within(x, y, 0, -1);
            const bool lower_right = other_within(x, y, 1, 0) || other_within(x, y, 0, 1);
            const int want = upper_left ? 100 + 155 * 55 / 100 : lower_right ? 50 : 100;
            lit += upper_left, dark += !upper_left && lower_right;
            for (int c = 0; c < 3; ++c) ASSERT_EQ(out.at(x, y, c), want) << x << "," << y;
            ASSERT_EQ(out.at(x, y, 3), 0x80);
        }
    EXPECT_GT(lit, 500);
    EXPECT_GT(dark, 500);
}

// On a picture whose red and green are the pixel's own x and y, each shard's decoded source
// positions fit one turn plus shift within a pixel: no shard mixes two motions, none is sheared.
// Motion is doubled so that the turns show above the rounding to bytes; reads that the shard's
// motion sends off the picture (mirrored there) are left out.
TEST(BrokenGlass, EachShardMovesRigidly) {
    const int w = 220, h = 180;
    const UBUFFER coords = test::make_picture(
        w, h, [](int x, int y) { return 0xFF000000u | std::uint32_t(x) << 16 | std::uint32_t(y) << 8; });
    BrokenGlassParams p;
    p.gain = 0, p.crack_width = 0, p.motion = 2;
    for (std::uint32_t seed : {7u, 8u}) {
        IBUFFER labels;
        const Shatter shatter(w, h, p, seed);
        const UBUFFER out = run_glass(coords, shatter, &labels);
        std::map<std::uint32_t, std::vector<std::array<double, 4>>> shards;  // x, y, source x, source y
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const Shatter::Motion& m = shatter.motion(int(labels.at(x, y)));
                const double sx = m.m00 * x + m.m01 * y + m.tx, sy = m.m10 * x + m.m11 * y + m.ty;
                if (sx < 0 || sy < 0 || sx > w - 1 || sy > h - 1) continue;
                shards[labels.at(x, y)].push_back(
                    {double(x), double(y), double(out.at(x, y, 2)), double(out.at(x, y, 1))});
            }
        int moved = 0, fitted = 0;
        for (const auto& [id, samples] : shards) {
            if (samples.size() < 10) continue;
            ++fitted;
            SCOPED_TRACE(testing::Message() << "seed " << seed << " shard " << id);
            // The best turn plus shift in the least-squares sense, on centred coordinates.
            const double n = double(samples.size());
            std::array<double, 4> mean{};
            for (const auto& s : samples)
                for (int i = 0; i < 4; ++i) mean[i] += s[i] / n;
            double dot = 0, crs = 0;
            for (const auto& s : samples) {
                const double x = s[0] - mean[0], y = s[1] - mean[1], u = s[2] - mean[2], v = s[3] - mean[3];
                dot += x * u + y * v, crs += x * v - y * u;
            }
            const double turn = std::atan2(crs, dot), c = std::cos(turn), sn = std::sin(turn);
            // Small shards only bound the turn loosely.
            if (n >= 300) EXPECT_LE(std::abs(turn), 6.5 * std::acos(-1.0) / 180);
            double worst = 0;
            for (const auto& s : samples) {
                const double x = s[0] - mean[0], y = s[1] - mean[1];
                worst = std::max({worst, std::abs(c * x - sn * y + mean[2] - s[2]),
                                  std::abs(sn * x + c * y + mean[3] - s[3])});
            }
            EXPECT_LE(worst, 1.0);
            moved += std::hypot(mean[2] - mean[0], mean[3] - mean[1]) > 0.5;
        }
        EXPECT_GT(fitted, 8);
        EXPECT_GT(moved, fitted / 2);
    }
}

// Presses Stop once the first band of rows is done.
struct StopAfterFirstBand : test::RecordingHost {
    void percent(int p) override {
        RecordingHost::percent(p);
        if (p > 0) stop = true;
    }
};

// Both filters through the dispatcher: one seed repeats the bytes, another changes them, any split of
// the rows gives the same bytes, the title names the filter, and Stop halfway leaves the picture untouched.
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
        EXPECT_EQ(host.titles().front(), "Velquinograph (" + std::string(filter_menu_text(kind)) + "...)");
        EXPECT_EQ(host.percents().end()[-2], 100) << "then 0 when the stage ends";
        return p;
    };
    for (FilterKind kind : {FilterKind::Prism, FilterKind::BrokenGlass}) {
        SCOPED_TRACE(filter_menu_text(kind));
        const UBUFFER a = filtered(kind, 31);
        EXPECT_TRUE(same_bytes(a, filtered(kind, 31)));
        EXPECT_FALSE(same_bytes(a, filtered(kind, 32)));
        EXPECT_FALSE(same_bytes(a, in));
        for (int blocks : {1, 3, 7}) {
            const UBUFFER b = kind == FilterKind::Prism
                                  ? run_prism(in, prism_layout(150, 110, params.max_size, 31), blocks)
                                  : run_glass(in, Shatter(150, 110, {}, 31), nullptr, blocks);
            EXPECT_TRUE(same_bytes(a, b)) << blocks << " blocks";
        }
        StopAfterFirstBand host;
        UBUFFER p = in.clone();
        EXPECT_EQ(apply_filter(host, kind, p, params, SeedSource{}), -1);
        EXPECT_TRUE(same_bytes(p, in));
        EXPECT_TRUE(host.messages().empty());
    }
}

}  // namespace
}  // namespace velq
