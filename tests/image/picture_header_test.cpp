#include <gtest/gtest.h>

#include <cstring>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "image/picture_header.h"
#include "image/picture_reader.h"
#include "picture_files.h"

namespace velq {
namespace {

using test::noise_file;

// A JPEG with its frame header claiming another size.
std::vector<std::uint8_t> jpeg_claiming(int w, int h) {
    auto v = noise_file(16, 16, CV_8UC3, ".jpg");
    for (std::size_t i = 2; i + 8 < v.size(); ++i) {
        if (v[i] == 0xFF && v[i + 1] == 0xC0) {
            v[i + 5] = std::uint8_t(h >> 8), v[i + 6] = std::uint8_t(h);
            v[i + 7] = std::uint8_t(w >> 8), v[i + 8] = std::uint8_t(w);
            break;
        }
    }
    return v;
}

std::vector<std::uint8_t> bmp_claiming(std::int32_t w, std::int32_t h) {
    auto v = noise_file(4, 4, CV_8UC3, ".bmp");
    std::memcpy(&v[18], &w, 4);  // little-endian, as the file has it
    std::memcpy(&v[22], &h, 4);
    return v;
}

std::vector<std::uint8_t> tiff_claiming(std::uint32_t w, std::uint32_t h) {
    std::vector<std::uint8_t> v = {'I', 'I', 42, 0, 8, 0, 0, 0, 2, 0};
    for (const auto& [tag, value] : {std::pair{0, w}, std::pair{1, h}}) {  // tags 256 and 257: one LONG each
        v.insert(v.end(), {std::uint8_t(tag), 1, 4, 0, 1, 0, 0, 0});
        for (int i = 0; i < 4; ++i) v.push_back(std::uint8_t(value >> (8 * i)));
    }
    v.insert(v.end(), 4, 0);
    return v;
}

std::vector<std::uint8_t> webp_claiming(std::uint32_t w, std::uint32_t h) {
    std::vector<std::uint8_t> v = {'R', 'I', 'F', 'F', 22, 0, 0, 0, 'W', 'E', 'B', 'P', 'V', 'P', '8',
                                   'X', 10,  0,   0,   0,  0, 0, 0, 0,   0,   0,   0,   0,   0,   0};
    w -= 1, h -= 1;
    v[24] = std::uint8_t(w), v[25] = std::uint8_t(w >> 8), v[26] = std::uint8_t(w >> 16);
    v[27] = std::uint8_t(h), v[28] = std::uint8_t(h >> 8), v[29] = std::uint8_t(h >> 16);
    return v;
}

// Sizes between our limit and the decoder's own (2^30 pixels) as well as far beyond both are refused
// before decoding: the decoder would try to allocate the first kind, so only the header check stops them.
TEST(PictureHeader, ReadsTheSizeOfEveryFormatAndRefusesAbsurdOnes) {
    struct Case {
        const char* what;
        std::vector<std::uint8_t> bytes;
        PictureFormat format;
        std::int64_t w, h;
        bool too_large = false;
    } cases[] = {
        {"png", noise_file(37, 23, CV_8UC4, ".png"), PictureFormat::Png, 37, 23},
        {"jpeg", noise_file(37, 23, CV_8UC3, ".jpg"), PictureFormat::Jpeg, 37, 23},
        {"progressive jpeg", noise_file(37, 23, CV_8UC3, ".jpg", {cv::IMWRITE_JPEG_PROGRESSIVE, 1}),
         PictureFormat::Jpeg, 37, 23},
        {"bmp", noise_file(37, 23, CV_8UC3, ".bmp"), PictureFormat::Bmp, 37, 23},
        {"bmp top-down", bmp_claiming(4, -4), PictureFormat::Bmp, 4, 4},
        {"tiff", noise_file(37, 23, CV_8UC3, ".tif"), PictureFormat::Tiff, 37, 23},
        {"webp lossy", noise_file(37, 23, CV_8UC3, ".webp"), PictureFormat::WebP, 37, 23},
        {"webp lossless", noise_file(37, 23, CV_8UC3, ".webp", {cv::IMWRITE_WEBP_QUALITY, 101}),
         PictureFormat::WebP, 37, 23},
        {"text", {'h', 'e', 'l', 'l', 'o'}, PictureFormat::Unknown, 0, 0},
        {"png signature only", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}, PictureFormat::Png, 0, 0},
        {"png 20000 x 20000", test::patched_png(noise_file(2, 2, CV_8UC4, ".png"), {}, 20000, 20000),
         PictureFormat::Png, 20000, 20000, true},
        {"jpeg 65535 x 65535", jpeg_claiming(65535, 65535), PictureFormat::Jpeg, 65535, 65535, true},
        {"bmp top-down 30000 x 30000", bmp_claiming(30000, -30000), PictureFormat::Bmp, 30000, 30000, true},
        {"tiff 100000 x 100000", tiff_claiming(100000, 100000), PictureFormat::Tiff, 100000, 100000, true},
        {"webp 16777216 x 16777216", webp_claiming(16777216, 16777216), PictureFormat::WebP, 16777216,
         16777216, true},
    };
    for (const Case& c : cases) {
        const PictureHeader h = read_picture_header(c.bytes);
        EXPECT_EQ(h.format, c.format) << c.what;
        EXPECT_EQ(std::pair(h.width, h.height), std::pair(c.w, c.h)) << c.what;
        if (!c.too_large) continue;
        const PictureRead r = decode_picture(c.bytes);
        EXPECT_EQ(r.error, PictureError::TooLarge) << c.what;
        EXPECT_FALSE(r.picture) << c.what;
    }
    EXPECT_FALSE((PictureHeader{PictureFormat::Png, 16384, 16384}.too_large()));
    EXPECT_TRUE((PictureHeader{PictureFormat::Png, 16384, 16385}.too_large()));
}

TEST(PictureHeader, EveryCutOffJpegIsRefusedAndOthersNeverCrash) {
    const std::string exts[] = {".jpg", ".png", ".bmp", ".tif", ".webp"};
    for (const std::string& ext : exts) {
        const auto full = noise_file(40, 24, CV_8UC3, ext);
        ASSERT_TRUE(decode_picture(full)) << ext;
        for (std::size_t n = 0; n < full.size(); n += 1 + full.size() / 300) {
            const std::vector<std::uint8_t> cut(full.begin(), full.begin() + std::ptrdiff_t(n));
            const PictureRead r = decode_picture(cut);
            if (ext == ".jpg") {
                EXPECT_FALSE(jpeg_is_complete(cut)) << n;
                EXPECT_EQ(r.error, PictureError::Unreadable) << ext << " cut at " << n;
            }
            // Whatever a decoder makes of a cut-off file, it is a whole picture or nothing.
            if (r) {
                EXPECT_EQ(std::pair(r.picture.width(), r.picture.height()), std::pair(40, 24))
                    << ext << " " << n;
            } else {
                EXPECT_FALSE(r.picture);
            }
        }
    }
}

}  // namespace
}  // namespace velq
