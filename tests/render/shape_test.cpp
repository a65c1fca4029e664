#include <gtest/gtest.h>

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
    ASSERT_TRUE(s.usable());
    struct Case {
        int x, y, value;
    } cases[] = {{512, 512, 255}, {0, 512, 255},   {512, 0, 255}, {1, 1, 0},
                 {1023, 1023, 0}, {150, 150, 255}, {149, 149, 0}};
    for (const Case& k : cases) {
        EXPECT_EQ(s.org_buffer.at(k.x, k.y, 0), k.value) << k.x << "," << k.y;
        EXPECT_EQ(s.org_buffer.at(k.x, k.y, 1), k.value);
        EXPECT_EQ(s.mask_plane.at(k.x, k.y), k.value);
        EXPECT_EQ(s.preview_buffer.at(k.x, k.y, 3), k.value);
    }
    EXPECT_EQ(s.radius, 512.0);
    EXPECT_TRUE(s.name.empty());
}

TEST(Shape, SizeRuleNeedsOneSideOf1024) {
    const std::string dir = test::temp_dir("shape-size");
    struct Case {
        int w, h;
        bool ok;
    } cases[] = {
        {1024, 600, true}, {600, 1024, true}, {1024, 1024, true}, {1023, 1023, false}, {50, 50, false}};
    for (const Case& k : cases) {
        test::RecordingHost host;
        const std::string path =
            write_picture(dir, "s.png", k.w, k.h, CV_8UC4, cv::Scalar(200, 200, 200, 255));
        SHAPE s(host);
        EXPECT_EQ(s.read_shape(host, path), k.ok ? 0 : -1) << k.w << "x" << k.h;
        EXPECT_EQ(host.said("Too small shape image, must be larger than 1024x1024 pixel"), !k.ok);
        EXPECT_EQ(s.name, k.ok ? path : "");
    }
}

TEST(Shape, FaintPixelsAreCutAway) {
    const std::string dir = test::temp_dir("shape-alpha");
    // A faint frame around an opaque-enough square in the middle: only the square remains and fills
    // the working square's middle.
    for (const int inner : {9, 10, 255}) {
        test::RecordingHost host;
        const std::string path = write_picture(
            dir, "a.png", 1024, 1024, CV_8UC4, cv::Scalar(90, 90, 90, 9),
            [&](cv::Mat& m) { m(cv::Rect(312, 312, 400, 400)).setTo(cv::Scalar(30, 60, 90, inner)); });
        SHAPE s(host);
        const int r = s.read_shape(host, path);
        if (inner < 10) {
            EXPECT_EQ(r, -1);
            EXPECT_TRUE(host.said("Failed to read_shape"));
            continue;
        }
        ASSERT_EQ(r, 0);
        // The 400-square's circumscribed circle fills the 1024 square, so its corners touch the rim.
        EXPECT_EQ(s.org_buffer.at(512, 512, 1), inner);
        EXPECT_EQ(s.org_buffer.at(512, 512, 0), 60);  // (30 + 60 + 90) / 3
        EXPECT_EQ(s.org_buffer.at(512, 170, 1), inner);
        EXPECT_EQ(s.org_buffer.at(512, 140, 1), 0);  // above the square: was the faint frame
        EXPECT_EQ(s.org_buffer.at(5, 5, 1), 0);
    }
}

TEST(Shape, ChannelCountsAndDepths) {
    const std::string dir = test::temp_dir("shape-depth");
    struct Case {
        const char* what;
        int type;
        cv::Scalar value;
        int shade, opacity;
    } cases[] = {
        {"colour, no alpha: fully opaque", CV_8UC3, cv::Scalar(10, 20, 31), 20, 255},  // 61 / 3 + 0.5
        {"grey", CV_8UC1, cv::Scalar(77), 77, 255},
        {"16 bits keep almost nothing", CV_16UC4, cv::Scalar(1000, 1000, 1000, 65535), 4, 255},
        {"16-bit colour", CV_16UC3, cv::Scalar(200, 200, 200), 1, 255},
    };
    for (const Case& k : cases) {
        test::RecordingHost host;
        const std::string path = write_picture(dir, std::string("d") + std::to_string(k.type) + ".png", 1024,
                                               1024, k.type, k.value);
        SHAPE s(host);
        ASSERT_EQ(s.read_shape(host, path), 0) << k.what;
        EXPECT_EQ(s.org_buffer.at(512, 512, 0), k.shade) << k.what;
        EXPECT_EQ(s.org_buffer.at(512, 512, 1), k.opacity) << k.what;
        // A full square picture becomes its circumscribed disc: the square's edge midpoints lie at
        // 512 / sqrt(2) from the centre, its corners on the rim.
        EXPECT_EQ(s.org_buffer.at(512, 512 - 355, 1), k.opacity) << k.what;
        EXPECT_EQ(s.org_buffer.at(512, 512 - 370, 1), 0) << k.what;
        EXPECT_EQ(s.preview_buffer.at(512, 512, 2), k.shade) << k.what;
    }
}

