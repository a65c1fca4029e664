#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

std::string picture_file(const std::string& dir) {
    const std::string path = dir + "/in.png";
    const UBUFFER pic = test::make_picture(48, 32, [](int x, int y) {
        return (x - 24) * (x - 24) + (y - 16) * (y - 16) < 100 ? 0xFFF0C020u : 0xFF2040A0u;
    });
    EXPECT_EQ(write_picture(path, pic, 200), PictureError::None);
    return path;
}

TEST(RenderCli, RendersAndTheResultCarriesItsSettings) {
    const std::string dir = test::temp_dir("render-cli");
    const std::string in = picture_file(dir);
    const std::string out = dir + "/art.png";
    const test::CliResult r =
        test::run_cli({"render", in, "-o", out, "--quiet", "--int", "3", "--thr", "12", "--layer",
                       "1:palette=Neon Cyber,size=80", "--background", "102030", "--shapes",
                       std::string("1=") + VELQ_DATA_DIR + "/shapes/star.png"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const PictureRead back = read_picture(out);
    ASSERT_TRUE(back);
    EXPECT_EQ(back.picture.width(), 47 * 3 + 1);
    EXPECT_EQ(back.dpi, 200);

    const test::CliResult info = test::run_cli({"info", out, "--json"});
    ASSERT_EQ(info.exit_code, 0) << info.err;
    const auto j = nlohmann::json::parse(info.out);
    EXPECT_EQ(j["version"], 4);
    EXPECT_EQ(j["int"], 3);
    EXPECT_EQ(j["thr"], 12);
    EXPECT_EQ(j["layers"][1]["palette"], 7);
    EXPECT_EQ(j["layers"][1]["size"], 80);
    ASSERT_EQ(j["layers"][1]["shapes"].size(), 1u);
}

TEST(RenderCli, CirclesAsJsonAndSvg) {
    const std::string dir = test::temp_dir("circles-cli");
    const std::string in = picture_file(dir);
    ASSERT_EQ(test::run_cli({"circles", in, "-o", dir + "/c.json", "--quiet", "--int", "2"}).exit_code, 0);
    std::ifstream json_file(dir + "/c.json");
    const auto j = nlohmann::json::parse(json_file);
    const double w = j["width"], h = j["height"];
    EXPECT_EQ(w, 95);
    ASSERT_FALSE(j["circles"].empty());
    for (const auto& c : j["circles"]) {
        const double x = c["x"], y = c["y"], rad = c["r"];
        EXPECT_GE(x - rad, -1e-9);
        EXPECT_LE(x + rad, w + 1e-9);
        EXPECT_GE(y - rad, -1e-9);
        EXPECT_LE(y + rad, h + 1e-9);
        EXPECT_EQ(c["color"].size(), 4u);
    }
    ASSERT_EQ(test::run_cli({"circles", in, "-o", dir + "/c.svg", "--quiet", "--int", "2"}).exit_code, 0);
    std::ifstream svg(dir + "/c.svg");
    const std::string text((std::istreambuf_iterator<char>(svg)), {});
    EXPECT_NE(text.find("<svg"), std::string::npos);
    EXPECT_EQ(std::size_t(std::count(text.begin(), text.end(), '\n')), j["circles"].size() + 4);
    EXPECT_EQ(test::run_cli({"circles", in, "-o", dir + "/c.txt"}).exit_code, 2);
}

}  // namespace
}  // namespace velq
