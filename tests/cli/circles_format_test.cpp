#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <tuple>

#include <nlohmann/json.hpp>

#include "image/picture_writer.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

std::set<std::string> keys_of(const nlohmann::json& object) {
    std::set<std::string> keys;
    for (const auto& [key, value] : object.items()) keys.insert(key);
    return keys;
}

// Every transform writes one JSON layout, and the SVG of the same run holds the same circles.
TEST(CirclesCli, EveryTransformWritesOneFormatAndTheSvgHoldsTheSameCircles) {
    const std::string dir = test::temp_dir("circles-format");
    const std::string in = dir + "/in.png";
    const UBUFFER pic = test::make_picture(50, 36, [](int x, int y) {
        const int dx = x - 18, dy = y - 16;
        return dx * dx + dy * dy < 120 ? 0xFFE0C040u : x < 32 ? 0xFF2050A0u : 0xFF30A050u;
    });
    ASSERT_EQ(write_picture(in, pic, 96), PictureError::None);
    const std::set<std::string> top = {"format", "transform", "width", "height", "circles", "segments"};
    const std::set<std::string> circle = {"x", "y", "radius", "colour", "segment"};
    const std::set<std::string> segment = {"index", "colour", "outline", "children"};
    for (const std::string transform : {"normal", "vectorize", "alphabet"}) {
        const std::vector<std::string> args = {"circles", in,     "--int",       "3",
                                               "--max",   "0.06", "--transform", transform};
        std::vector<std::string> to_json = args, to_svg = args;
        to_json.insert(to_json.end(), {"-o", dir + "/c.json"});
        to_svg.insert(to_svg.end(), {"-o", dir + "/c.svg"});
        const test::CliResult r = test::run_cli(to_json);
        ASSERT_EQ(r.exit_code, 0) << r.err;
        ASSERT_EQ(test::run_cli(to_svg).exit_code, 0);

        const nlohmann::json j = nlohmann::json::parse(test::file_text(dir + "/c.json"));
        EXPECT_EQ(keys_of(j), top) << transform;
        // The working picture's size: (50 - 1) * 3 + 1 wide.
        EXPECT_EQ(std::tuple(j["format"], j["transform"], j["width"], j["height"]),
                  std::tuple("velquino-circles-1", transform, 148, 106));
        EXPECT_EQ(j["segments"].empty(), transform == "normal");
        for (const auto& s : j["segments"]) EXPECT_EQ(keys_of(s), segment);
        const std::string svg = test::file_text(dir + "/c.svg");
        // Letters keep their font's curves.
        EXPECT_EQ(svg.find(" Q") != std::string::npos, transform == "alphabet") << transform;
        const std::regex svg_circle(
            "<circle cx=\"([^\"]+)\" cy=\"([^\"]+)\" r=\"([^\"]+)\" fill=\"#([0-9a-f]{6})\"/>");
        std::vector<std::tuple<double, double, double, std::string>> in_svg, in_json;
        for (auto it = std::sregex_iterator(svg.begin(), svg.end(), svg_circle); it != std::sregex_iterator();
             ++it)
            in_svg.emplace_back(std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3]),
                                (*it)[4].str());
        for (const auto& c : j["circles"]) {
            EXPECT_EQ(keys_of(c), circle) << transform;
            EXPECT_EQ(c["segment"].is_null(), transform == "normal");
            const auto rgb = c["colour"].get<std::vector<int>>();
            char hex[8];
            std::snprintf(hex, sizeof hex, "%02x%02x%02x", rgb[0], rgb[1], rgb[2]);
            in_json.emplace_back(c["x"].get<double>(), c["y"].get<double>(), c["radius"].get<double>(), hex);
        }
        EXPECT_GT(in_json.size(), 20u) << transform;
        EXPECT_EQ(in_svg, in_json) << transform;
    }
}

}  // namespace
}  // namespace velq