TEST(Shape, UnreadableFileSaysSo) {
    test::RecordingHost host;
    SHAPE s(host);
    EXPECT_EQ(s.read_shape(host, "/nonexistent/shape.png"), -1);
    EXPECT_TRUE(host.said("Failed to read_shape"));
    EXPECT_EQ(s.org_buffer.at(512, 512, 1), 255);  // still the disc
}

TEST(Shape, LayerToneClampsShadeAndScalesOpacity) {
    test::RecordingHost host;
    struct Case {
        int brightness, transparency, shade, opacity, want_shade, want_opacity;
    } cases[] = {
        {200, 255, 200, 255, 255, 255},  // clamped
        {100, 128, 200, 255, 200, 128},   {50, 255, 201, 255, 100, 255},
        {1000000, 255, 3, 255, 255, 255}, {200, 10, 100, 0, 100, 0},  // transparent pixels are left untouched
    };
    for (const Case& k : cases) {
        SHAPE s(host);
        s.org_buffer.at(512, 512, 0) = std::uint8_t(k.shade);
        s.org_buffer.at(512, 512, 1) = std::uint8_t(k.opacity);
        s.apply_layer_tone(k.brightness, k.transparency);
        EXPECT_EQ(s.shade_plane.at(512, 512), k.want_shade) << k.brightness << "/" << k.transparency;
        EXPECT_EQ(s.mask_plane.at(512, 512), k.want_opacity);
        EXPECT_EQ(s.org_buffer.at(512, 512, 0), k.shade);  // the shape as read never changes
    }
}

TEST(LoadShapes, StopsAtTheFirstUnreadableFile) {
    const std::string dir = test::temp_dir("load-shapes");
    std::vector<std::string> paths;
    for (int i = 0; i < 5; ++i) {
        if (i == 2) {
            paths.push_back(dir + "/missing.png");
            continue;
        }
        paths.push_back(write_picture(dir, "s" + std::to_string(i) + ".png", 1024, 1024, CV_8UC4,
                                      cv::Scalar(40 * i, 40 * i, 40 * i, 255)));
    }
    test::RecordingHost host;
    Layer layer(host, true);
    layer.passage_mode = true;
    layer.brightness = 50;
    EXPECT_EQ(load_shapes(host, layer, paths), -1);
    ASSERT_EQ(layer.shapes.size(), 2u);
    EXPECT_EQ(layer.shapes[1]->name, paths[1]);
    EXPECT_EQ(layer.shapes[1]->shade_plane.at(512, 512), 20);  // 40 at brightness 50
    EXPECT_EQ(layer.current, layer.shapes[0].get());
    EXPECT_FALSE(layer.first_shape_only);
    EXPECT_FALSE(layer.passage_mode);
    EXPECT_TRUE(host.said("Failed to read shape in " + paths[2]));
    const auto titles = host.titles();
    ASSERT_GE(titles.size(), 4u);
    EXPECT_EQ(titles[0], "Velquinograph (Loading shapes..." + paths[0] + ")");
    EXPECT_EQ(titles[2], "Velquinograph (Loading shapes..." + paths[2] + ")");
    EXPECT_EQ(titles.back(), "Velquinograph");
    EXPECT_EQ(host.percents(), (std::vector<int>{0, 20, 40, 0}));

    // An empty list changes nothing.
    EXPECT_EQ(load_shapes(host, layer, {}), 0);
    EXPECT_EQ(layer.shapes.size(), 2u);
}

}  // namespace
}  // namespace velq

namespace velq {
namespace {

TEST(LoadShapes, BundledSetLoads) {
    const std::vector<std::string> names = {"star", "heart", "leaf", "flower", "drop", "ring", "moon"};
    std::vector<std::string> paths;
    for (const auto& n : names) paths.push_back(std::string(VELQ_DATA_DIR) + "/shapes/" + n + ".png");
    test::RecordingHost host;
    Layer layer(host, false);
    ASSERT_EQ(load_shapes(host, layer, paths), 0) << (host.messages().empty() ? "" : host.messages()[0]);
    ASSERT_EQ(layer.shapes.size(), names.size());
    for (const auto& s : layer.shapes) {
        // Each shape is centred, opaque in the middle or on a ring around it, and lit from the upper left.
        int opaque = 0;
        for (int y = 0; y < SHAPE::kSide; y += 8)
            for (int x = 0; x < SHAPE::kSide; x += 8) opaque += s->mask_plane.at(x, y) == 255;
        EXPECT_GT(opaque, 16384 / 5) << s->name;
        EXPECT_LT(opaque, 16384 * 4 / 5) << s->name;
    }
}

}  // namespace
}  // namespace velq
