#include <gtest/gtest.h>

#include <array>
#include <tuple>
#include <vector>

#include "filters/k_mean.h"
#include "host/random.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::same_bytes;

// The clustering written out plainly: the distinct colours in increasing red, green, blue order,
// centres drawn from them, then for each iteration every centre in turn against every colour, the
// first nearest winning, and each centre moved to its colours' mean.
UBUFFER plain_k_mean(const UBUFFER& in, int k, int iterations = kKMeanIterations) {
    using Rgb = std::array<double, 3>;
    auto key = [&](int x, int y) { return (in.at(x, y, 2) << 16) + (in.at(x, y, 1) << 8) + in.at(x, y, 0); };
    std::vector<int> table(1 << 24, -1);
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) table[key(x, y)] = 0;
    std::vector<Rgb> colours;
    for (int c = 0; c < (1 << 24); ++c)
        if (table[c] == 0) colours.push_back({double(c >> 16), double((c >> 8) & 255), double(c & 255)});
    std::vector<Rgb> centres(k);
    Random rng(0);
    for (Rgb& centre : centres) centre = colours[(rng.next() % k) % colours.size()];
    std::vector<int> cluster(colours.size(), -1);
    for (int i = 0; i < iterations; ++i) {
        std::vector<double> best(colours.size(), 5000000000.0);
        for (int j = 0; j < k; ++j)
            for (std::size_t c = 0; c < colours.size(); ++c) {
                double d = 0;
                for (int ch = 0; ch < 3; ++ch)
                    d += (colours[c][ch] - centres[j][ch]) * (colours[c][ch] - centres[j][ch]);
                if (d < best[c]) best[c] = d, cluster[c] = j;
            }
        std::vector<Rgb> sums(k, Rgb{});
        std::vector<int> counts(k, 0);
        for (std::size_t c = 0; c < colours.size(); ++c) {
            ++counts[cluster[c]];
            for (int ch = 0; ch < 3; ++ch) sums[cluster[c]][ch] += colours[c][ch];
        }
        for (int j = 0; j < k; ++j)
            if (counts[j])
                for (int ch = 0; ch < 3; ++ch) centres[j][ch] = sums[j][ch] / counts[j];
    }
    for (std::size_t c = 0; c < colours.size(); ++c)
        table[(int(colours[c][0]) << 16) + (int(colours[c][1]) << 8) + int(colours[c][2])] = cluster[c];
    UBUFFER out = in.clone();
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) {
            const Rgb& z = centres[table[key(x, y)]];
            for (int ch = 0; ch < 3; ++ch) out.at(x, y, ch) = std::uint8_t(z[2 - ch]);
            out.at(x, y, 3) = 255;
        }
    return out;
}

// Noise over a limited palette: `levels` values per channel.
UBUFFER palette_noise(int w, int h, std::uint32_t seed, int levels) {
    Random rng(seed);
    return test::make_picture(w, h, [&](int, int) {
        const std::uint32_t step = 255 / (levels - 1);
        const std::uint32_t b = rng.next() % levels * step, g = rng.next() % levels * step,
                            r = rng.next() % levels * step, a = rng.next() & 255;
        return a << 24 | r << 16 | g << 8 | b;
    });
}

TEST(KMean, AgreesWithThePlainClusteringByteForByte) {
    // w, h, levels, k
    const std::tuple<int, int, int, int> cases[] = {{40, 30, 4, 2},   {40, 30, 4, 5},     {64, 64, 16, 3},
                                                    {50, 70, 256, 8}, {300, 200, 256, 4}, {13, 11, 3, 40},
                                                    {20, 20, 2, 7}};
    std::uint32_t seed = 11;
    for (const auto& [w, h, levels, k] : cases) {
        const UBUFFER in = palette_noise(w, h, seed++, levels);
        UBUFFER got = in.clone();
        test::RecordingHost host;
        ASSERT_EQ(reduce_color_by_k_mean(host, got, k), 0);
        EXPECT_TRUE(same_bytes(got, plain_k_mean(in, k))) << w << "x" << h << " K " << k;
    }
}

// Stopped after the second iteration the pixels take the centres reached so far; stopped before any
// colour is assigned, nothing changes.
TEST(KMean, ReportsProgressStopsAndRefusesKBelowTwo) {
    UBUFFER p = palette_noise(60, 40, 21, 64);
    const UBUFFER before = p.clone();
    test::RecordingHost host;
    for (int k : {1, 0, -4}) {
        host.clear();
        EXPECT_EQ(reduce_color_by_k_mean(host, p, k), -1);
        EXPECT_EQ(host.messages(),
                  std::vector<std::string>{"Invalid K-Mean value. It must be larger than 1"});
        EXPECT_TRUE(host.titles().empty());
        EXPECT_TRUE(same_bytes(p, before));
    }
    host.clear();
    ASSERT_EQ(reduce_color_by_k_mean(host, p, 2), 0);
    EXPECT_EQ(host.percents(), (std::vector<int>{0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 0}));
    for (const int at_percent : {10, -1}) {  // 10: the first report after the iterations start
        host.clear();
        host.stop_at_percent = at_percent;
        host.stop = at_percent < 0;
        UBUFFER got = before.clone();
        EXPECT_EQ(reduce_color_by_k_mean(host, got, 5), 0);
        EXPECT_TRUE(same_bytes(got, at_percent < 0 ? before.clone() : plain_k_mean(before, 5, 2)))
            << at_percent;
    }
}

}  // namespace
}  // namespace velq
