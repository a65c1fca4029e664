#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "image/resolution.h"
#include "picture_files.h"
#include "support/pictures.h"

namespace velq {
namespace {

using test::encoded;

TEST(Resolution, UnitsConvertToWholeDotsPerInch) {
    struct Case {
        const char* what;
        int got, expected;
    } cases[] = {
        {"50 per cm is exactly 127", dpi_from_per_cm(50, 1), 127},
        {"7201/24 per inch", dpi_from_per_inch(7201, 24), 300},
        {"zero denominator", dpi_from_per_inch(300, 0), 0},
        {"huge", dpi_from_per_inch(0xFFFFFFFFu, 1), 2147483647},
    };
    for (const Case& c : cases) EXPECT_EQ(c.got, c.expected) << c.what;
    // Pixels per metre are stored as the smallest value that reads back as the same dpi.
    for (int dpi = 1; dpi <= 20000; ++dpi) {
        const std::uint32_t ppm = per_metre_from_dpi(dpi);
        ASSERT_EQ(dpi_from_per_metre(ppm), dpi) << dpi;
        ASSERT_LT(dpi_from_per_metre(ppm - 1), dpi) << dpi;
    }
}

// A little-endian EXIF block with XResolution num/den and the given ResolutionUnit (0: absent);
// without the "Exif" prefix for PNG's eXIf chunk.
std::vector<std::uint8_t> exif_block(std::uint32_t num, std::uint32_t den, std::uint16_t unit,
                                     bool prefix = true) {
    std::vector<std::uint8_t> v = {'I', 'I', 42, 0, 8, 0, 0, 0};
    const std::uint16_t entries = unit ? 2 : 1;
    v.push_back(std::uint8_t(entries));
    v.push_back(0);
    const std::uint32_t rational_at = 8 + 2 + 12 * entries + 4;
    const std::uint8_t x[12] = {0x1A, 0x01, 5, 0, 1, 0, 0, 0, std::uint8_t(rational_at), 0, 0, 0};
    v.insert(v.end(), x, x + 12);
    if (unit) {
        const std::uint8_t u[12] = {0x28, 0x01, 3, 0, 1, 0, 0, 0, std::uint8_t(unit), 0, 0, 0};
        v.insert(v.end(), u, u + 12);
    }
    v.insert(v.end(), 4, 0);
    for (std::uint32_t w : {num, den})
        for (int i = 0; i < 4; ++i) v.push_back(std::uint8_t(w >> (8 * i)));
    if (prefix) v.insert(v.begin(), {'E', 'x', 'i', 'f', 0, 0});
    return v;
}

// A JPEG with the JFIF segment's units and density replaced, and optionally an EXIF segment after it.
std::vector<std::uint8_t> jpeg_with(int units, int density, const std::vector<std::uint8_t>& exif = {}) {
    auto v = encoded(cv::Mat(8, 8, CV_8UC3, cv::Scalar(1, 2, 3)), ".jpg");
    v[13] = std::uint8_t(units);
    v[14] = std::uint8_t(density >> 8), v[15] = std::uint8_t(density);
    if (!exif.empty()) {
        std::vector<std::uint8_t> seg = {0xFF, 0xE1, std::uint8_t((exif.size() + 2) >> 8),
                                         std::uint8_t(exif.size() + 2)};
        seg.insert(seg.end(), exif.begin(), exif.end());
        v.insert(v.begin() + 20, seg.begin(), seg.end());
    }
    return v;
}

TEST(Resolution, ReadFromEachFormatsOwnField) {
    const cv::Mat px(2, 2, CV_8UC3, cv::Scalar(9, 9, 9));
    auto bmp = encoded(px, ".bmp");
    bmp[38] = 0x23, bmp[39] = 0x2E;  // 11811 per metre
    std::vector<std::uint8_t> exif_be = {'E', 'x', 'i',  'f',  0, 0, 'M',  'M',  0, 42, 0, 0, 0, 8,
                                         0,   1,   0x01, 0x1A, 0, 5, 0,    0,    0, 1,  0, 0, 0, 26,
                                         0,   0,   0,    0,    0, 0, 0x01, 0x2C, 0, 0,  0, 1};  // 300/1, inch
                                                                                                // by default
    struct Case {
        const char* what;
        std::vector<std::uint8_t> bytes;
        int dpi;
    } cases[] = {
        {"jfif aspect only", jpeg_with(0, 300), 96},
        {"exif over jfif", jpeg_with(1, 300, exif_block(72, 1, 2)), 72},
        {"exif per cm", jpeg_with(1, 300, exif_block(11811, 100, 3)), 299},
        {"exif without unit means inch", jpeg_with(1, 300, exif_block(240, 1, 0)), 240},
        {"exif unit none falls back to jfif", jpeg_with(1, 300, exif_block(72, 1, 1)), 300},
        {"exif big-endian", jpeg_with(0, 1, exif_be), 300},
        {"png pHYs 2:1 aspect, no unit",
         test::patched_png(encoded(px, ".png"), {{"pHYs", {0, 0, 0, 2, 0, 0, 0, 1, 0}}}), 96},
        {"png eXIf", test::patched_png(encoded(px, ".png"), {{"eXIf", exif_block(150, 1, 2, false)}}), 150},
        {"bmp 11811", bmp, 299},
        {"webp none", encoded(px, ".webp"), 96},
        {"not a picture", {'G', 'I', 'F', '8', '9', 'a'}, 0},
        {"png without header", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}, 0},
    };
    for (const Case& c : cases) EXPECT_EQ(read_dpi(c.bytes), c.dpi) << c.what;
}

}  // namespace
}  // namespace velq
