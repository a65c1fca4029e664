#include <gtest/gtest.h>

#include <cmath>

#include "image/resample.h"
#include "image/working_pictures.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// The shrink formula written out directly from its description, one destination sample at a time;
// a picture that grows takes the nearest source pixel.
int reference_resized(const UBUFFER& src, int c, int dw, int dh, int x, int y) {
    const int sw = src.width(), sh = src.height();
    if (dw > sw && dh > sh) return src.at(x * sw / dw, y * sh / dh, c);
    auto S = [&](int i, int j) {
        double s = 0;
        for (int yy = 0; yy <= j; ++yy)
            for (int xx = 0; xx <= i; ++xx) s += src.at(xx, yy, c);
        return s;
    };
    const int y0 = int(double(y) * sh / dh + 0.5), y1 = std::min(int(double(y + 1) * sh / dh + 0.5), sh - 1);
    const int x0 = int(double(x) * sw / dw + 0.5), x1 = std::min(int(double(x + 1) * sw / dw + 0.5), sw - 1);
    const double area = double(x1 - x0) * (y1 - y0);
    if (area == 0) return 0;
    const double v = std::trunc((S(x0, y0) - S(x0, y1) - S(x1, y0) + S(x1, y1)) / area + 0.5);
    return int(std::clamp(v, 0.0, 255.0));
}

TEST(GetResized, ShrinksByTheBoxFormulaWithItsBlackEdgeAndEnlargesToTheNearestPixel) {
    test::RecordingHost host;
    const UBUFFER noise = test::noise_picture(13, 9, 3), flat = test::flat_picture(3, 3, 0xFF804020),
                  small = test::noise_picture(3, 2, 9);
    struct Case {
        const UBUFFER* src;
        int dw, dh;
    } cases[] = {{&noise, 2, 1}, {&noise, 5, 4}, {&noise, 12, 8},
                 {&noise, 6, 3}, {&flat, 2, 2},  {&small, 7, 5}};
    for (const Case& k : cases) {
        SCOPED_TRACE(testing::Message() << k.src->width() << " to " << k.dw << "x" << k.dh);
        UBUFFER dst;
        dst.allocate(k.dw, k.dh, 4);
        ASSERT_EQ(get_resized(host, *k.src, dst), 0);
        for (int y = 0; y < k.dh; ++y)
            for (int x = 0; x < k.dw; ++x)
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(dst.at(x, y, c), reference_resized(*k.src, c, k.dw, k.dh, x, y))
                        << x << "," << y;
    }
}

// Column x samples x / f of the way; the last column is pulled 0.1 / f back inside. All channels at
// once, in any split of rows, equal one channel at a time.
TEST(EnlargeBilinear, InterpolatesBetweenNeighboursAndKeepsTheLastInside) {
    const UBUFFER two =
        test::make_picture(2, 1, [](int x, int) { return x == 0 ? 0xFF000000u : 0xFF0000FFu; });
    UBUFFER dst;
    dst.allocate(enlarged_size(2, 4), enlarged_size(1, 4), 4);
    enlarge_bilinear_rows(two, dst, 4, 0, 1);
    EXPECT_EQ(
        std::vector<int>(dst.data(), dst.data() + dst.size()),
        (std::vector<int>{0, 0, 0, 255, 63, 0, 0, 255, 127, 0, 0, 255, 191, 0, 0, 255, 248, 0, 0, 255}));
    const int sizes[][3] = {{7, 5, 3}, {1, 6, 4}, {9, 1, 2}, {13, 11, 5}};
    for (auto [w, h, f] : sizes) {
        const UBUFFER src = test::noise_picture(w, h, std::uint32_t(w * h), false);
        UBUFFER one, all;
        one.allocate(enlarged_size(w, f), enlarged_size(h, f), 4);
        all.allocate(one.width(), one.height(), 4);
        for (int c = 0; c < 4; ++c) enlarge_bilinear(src, one, f, c);
        enlarge_bilinear_rows(src, all, f, 0, all.height() / 3);
        enlarge_bilinear_rows(src, all, f, all.height() / 3, all.height());
        EXPECT_EQ(std::memcmp(one.data(), all.data(), one.size()), 0) << w << "x" << h << " by " << f;
    }
}

