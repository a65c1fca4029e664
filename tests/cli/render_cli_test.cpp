#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <tuple>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"
#include "support/tools.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

nlohmann::json info_of(const std::string& path) {
    const test::CliResult r = test::run_cli({"info", path, "--json"});
    EXPECT_EQ(r.exit_code, 0) << r.err;
    return r.exit_code == 0 ? nlohmann::json::parse(r.out) : nlohmann::json{};
}

// A source picture and a first result made from it with options of every group.
struct Files {
    std::string dir = test::temp_dir("render-cli");
    std::string source = dir + "/source.png", other = dir + "/other.png", first = dir + "/first.png";
    Files() {
        auto picture = [](std::uint32_t a, std::uint32_t b) {
            return test::make_picture(40, 30, [=](int x, int y) { return (x / 10 + y / 10) % 2 ? a : b; });
        };
        EXPECT_EQ(write_picture(source, picture(0xFFE04010u, 0xFF1030C0u), 150), PictureError::None);
        EXPECT_EQ(write_picture(other, picture(0xFF20C060u, 0xFFF0F0F0u), 72), PictureError::None);
        const std::string star = std::string("1=") + VELQ_DATA_DIR + "/shapes/star.png";
        std::vector<std::string> args = test::words(
            "render " + source + " -o " + first +
            " --int 2 --blu 0 --thr 14 --max 0.05 --min 0.0125 --width 160 --background 102030 --layer "
            "1:palette=7,size=70,invert --shapes " +
            star +
            " --passage-style 2=bubble --layer 2:casefold --seed 5 --global-brightness 20 --logo-text Velq "
            "--logo-transparency 200 --filter broken-glass --impact 0.25,0.5");
        args.insert(args.end(), {"--passage", "2=Ab a", "--passage-font", "2=DejaVu Sans:bold"});
        const test::CliResult r = test::run_cli(args);
        EXPECT_EQ(r.exit_code, 0) << r.err;
    }
    ~Files() { fs::remove_all(dir); }
};

// The result renders again the same from its block; so does a drawing, which replaces the render and
// is kept in the block. Then the block over another picture, options over the block, size and
// resolution on the line.
TEST(RenderCli, TheResultRendersAgainTheSameAndTheLineOverridesItsSettings) {
    Files f;
    const std::string again = f.dir + "/again.png", drawn = f.dir + "/drawn.png", redrawn = f.dir + "/re.png";
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"render", "--settings", f.first, "-o", again, "--seed", "5"},
          {"render", "--settings", f.first, "-o", drawn, "--seed", "5", "--draw", "cells-crystal", "--lead",
           "2", "--lead-colour", "FF8000"},
          {"render", "--settings", drawn, "-o", redrawn, "--seed", "5"}}) {
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << r.err;
    }
    const PictureRead first = read_picture(f.first), second = read_picture(again), a = read_picture(drawn),
                      b = read_picture(redrawn);
    ASSERT_TRUE(first && second && a && b);
    // The background, the global brightness and the logo come back from the block.
    EXPECT_TRUE(test::same_bytes(first.picture, second.picture));
    EXPECT_TRUE(test::same_bytes(a.picture, b.picture));
    EXPECT_FALSE(test::same_bytes(a.picture, first.picture));
    const auto j = info_of(again);
    EXPECT_EQ(j, info_of(f.first));
    // The pane the random filter drew comes again from its seed and impact.
    EXPECT_EQ(std::tuple(j["background"], j["global_brightness"], j["filter_seed"], j["impact"]),
              std::tuple("102030", 20, 5, nlohmann::json::array({0.25, 0.5})));
    EXPECT_EQ(j["logo"],
              nlohmann::json::parse(R"({"text": "Velq", "font": "Courier New", "transparency": 200})"));
    ASSERT_EQ(j["layers"][1]["shapes"].size(), 1u);
    EXPECT_EQ(j["layers"][2]["passage"], nlohmann::json::parse(R"({"text": "Ab a", "style": "Bubble",
        "font": "DejaVu Sans", "bold": true, "italic": false, "casefold": true, "keep_blanks": false})"));
    EXPECT_EQ(info_of(drawn)["drawing"],
              nlohmann::json::parse(R"({"kind": "cells-crystal", "layer": 1, "spike_width": 1.0, "burst": 7,
                                        "lead": 2, "lead_colour": "FF8000"})"));

    const struct {
        int thr, width, dpi, palette;
        std::string source;
        std::vector<std::string> args;
    } cases[] = {
        {14, 79, 72, 7, f.other, {f.other, "--settings", f.first}},
        {30, 160, 150, 2, f.source, {"--settings", f.first, "--thr", "30", "--layer", "1:palette=2"}},
        {14, 120, 300, 7, f.source, {"--settings", f.first, "--width", "120", "--dpi", "300"}}};
    for (const auto& c : cases) {
        const std::string out = f.dir + "/out.png";
        std::vector<std::string> args = {"render", "-o", out};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << c.args.back() << ": " << r.err;
        const auto j = info_of(out);
        const auto& l = j["layers"][1];
        EXPECT_EQ(std::tuple(j["thr"], j["max"], j["width"], j["dpi"], l["palette"], l["size"], l["invert"]),
                  std::tuple(c.thr, 0.05, c.width, c.dpi, c.palette, 70, true))
            << c.args.back();
        EXPECT_EQ(j["source"], fs::absolute(c.source).lexically_normal().string()) << c.args.back();
    }
}

// The tool's .psd path end to end (the merged picture and the block are the save's own matter):
// ImageMagick's flattening of the shown layers gives the PNG within 2. The first result's global
// brightness is set back to 0: its layers stack back only within about 6. A drawing is one layer of
// its own in place of the shape layers.
TEST(RenderCli, APsdResultHoldsItsLayers) {
    Files f;
    const struct {
        std::vector<std::string> args;
        std::string layers, shown;
    } cases[] = {
        {{"--layer", "2:hidden", "--shapes", std::string("2=") + VELQ_DATA_DIR + "/shapes/heart.png"},
         "|Background|Ly0|Ly1|Ly2|Logo|",
         "[1-3,5]"},
        {{"--draw", "spikes-burst"}, "|Background|Drawing|Logo|", "[1-3]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.layers);
        const std::string psd = f.dir + "/layers.psd", png = f.dir + "/layers.png";
        for (const std::string& out : {psd, png}) {
            std::vector<std::string> args{
                "render", "--settings",          f.first, "-o", out, "--seed", "5", "--background",
                "102030", "--global-brightness", "0"};
            args.insert(args.end(), c.args.begin(), c.args.end());
            const test::CliResult r = test::run_cli(args);
            ASSERT_EQ(r.exit_code, 0) << r.err;
        }
        if (!test::have_tool("convert")) GTEST_SKIP() << "ImageMagick missing";
        // The saved settings carry the first result's logo, so it comes back as the top layer.
        EXPECT_EQ(test::run_tool("identify -format '%l|' " + test::quoted(psd)), c.layers);
        const std::string pae =
            test::run_tool("convert " + test::quoted(psd + c.shown) + " -layers flatten png:- | " +
                           "compare -metric PAE - " + test::quoted(png) + " null: 2>&1");
        EXPECT_LE(std::stod(pae.substr(pae.find('(') + 1)), 2.0 / 255 + 1e-6) << pae;
    }
}

}  // namespace
}  // namespace velq
