#include <gtest/gtest.h>

#include <array>
#include <tuple>
#include <vector>

#include "filters/cut_line.h"
#include "filters/filter.h"
#include "filters/matrix.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::same_bytes;

using Bgr = std::array<int, 3>;

Bgr bgr(const UBUFFER& p, int x, int y) {
    return {p.at(x, y, 0), p.at(x, y, 1), p.at(x, y, 2)};
}
int up(int v) {
    return std::min(v + 60, 255);
}
int down(int v) {
    return std::max(v - 60, 0);
}

// Colours whose rotations all differ and that reach both caps of the sixty-step shift; alpha varies so
// that any change to it shows.
UBUFFER ramp(int w, int h) {
    return test::make_picture(w, h, [](int x, int y) {
        return std::uint32_t(17 * x + y) << 24 | std::uint32_t(150 + 23 * x + 11 * y) % 256 << 16 |
               std::uint32_t(90 + x + 37 * y) % 256 << 8 | std::uint32_t(20 + 29 * x + 7 * y) % 256;
    });
}

int run(FilterKind kind, UBUFFER& p, std::uint32_t seed, test::RecordingHost& host,
        FilterParams params = {}) {
    SeedSource seeds;
    seeds.fix(seed);
    return apply_filter(host, kind, p, params, seeds);
}

// The columns where the cut line drawn from `seed` at `x0` meets each row of a w x h picture.
std::vector<int> cut_columns(std::uint32_t seed, double x0, int w, int h) {
    Random rng(seed);
    std::vector<int> out;
    for (const CutStep& s : walk_cut_line(scale_cut_line(make_cut_line(rng, x0), w, h), h))
        out.push_back(cut_column(s, w));
    return out;
}

// Pictures 9 pixels wide keep their pixels through local contrast, so the rotations show plainly:
// each row reads as zones of rotated colours, changing where the seed's cut lines meet it.
TEST(Shuffle, RowsSplitAtTheSeedsCutLinesIntoRotatedZones) {
    const int w = 9, h = 60;
    const UBUFFER in = ramp(w, h);
    for (const FilterKind kind : {FilterKind::HalfShuffle, FilterKind::TripleShuffle}) {
        const bool triple = kind == FilterKind::TripleShuffle;
        for (std::uint32_t seed : {1u, 77u, 4000u}) {
            UBUFFER p = in.clone();
            test::RecordingHost host;
            ASSERT_EQ(run(kind, p, seed, host), 0);
            const std::vector<int> first = cut_columns(seed, triple ? 0.3 : 0.5, w, h),
                                   second = cut_columns(seed, 0.65, w, h);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const auto [b, g, r] = bgr(in, x, y);
                    const Bgr forms[] = {{g, r, up(b)}, {r, up(b), down(g)}, {up(b), down(g), up(r)}};
                    const int zone = (x >= first[std::size_t(y)]) + (triple && x >= second[std::size_t(y)]);
                    ASSERT_EQ(bgr(p, x, y), forms[zone]) << "seed " << seed << " at " << x << "," << y;
                    ASSERT_EQ(p.at(x, y, 3), in.at(x, y, 3));
                }
        }
    }
}

TEST(Matrix, BandCountFollowsLargestCircleAndGap) {
    // width, max, gap, bands
    const std::tuple<int, double, int, int> cases[] = {
        {1000, 0.02, 1, 24}, {1000, 0.02, 0, 25}, {10, 0.02, 1, 7},     {100, 0.5, 1, 1},
        {100, 1.0, 1, 0},    {50, 0.0, 0, 50},    {1000, 0.02, -41, 0},
    };
    for (const auto& [width, max, gap, bands] : cases)
        EXPECT_EQ(matrix_band_count(width, max, gap), bands) << width << " " << max << " " << gap;
}

TEST(Matrix, EachBandRotatesBackBelowItsRandomRow) {
    // 9 x 40 with Max 0.1 and GAP 0: trunc(9 / 1.8 + 0.5) = 5 bands, ending at 1.8 j rounded: columns
    // 0-1, 2-3, 4, 5-6 and 7-8.
    const int w = 9, h = 40;
    for (std::uint32_t seed : {0u, 5u, 123456u}) {
        const UBUFFER in = ramp(w, h);
        UBUFFER p = in.clone();
        test::RecordingHost host;
        ASSERT_EQ(run(FilterKind::Matrix, p, seed, host, {0.1, 0, 2}), 0);
        Random rng(seed);
        const int ends[] = {0, 2, 4, 5, 7, 9};
        for (int band = 0; band < 5; ++band) {
            const int cut = std::min(int(rng.next() * h * 0.5 / 32767 + h * 0.25 + 0.5), h);
            for (int y = 0; y < h; ++y)
                for (int x = ends[band]; x < ends[band + 1]; ++x) {
                    const auto [b, g, r] = bgr(in, x, y);
                    const Bgr want = y < cut ? Bgr{r, up(b), g} : Bgr{g, down(r), up(b)};
                    ASSERT_EQ(bgr(p, x, y), want) << "seed " << seed << " at " << x << "," << y;
                    ASSERT_EQ(p.at(x, y, 3), in.at(x, y, 3));
                }
        }
    }
}

