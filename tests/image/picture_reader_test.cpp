#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string_view>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "image/picture_convert.h"
#include "image/picture_reader.h"
#include "picture_files.h"
#include "support/pictures.h"

namespace velq {
namespace {

// The literal conversion: expand to BGRA at the source depth (grey+alpha by hand), then scale to
// 8 bits by 1/255, then clear every pixel whose alpha is below 10. Slow and plain on purpose.
cv::Mat reference_bgra(const cv::Mat& in) {
    cv::Mat four;
    if (in.channels() == 3) {
        cv::cvtColor(in, four, cv::COLOR_BGR2BGRA);
    } else if (in.channels() == 1) {
        cv::cvtColor(in, four, cv::COLOR_GRAY2BGRA);
    } else if (in.channels() == 2) {
        std::vector<cv::Mat> p;
        cv::split(in, p);
        cv::merge(std::vector<cv::Mat>{p[0], p[0], p[0], p[1]}, four);
    } else {
        four = in;
    }
    cv::Mat out;
    if (four.depth() == CV_8U) {
        out = four.clone();
    } else {
        four.convertTo(out, CV_8U, 0.00392156862745098, 0);
    }
    for (int y = 0; y < out.rows; ++y)
        for (int x = 0; x < out.cols; ++x) {
            cv::Vec4b& v = out.at<cv::Vec4b>(y, x);
            if (v[3] < 10) v = cv::Vec4b(0, 0, 0, 0);
        }
    return out;
}

TEST(PictureReader, ConversionMatchesThePlainReferenceOnEveryLayout) {
    std::mt19937 gen(7);
    for (const int depth : {CV_8U, CV_16U, CV_32F})
        for (int channels = 1; channels <= 4; ++channels) {
            cv::Mat m(13, 17, CV_MAKETYPE(depth, channels));
            const double top = depth == CV_8U ? 256 : depth == CV_16U ? 65536 : 70000;
            cv::randu(m, cv::Scalar::all(0), cv::Scalar::all(top));
            // Some alphas right at the threshold, whatever the depth.
            if (channels % 2 == 0) {
                std::vector<cv::Mat> planes;
                cv::split(m, planes);
                for (int i = 0; i < 20; ++i) {
                    const int x = int(gen() % 17), y = int(gen() % 13), a = 9 + int(gen() % 2);
                    planes.back()(cv::Rect(x, y, 1, 1)).setTo(a * (depth == CV_8U ? 1 : 255));
                }
                cv::merge(planes, m);
            }
            UBUFFER out;
            ASSERT_EQ(bgra_from_decoded(m, out), ConvertResult::Ok) << depth << " " << channels;
            const cv::Mat want = reference_bgra(m);
            ASSERT_EQ(std::pair(out.width(), out.height()), std::pair(17, 13));
            EXPECT_EQ(std::memcmp(out.data(), want.data, out.size()), 0)
                << "depth " << depth << " ch " << channels;
        }
}

TEST(PictureReader, BadInputFailsCleanly) {
    const std::string dir = test::temp_dir("reader_bad");
    namespace fs = std::filesystem;
    auto cut = [](std::vector<std::uint8_t> v, double f) {
        v.resize(std::size_t(double(v.size()) * f));
        return v;
    };
    const std::string text = "This is not a picture.\n";
    // A WebP header whose extended chunk is broken, with "DICM" at byte 128 (found by the fuzzer): the
    // DICOM decoder would take it, and abort the program on it.
    using namespace std::string_view_literals;
    const std::string_view trap =
        "\x52\x49\x46\x46\x66\x00\x00\x00\x57\x45\x42\x50\x56\x50\x38\x58\x00\x00\x00\x00\x00\x00\x00\x01"
        "\x00\x00\x00\x00\x00\x01\xff\x00\x00\x00\x00\x00\x00\x2e\x6d\x62\x74\x69\x6c\x65\x73\x00\x00\x00"
        "\x00\x00\x00\x00\x00\x00\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\xff\xd8"
        "\xff\xc0\x00\x10\x4a\x06\x49\x46\x00\x01\x01\x01\x00\x01\x00\x01\x00\x00\xff\xe1\x00\x2c\x45\x78"
        "\x69\x66\x00\x00\x4d\x4d\x00\x2a\x00\x00\x00\x08\x00\x02\x01\x1a\x00\x05\xfe\x00\x00\x00\x00\xff"
        "\xd8\xff\xd8\x00\x00\xb0\x00\x00\x44\x49\x43\x4d\x00\x57"sv;
    // Each is unreadable and gives no picture, as do a folder and a missing file.
    const std::pair<const char*, std::vector<std::uint8_t>> files[] = {
        {"zero.png", {}},
        {"text.jpg", {text.begin(), text.end()}},
        {"half.png", cut(test::noise_file(64, 64, CV_8UC3, ".png"), 0.5)},
        {"dicom-trap.webp", {trap.begin(), trap.end()}},
        {"half.webp", cut(test::noise_file(64, 64, CV_8UC3, ".webp"), 0.5)},
    };
    std::vector<std::string> paths = {dir + "/folder.png", dir + "/missing.png"};
    fs::create_directories(paths[0]);
    for (const auto& [name, bytes] : files) test::put_file(paths.emplace_back(dir + "/" + name), bytes);
    for (const std::string& path : paths) {
        const PictureRead r = read_picture(path);
        EXPECT_EQ(r.error, PictureError::Unreadable) << path;
        EXPECT_FALSE(r.picture) << path;
    }
    // Data after the end of a complete JPEG (a settings block, say) does not matter.
    auto tail = test::noise_file(64, 64, CV_8UC3, ".jpg");
    tail.insert(tail.end(), 5000, 0xAB);
    EXPECT_TRUE(decode_picture(tail));
    // A lossy WebP with alpha (the extended layout) is read.
    const auto extended = test::noise_file(64, 48, CV_8UC4, ".webp", {cv::IMWRITE_WEBP_QUALITY, 80});
    ASSERT_EQ(std::string(extended.begin() + 12, extended.begin() + 16), "VP8X");
    const PictureRead read = decode_picture(extended);
    ASSERT_TRUE(read.picture);
    EXPECT_EQ(read.picture.width(), 64);
}

}  // namespace
}  // namespace velq
