#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

std::string write_blobs(const std::string& dir) {
    const std::string path = dir + "/in.png";
    const UBUFFER pic = test::make_picture(50, 36, [](int x, int y) {
        const int dx = x - 18, dy = y - 16;
        if (dx * dx + dy * dy < 120) return 0xFFE0C040u;
        return x < 32 ? 0xFF2050A0u : 0xFF30A050u;
    });
    EXPECT_EQ(write_picture(path, pic, 96), PictureError::None);
    return path;
}

std::string read_all(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(CirclesCli, WritesTheCirclesAsJsonInPixelsOfTheWorkingPicture) {
    const std::string dir = test::temp_dir("circles-json");
    const std::string in = write_blobs(dir);
    const test::CliResult r =
        test::run_cli({"circles", in, "-o", dir + "/c.json", "--int", "3", "--max", "0.06", "--quiet"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(r.out.empty());
    const nlohmann::json j = nlohmann::json::parse(read_all(dir + "/c.json"));
    EXPECT_EQ(j["width"], 148);  // (50 - 1) * 3 + 1
    EXPECT_EQ(j["height"], 106);
    const auto& circles = j["circles"];
    ASSERT_GT(circles.size(), 30u);
    const std::set<std::vector<int>> picture_colours = {
        {224, 192, 64, 255}, {32, 80, 160, 255}, {48, 160, 80, 255}};
    std::size_t known = 0;
    for (std::size_t i = 0; i < circles.size(); ++i) {
        const double x = circles[i]["x"], y = circles[i]["y"], r0 = circles[i]["r"];
        ASSERT_GE(x - r0, -1e-6);
        ASSERT_LE(x + r0, 148 + 1e-6);
        ASSERT_GE(y - r0, -1e-6);
        ASSERT_LE(y + r0, 106 + 1e-6);
        ASSERT_LE(r0, 148 * 0.06);
        for (std::size_t k = 0; k < i; ++k) {
            const double d = std::hypot(x - double(circles[k]["x"]), y - double(circles[k]["y"]));
            ASSERT_GE(d + 1e-6, r0 + double(circles[k]["r"]) + 1)
                << "GAP 1 between circles " << k << " and " << i;
        }
        known += picture_colours.count(circles[i]["color"].get<std::vector<int>>());
    }
    EXPECT_GT(known, circles.size() / 2) << "most circles sit in flat parts and take their colour";
}

TEST(CirclesCli, WritesAnSvgOfTheSameCircles) {
    const std::string dir = test::temp_dir("circles-svg");
    const std::string in = write_blobs(dir);
    ASSERT_EQ(test::run_cli({"circles", in, "-o", dir + "/c.json", "--int", "2", "--quiet"}).exit_code, 0);
    const test::CliResult r = test::run_cli({"circles", in, "-o", dir + "/c.SVG", "--int", "2", "--quiet"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const std::string svg = read_all(dir + "/c.SVG");
    EXPECT_NE(svg.find("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"99\" height=\"71\""),
              std::string::npos);
    std::size_t count = 0;
    for (std::size_t at = svg.find("<circle "); at != std::string::npos; at = svg.find("<circle ", at + 1))
        ++count;
    const nlohmann::json j = nlohmann::json::parse(read_all(dir + "/c.json"));
    EXPECT_EQ(count, j["circles"].size());
    EXPECT_NE(svg.find("fill=\"rgb(224,192,64)\""), std::string::npos);
    EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
}

TEST(CirclesCli, RefusalsAndUsageErrors) {
    const std::string dir = test::temp_dir("circles-bad");
    const std::string in = write_blobs(dir);
    struct Case {
        std::vector<std::string> args;
        int exit_code;
        const char* says;
    } cases[] = {
        {{"circles", in, "-o", dir + "/c.png"}, 2, ".json or .svg"},
        {{"circles", in, "-o", dir + "/c.json", "--transform", "alphabet"}, 2, "--transform"},
        {{"circles", dir + "/missing.png", "-o", dir + "/c.json"}, 1, "Velquinograph: "},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = c.args;
        args.push_back("--quiet");
        const test::CliResult r = test::run_cli(args);
        EXPECT_EQ(r.exit_code, c.exit_code) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_FALSE(fs::exists(dir + "/c.json"));
    }
}

}  // namespace
}  // namespace velq