// The box blur written out plainly: a k x k box whose last row and column lie m = k - k / 2 past the
// pixel; pixels nearer an edge than the box reaches keep their value.
TEST(Blur, EqualsAPlainBoxSumForEveryKernel) {
    test::RecordingHost host;
    for (int k : {0, 1, 2, 3, 4, 5, 7, 10}) {
        SCOPED_TRACE("kernel " + std::to_string(k));
        UBUFFER buf = test::noise_picture(23, 17, std::uint32_t(k + 1), false);
        const UBUFFER before = buf.clone();
        ASSERT_EQ(blur(host, buf, k), 0);
        const int h = k / 2, m = k - h;
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < 23; ++x)
                for (int c = 0; c < 4; ++c) {
                    int expect = before.at(x, y, c);
                    if (k > 0 && y >= h && y < 17 - m && x >= h && x < 23 - m) {
                        int sum = 0;
                        for (int j = y + m - k + 1; j <= y + m; ++j)
                            for (int i = x + m - k + 1; i <= x + m; ++i) sum += before.at(i, j, c);
                        expect = int(sum / double(k * k) + 0.5);
                    }
                    ASSERT_EQ(buf.at(x, y, c), expect) << x << "," << y << " channel " << c;
                }
    }
}

TEST(CopyTo, MismatchCopiesNothingAndSaysSo) {
    test::RecordingHost host;
    UBUFFER a = test::flat_picture(4, 4, 0xFFFFFFFF);
    UBUFFER b;
    b.allocate(4, 4, 1);
    EXPECT_FALSE(copy_to(host, a, b));
    EXPECT_TRUE(host.said("Unable to copy buffer in UBUFFER::copy_to()"));
    for (std::size_t i = 0; i < b.size(); ++i) ASSERT_EQ(b.data()[i], 0);
}

TEST(WorkingPictures, SizesFollowIntAndTheMemoryLimit) {
    struct Case {
        int w, h, f;
        std::int64_t limit;
        int fw, fh;  // filter buffer
        int ww, wh;  // working picture
    } cases[] = {
        {40, 30, 1, 15000000, 40, 30, 40, 30},            // INT 1 keeps the size
        {1, 1, 5, 15000000, 1, 1, 1, 1},                  // a single pixel stays single
        {50, 30, 5, 50 * 30 * 25 * 4, 50, 30, 246, 146},  // B = L is not shrunk
        {100, 50, 5, 100 * 50 * 25, 50, 25, 246, 121},    // B = 4 L halves each side
    };
    for (const Case& k : cases) {
        test::RecordingHost host;
        const UBUFFER src = test::noise_picture(k.w, k.h, 2);
        UBUFFER fb;
        ASSERT_EQ(init_interpol_buffer(host, src, k.f, k.limit, fb), 0);
        EXPECT_EQ(std::pair(fb.width(), fb.height()), std::pair(k.fw, k.fh));
        WorkingPictures wp;
        ASSERT_EQ(init_filter_buffer(host, fb, k.f, 1, wp), 0);
        EXPECT_EQ(std::pair(wp.working.width(), wp.working.height()), std::pair(k.ww, k.wh));
        EXPECT_EQ(wp.label_map.width(), k.ww);
        EXPECT_EQ(std::memcmp(wp.working.data(), wp.filtered.data(), wp.working.size()), 0);
    }
}

TEST(WorkingPictures, RefusesOutOfRangeIntAndBlur) {
    struct Case {
        int f, b;
        const char* message;  // nullptr: accepted
    } cases[] = {{51, 1, "Too big interpolation"},
                 {5, 11, "Too big blur"},
                 {0, 1, "Interpolation must be 1 or more"},
                 {50, 0, nullptr}};
    for (const Case& k : cases) {
        test::RecordingHost host;
        EXPECT_EQ(check_interpolation(host, k.f, k.b), k.message ? -1 : 0) << k.f << " " << k.b;
        EXPECT_EQ(host.messages(),
                  k.message ? std::vector<std::string>{k.message} : std::vector<std::string>{});
    }
}

}  // namespace
}  // namespace velq