// Each filter runs under its stage title; an unknown one refuses with a message and leaves the picture
// alone.
TEST(Filter, DispatchTitlesAndRefusals) {
    struct Case {
        FilterKind kind;
        const char* stage;  // nullptr: no stage; "": Normal, which changes nothing
        const char* refusal;
    } cases[] = {
        {FilterKind::Normal, "", nullptr},
        {FilterKind::HalfShuffle, "Half shuffle", nullptr},
        {FilterKind::TripleShuffle, "Triple shuffle", nullptr},
        {FilterKind::Matrix, "Matrix", nullptr},
        {FilterKind::InverseContrast, "Inverse contrast", nullptr},
        {FilterKind::ContrastUp, "Contrast up", nullptr},
        {FilterKind::Prism, "Prism", nullptr},
        {FilterKind::BrokenGlass, "Broken glass", nullptr},
        {FilterKind::KMean, "Reducing colors by k-mean", nullptr},
        {FilterKind(9), nullptr, "Unknown filter"},
    };
    const UBUFFER in = test::noise_picture(40, 30, 2, false);
    for (const Case& c : cases) {
        SCOPED_TRACE(int(c.kind));
        UBUFFER p = in.clone();
        test::RecordingHost host;
        const bool staged = c.stage && *c.stage;
        EXPECT_EQ(run(c.kind, p, 1, host, {0.02, 1, 3}), c.refusal ? -1 : 0);
        EXPECT_EQ(!same_bytes(p, in), staged);
        using Lines = std::vector<std::string>;
        const Lines titles =
            staged ? Lines{std::string("Velquinograph (").append(c.stage).append("...)"), "Velquinograph"}
                   : Lines{};
        EXPECT_EQ(host.titles(), titles);
        EXPECT_EQ(host.messages(), c.refusal ? Lines{c.refusal} : Lines{});
        EXPECT_EQ(filter_available(c.kind), !c.refusal);
    }
}

// A cut line runs from (x0, 0) to (x0, 1) in even steps down, wandering at most 0.1 to either side
// with one draw per inner point; walked over a picture it meets every row once, in order.
TEST(CutLine, RunsTopToBottomAndMeetsEveryRowOnceInOrder) {
    // width, height, seed, x0
    const std::tuple<int, int, std::uint32_t, double> cases[] = {
        {9, 40, 1, 0.3}, {100, 100, 7, 0.5}, {640, 33, 99, 0.65}, {30, 1, 5, 0.5}, {2000, 1500, 3, 0.5}};
    for (const auto& [width, height, seed, x0] : cases) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << " from " << x0);
        Random rng(seed), check(seed);
        const CutLine line = make_cut_line(rng, x0);
        EXPECT_EQ(std::pair(line.front().x, line.front().y), std::pair(x0, 0.0));
        EXPECT_EQ(std::pair(line.back().x, line.back().y), std::pair(x0, 1.0));
        for (int i = 1; i < kCutPoints - 1; ++i) {
            EXPECT_DOUBLE_EQ(line[i].x, x0 + 0.1 - check.next() * 0.2 / 32767.0) << i;
            EXPECT_DOUBLE_EQ(line[i].y, i * 0.02);
        }
        EXPECT_EQ(rng.next(), check.next()) << "the next line starts where these draws left the generator";
        const std::vector<CutStep> steps = walk_cut_line(scale_cut_line(line, width, height), height);
        ASSERT_EQ(int(steps.size()), height);
        for (int i = 0; i < height; ++i) {
            const int col = cut_column(steps[i], width);
            ASSERT_EQ(steps[i].row, i);
            ASSERT_TRUE(col >= int((x0 - 0.1) * width) - 1 && col <= int((x0 + 0.1) * width) + 1) << col;
        }
    }
}

}  // namespace
}  // namespace velq
