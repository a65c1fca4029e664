#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "render/layer.h"
#include "render/shape.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// Writes a picture of w x h with the given OpenCV type, every pixel `value` (one number per channel).
std::string write_picture(const std::string& dir, const std::string& name, int w, int h, int type,
                          const cv::Scalar& value, const std::function<void(cv::Mat&)>& edit = {}) {
    cv::Mat m(h, w, type, value);
    if (edit) edit(m);
    const std::string path = dir + "/" + name;
    cv::imwrite(path, m);
    return path;
}

TEST(Shape, DefaultDiscIncludesItsRim) {
    test::RecordingHost host;
    SHAPE s(host);
    const std::tuple<int, int, int> cases[] = {{512, 512, 255}, {0, 512, 255},   {512, 0, 255}, {1, 1, 0},
                                               {1023, 1023, 0}, {150, 150, 255}, {149, 149, 0}};
    for (const auto& [x, y, value] : cases) {
        const int got[] = {s.org_buffer.at(x, y, 0), s.org_buffer.at(x, y, 1), s.mask_plane.at(x, y),
                           s.preview_buffer.at(x, y, 3)};
        EXPECT_THAT(got, testing::Each(value)) << x << "," << y;
    }
}

// Reading a shape: one side of 1024 at least, faint pixels cut away, any channel count and depth
// reduced to shade and opacity, the picture fitted so that its circumscribed circle fills the square.
// A failed read says so; a picture that was read but refused leaves the shape empty, a file that
// could not be read keeps the disc.
TEST(Shape, ReadShape) {
    const std::string dir = test::temp_dir("shape-read");
    struct Case {
        const char* what;
        int w, h, type;  // w 0: no file
        cv::Scalar value;
        int inner;  // opacity of a 400-square in the middle, -1 for none
        const char* message;
        int shade, opacity;
    } cases[] = {
        {"wide", 1024, 600, CV_8UC4, cv::Scalar(200, 200, 200, 255), -1, nullptr, 200, 255},
        {"tall", 600, 1024, CV_8UC4, cv::Scalar(200, 200, 200, 255), -1, nullptr, 200, 255},
        {"too small", 1023, 1023, CV_8UC4, cv::Scalar(200, 200, 200, 255), -1,
         "Too small shape image, must be larger than 1024x1024 pixel", 0, 0},
        {"faint frame cut away", 1024, 1024, CV_8UC4, cv::Scalar(90, 90, 90, 9), 10, nullptr, 60, 10},
        {"nothing but faint pixels", 1024, 1024, CV_8UC4, cv::Scalar(90, 90, 90, 9), 9,
         "Failed to read_shape", 0, 0},
        // 61 / 3 + 0.5
        {"colour, no alpha", 1024, 1024, CV_8UC3, cv::Scalar(10, 20, 31), -1, nullptr, 20, 255},
        {"grey", 1024, 1024, CV_8UC1, cv::Scalar(77), -1, nullptr, 77, 255},
        {"16 bits keep almost nothing", 1024, 1024, CV_16UC4, cv::Scalar(1000, 1000, 1000, 65535), -1,
         nullptr, 4, 255},
        {"16-bit colour", 1024, 1024, CV_16UC3, cv::Scalar(200, 200, 200), -1, nullptr, 1, 255},
        {"unreadable", 0, 0, 0, cv::Scalar(), -1, "Failed to read_shape", 255, 255},
    };
    int n = 0;
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        test::RecordingHost host;
        std::string path = dir + "/missing.png";
        if (k.w) {
            path = write_picture(
                dir, "s" + std::to_string(n++) + ".png", k.w, k.h, k.type, k.value, [&](cv::Mat& m) {
                    if (k.inner >= 0) m(cv::Rect(312, 312, 400, 400)).setTo(cv::Scalar(30, 60, 90, k.inner));
                });
        }
        SHAPE s(host);
        EXPECT_EQ(s.read_shape(host, path), k.message ? -1 : 0);
        EXPECT_TRUE(!k.message || host.said(k.message));
        EXPECT_EQ(s.name, k.message ? "" : path);
        EXPECT_EQ(std::tuple(s.org_buffer.at(512, 512, 0), s.org_buffer.at(512, 512, 1),
                             s.preview_buffer.at(512, 512, 2)),
                  std::tuple(k.shade, k.opacity, k.shade));
        if (k.message || k.w != k.h) continue;
        // A square's edge midpoints lie at 512 / sqrt(2) from the centre, its corners on the rim.
        EXPECT_EQ(s.org_buffer.at(512, 512 - 355, 1), k.opacity);
        EXPECT_EQ(s.org_buffer.at(512, 512 - 370, 1), 0);
        EXPECT_EQ(s.org_buffer.at(5, 5, 1), 0);
    }
}

TEST(Shape, LayerToneClampsShadeAndScalesOpacity) {
    test::RecordingHost host;
    // brightness, transparency, shade, opacity -> shade and opacity planes; transparent pixels stay.
    const std::tuple<int, int, int, int, int, int> cases[] = {{200, 255, 200, 255, 255, 255},
                                                              {100, 128, 200, 255, 200, 128},
                                                              {50, 255, 201, 255, 100, 255},
                                                              {1000000, 255, 3, 255, 255, 255},
                                                              {200, 10, 100, 0, 100, 0}};
    for (const auto& [b, t, shade, opacity, want_shade, want_opacity] : cases) {
        SHAPE s(host);
        s.org_buffer.at(512, 512, 0) = std::uint8_t(shade);
        s.org_buffer.at(512, 512, 1) = std::uint8_t(opacity);
        s.apply_layer_tone(b, t);
        EXPECT_EQ(
            std::tuple(s.shade_plane.at(512, 512), s.mask_plane.at(512, 512), s.org_buffer.at(512, 512, 0)),
            std::tuple(want_shade, want_opacity, shade))
            << b << "/" << t;  // the shape as read never changes
    }
}

TEST(LoadShapes, StopsAtTheFirstUnreadableFile) {
    const std::string dir = test::temp_dir("load-shapes");
    std::vector<std::string> paths;
    for (int i = 0; i < 5; ++i)
        paths.push_back(i == 2 ? dir + "/missing.png"
                               : write_picture(dir, "s" + std::to_string(i) + ".png", 1024, 1024, CV_8UC4,
                                               cv::Scalar(40 * i, 40 * i, 40 * i, 255)));
    test::RecordingHost host;
    Layer layer(host, true);
    layer.passage_mode = true;
    layer.brightness = 50;
    EXPECT_EQ(load_shapes(host, layer, paths), -1);
    ASSERT_EQ(layer.shapes.size(), 2u);
    EXPECT_EQ(layer.shapes[1]->name, paths[1]);
    EXPECT_EQ(layer.shapes[1]->shade_plane.at(512, 512), 20);  // 40 at brightness 50
    EXPECT_EQ(std::tuple(layer.current, layer.first_shape_only, layer.passage_mode),
              std::tuple(layer.shapes[0].get(), false, false));
    EXPECT_TRUE(host.said("Failed to read shape in " + paths[2]));
    EXPECT_EQ(host.titles().at(2), "Velquinograph (Loading shapes..." + paths[2] + ")");
    EXPECT_EQ(host.percents(), (std::vector<int>{0, 20, 40, 0}));

    // An empty list changes nothing.
    EXPECT_EQ(load_shapes(host, layer, {}), 0);
    EXPECT_EQ(layer.shapes.size(), 2u);
}

}  // namespace
}  // namespace velq
