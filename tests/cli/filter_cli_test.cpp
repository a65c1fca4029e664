#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

// The filtered working picture keeps the source's resolution; a seed repeats the random filters.
TEST(FilterCli, WritesTheFilteredPictureAndASeedRepeatsIt) {
    const std::string dir = test::temp_dir("cli-filter");
    const std::string in = dir + "/in.png";
    ASSERT_EQ(write_picture(in, test::noise_picture(48, 32, 5), 150), PictureError::None);
    auto filtered = [&](const std::string& seed) {
        const std::string out = dir + "/out-" + seed + ".png";
        const test::CliResult r = test::run_cli(
            {"filter", in, "-o", out, "--int", "3", "--filter", "half-shuffle", "--seed", seed});
        EXPECT_EQ(r.exit_code, 0) << r.err;
        EXPECT_TRUE(r.out.empty()) << "nothing but requested output goes to stdout";
        return read_picture(out);
    };
    const PictureRead a = filtered("7"), b = filtered("7"), c = filtered("8");
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(a.picture.width(), 142);  // (48 - 1) * 3 + 1
    EXPECT_EQ(a.picture.height(), 94);
    EXPECT_EQ(a.dpi, 150);
    EXPECT_TRUE(test::same_bytes(a.picture, b.picture));
    EXPECT_FALSE(test::same_bytes(a.picture, c.picture));
}

// --impact puts Broken glass's crushed spot where asked: on flat grey it is the one place where
// every crack meets, so the pixels round it change while the spot itself keeps its grey. The result
// keeps the impact and the seed the pane was drawn from.
TEST(FilterCli, ImpactPlacesTheBrokenGlassAndTheResultKeepsItsPane) {
    const std::string dir = test::temp_dir("cli-impact");
    const std::string in = dir + "/in.png", out = dir + "/out.png";
    ASSERT_EQ(write_picture(in, test::flat_picture(48, 32, 0xFF808080u), 96), PictureError::None);
    const test::CliResult r = test::run_cli({"filter", in, "-o", out, "--int", "3", "--filter",
                                             "broken-glass", "--impact", "0.25,0.5", "--seed", "4"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const PictureRead p = read_picture(out);
    ASSERT_TRUE(p);
    const int cx = int(0.25 * p.picture.width()), cy = int(0.5 * p.picture.height());
    EXPECT_EQ(p.picture.at(cx, cy, 1), 0x80);
    int changed = 0;
    for (int y = cy - 8; y <= cy + 8; ++y)
        for (int x = cx - 8; x <= cx + 8; ++x) changed += p.picture.at(x, y, 1) != 0x80;
    EXPECT_GT(changed, 40);

    // A rendered result keeps the impact with its settings.
    const std::string art = dir + "/art.png";
    ASSERT_EQ(test::run_cli({"render", in, "-o", art, "--int", "3", "--filter", "broken-glass", "--impact",
                             "0.25,0.5", "--seed", "4"})
                  .exit_code,
              0);
    const test::CliResult info = test::run_cli({"info", art, "--json"});
    EXPECT_EQ(nlohmann::json::parse(info.out)["impact"], nlohmann::json::array({0.25, 0.5})) << info.out;
    EXPECT_EQ(nlohmann::json::parse(info.out)["filter_seed"], 4) << info.out;
}

}  // namespace
}  // namespace velq
