#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "filters/k_mean.h"
#include "host/random.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// The clustering written out record by record, centres outermost, one iteration count of choice.
UBUFFER plain_k_mean(const UBUFFER& in, int k, int iterations = kKMeanIterations) {
    struct Record {
        int weight = 1, cluster = -1;
        double best = 5000000000.0, r = 0, g = 0, b = 0, a = 255.0;
    };
    std::vector<int> table(1 << 24, 0);
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x)
            table[(in.at(x, y, 2) << 16) + (in.at(x, y, 1) << 8) + in.at(x, y, 0)] = 1;
    std::vector<Record> colours;
    for (int r = 0; r < 256; ++r)
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b)
                if (table[(r << 16) + (g << 8) + b])
                    colours.push_back({1, -1, 5000000000.0, double(r), double(g), double(b)});
    std::vector<Record> centres(k);
    Random rng(0);
    for (int j = 0; j < k; ++j) centres[j] = colours[(rng.next() % k) % colours.size()];
    for (int i = 0; i < iterations; ++i) {
        for (int j = 0; j < k; ++j) {
            for (Record& c : colours) {
                const double d = (c.r - centres[j].r) * (c.r - centres[j].r) +
                                 (c.g - centres[j].g) * (c.g - centres[j].g) +
                                 (c.b - centres[j].b) * (c.b - centres[j].b) +
                                 (255 - centres[j].a) * (255 - centres[j].a);
                if (d < c.best) {
                    c.best = d;
                    c.cluster = j;
                }
            }
        }
        std::vector<int> counts(k, 0);
        std::vector<double> sr(k, 0), sg(k, 0), sb(k, 0);
        for (Record& c : colours) {
            counts[c.cluster] += c.weight;
            sr[c.cluster] += c.weight * c.r;
            sg[c.cluster] += c.weight * c.g;
            sb[c.cluster] += c.weight * c.b;
            c.best = 5000000000.0;
        }
        for (int j = 0; j < k; ++j) {
            if (counts[j] == 0) continue;
            centres[j].r = sr[j] / counts[j];
            centres[j].g = sg[j] / counts[j];
            centres[j].b = sb[j] / counts[j];
        }
    }
    std::fill(table.begin(), table.end(), 0);
    for (const Record& c : colours) table[(int(c.r) << 16) + (int(c.g) << 8) + int(c.b)] = c.cluster;
    UBUFFER out = in.clone();
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            const Record& z = centres[table[(in.at(x, y, 2) << 16) + (in.at(x, y, 1) << 8) + in.at(x, y, 0)]];
            out.at(x, y, 0) = std::uint8_t(z.b);
            out.at(x, y, 1) = std::uint8_t(z.g);
            out.at(x, y, 2) = std::uint8_t(z.r);
            out.at(x, y, 3) = std::uint8_t(z.a);
        }
    }
    return out;
}

