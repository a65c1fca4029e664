#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "persistence/settings_block.h"
#include "support/blocks.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

TEST(InfoCli, PrintsTheBlockAsJsonAndAsText) {
    const std::string path = test::temp_dir("cli-info") + "/result.png";
    SettingsBlock block = test::sample_block();
    block.settings.background = 0x302010, block.settings.global_brightness = -15;
    block.settings.logo_kind = LogoKind::Picture, block.settings.logo_text = "/logos/mark.png";
    block.settings.logo_transparency = 90;
    test::put_file(path, test::file_with_block(block, 500));

    const test::CliResult json = test::run_cli({"info", "--json", path});
    ASSERT_EQ(json.exit_code, 0) << json.err;
    const auto j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j["source"], block.settings.source_path);
    const struct {
        const char* key;
        int want;
    } ints[] = {{"version", 4}, {"int", 7}, {"blu", 3}, {"thr", 33}, {"width", 1234}, {"height", 987},
                {"dpi", 300},   {"dil", 2}, {"gap", 4}, {"k", 6},    {"filter", 8},   {"transform", 1}};
    for (auto c : ints) EXPECT_EQ(j[c.key], c.want) << c.key;
    EXPECT_EQ(j["max"].get<double>(), 0.03);
    EXPECT_EQ(j["background"], "102030");
    EXPECT_EQ(j["global_brightness"], -15);
    EXPECT_EQ(j["logo"], nlohmann::json::parse(R"({"picture": "/logos/mark.png", "transparency": 90})"));
    EXPECT_EQ(j["min"].get<double>(), 0.001);
    ASSERT_EQ(j["layers"].size(), 9u);
    EXPECT_EQ(j["layers"][2], nlohmann::json::parse(R"({"index": 2, "shown": true, "trans": 215, "size": 150,
        "bright": 200, "palette": 2, "random": false, "shuffle": false, "invert": false, "convert": false,
        "shapes": ["/shapes/leaf.png", "/shapes/star.png"]})"));

    const test::CliResult text = test::run_cli({"info", path});
    ASSERT_EQ(text.exit_code, 0) << text.err;
    EXPECT_NE(text.out.find("Ly4 - Hidden T(175)-S(200)-B(300)"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("shapes: /shapes/leaf.png, /shapes/star.png"), std::string::npos);
    EXPECT_NE(text.out.find("filter       K-mean"), std::string::npos);
    EXPECT_NE(
        text.out.find("background   102030\n  brightness   -15\n  logo         picture /logos/mark.png, "
                      "transparency 90\n"),
        std::string::npos)
        << text.out;
}

}  // namespace
}  // namespace velq