bool same_bytes(const UBUFFER& a, const UBUFFER& b) {
    return a.same_shape(b) && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

std::set<std::uint32_t> colour_set(const UBUFFER& p) {
    std::set<std::uint32_t> s;
    for (std::size_t i = 0; i < p.size(); i += 4) s.insert(colour_index(p.data() + i));
    return s;
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
    struct Case {
        int w, h, levels, k;
    } cases[] = {{40, 30, 4, 2},     {40, 30, 4, 5},  {64, 64, 16, 3}, {50, 70, 256, 8},
                 {300, 200, 256, 4}, {13, 11, 3, 40}, {20, 20, 2, 7}};
    std::uint32_t seed = 11;
    for (const Case& c : cases) {
        const UBUFFER in = palette_noise(c.w, c.h, seed++, c.levels);
        UBUFFER got = in.clone();
        test::RecordingHost host;
        ASSERT_EQ(reduce_color_by_k_mean(host, got, c.k), 0);
        EXPECT_TRUE(same_bytes(got, plain_k_mean(in, c.k))) << c.w << "x" << c.h << " K " << c.k;
        EXPECT_LE(colour_set(got).size(), std::size_t(c.k));
        for (std::size_t i = 3; i < got.size(); i += 4) ASSERT_EQ(got.data()[i], 255);
        // A second run gives the same bytes.
        UBUFFER again = in.clone();
        ASSERT_EQ(reduce_color_by_k_mean(host, again, c.k), 0);
        EXPECT_TRUE(same_bytes(got, again));
    }
}

TEST(KMean, OneColourIsKeptWithOpaqueAlpha) {
    const std::uint32_t colours[] = {0x00000000u, 0x7F102030u, 0xFFFFFFFFu, 0x01FE01FEu};
    for (std::uint32_t argb : colours) {
        for (int k : {2, 3, 100}) {
            UBUFFER p = test::flat_picture(7, 5, argb);
            test::RecordingHost host;
            ASSERT_EQ(reduce_color_by_k_mean(host, p, k), 0);
            const UBUFFER want = test::flat_picture(7, 5, argb | 0xFF000000u);
            EXPECT_TRUE(same_bytes(p, want)) << std::hex << argb << " K " << std::dec << k;
        }
    }
}

TEST(KMean, FewerColoursThanKLeavesRepeatedCentresEmpty) {
    // With 3 colours and K = 8 the draws pick colours 0, 1, 0, 2, 1, 2, 2, 2: every colour is its own
    // centre's, the repeats attract nothing, and the picture keeps its colours.
    const std::uint32_t palette[] = {0xFF0A0B0Cu, 0xFF808080u, 0xFFF0E0D0u};
    const UBUFFER in = test::make_picture(9, 6, [&](int x, int y) { return palette[(x + 2 * y) % 3]; });
    UBUFFER got = in.clone();
    test::RecordingHost host;
    ASSERT_EQ(reduce_color_by_k_mean(host, got, 8), 0);
    EXPECT_TRUE(same_bytes(got, in));

    // Two colours with K = 3: draws 38, 7719, 21238 give 2, 0, 1 mod 3, and 2 wraps to colour 0, so
    // centre 0 and centre 1 are both the darker colour; the lower one takes it and both colours stay.
    const UBUFFER two =
        test::make_picture(4, 4, [](int x, int) { return x < 2 ? 0xFF101010u : 0xFF202020u; });
    got = two.clone();
    ASSERT_EQ(reduce_color_by_k_mean(host, got, 3), 0);
    EXPECT_TRUE(same_bytes(got, two));
}

TEST(KMean, ReportsItsStageAndRefusesKBelowTwo) {
    UBUFFER p = palette_noise(30, 20, 5, 8);
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
    EXPECT_EQ(host.titles(),
              (std::vector<std::string>{"Velquinograph (Reducing colors by k-mean...)", "Velquinograph"}));
    EXPECT_EQ(host.percents(), (std::vector<int>{0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 0}));
}

// Stops at the first progress report after the iterations start.
class StopAtPercent : public test::RecordingHost {
public:
    explicit StopAtPercent(int p) : at_(p) {}
    void percent(int p) override {
        RecordingHost::percent(p);
        if (p == at_) stop = true;
    }

private:
    int at_;
};

TEST(KMean, StopEndsTheIterationsAndLeavesUnassignedPixelsAlone) {
    const UBUFFER in = palette_noise(60, 40, 21, 64);
    // Stopped after the second iteration: the pixels take the centres reached so far.
    {
        StopAtPercent host(10);
        UBUFFER got = in.clone();
        ASSERT_EQ(reduce_color_by_k_mean(host, got, 5), 0);
        EXPECT_TRUE(same_bytes(got, plain_k_mean(in, 5, 2)));
        EXPECT_FALSE(same_bytes(got, plain_k_mean(in, 5)));
    }
    // Stopped before any colour is assigned: nothing changes.
    {
        test::RecordingHost host;
        host.stop = true;
        UBUFFER got = in.clone();
        ASSERT_EQ(reduce_color_by_k_mean(host, got, 5), 0);
        EXPECT_TRUE(same_bytes(got, in));
    }
    // Part-way: only the colours that have a cluster are painted.
    {
        std::vector<std::int32_t> table(kColourTableSize, -1);
        const std::uint8_t* first = in.data();
        table[colour_index(first)] = 1;
        const KMeanCentre centres[] = {{1, 2, 3, 255}, {200.9, 100.5, 50.2, 255}};
        UBUFFER got = in.clone();
        paint_clusters(got, table.data(), centres);
        for (std::size_t i = 0; i < in.size(); i += 4) {
            const bool assigned = colour_index(in.data() + i) == colour_index(first);
            const std::uint8_t want[4] = {50, 100, 200, 255};
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(got.data()[i + c], assigned ? want[c] : in.data()[i + c]) << i;
        }
    }
}

}  // namespace
}  // namespace velq
