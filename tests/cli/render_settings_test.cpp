#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

nlohmann::json info_of(const std::string& path) {
    const test::CliResult r = test::run_cli({"info", path, "--json"});
    EXPECT_EQ(r.exit_code, 0) << r.err;
    return r.exit_code == 0 ? nlohmann::json::parse(r.out) : nlohmann::json{};
}

bool same_pixels(const std::string& a, const std::string& b) {
    const PictureRead x = read_picture(a), y = read_picture(b);
    return x && y && x.picture.same_shape(y.picture) &&
           std::equal(x.picture.data(), x.picture.data() + x.picture.size(), y.picture.data());
}

struct Files {
    std::string dir, source, other, first;
    Files() : dir(test::temp_dir("render-settings")) {
        source = dir + "/source.png";
        other = dir + "/other.png";
        first = dir + "/first.png";
        auto picture = [](std::uint32_t a, std::uint32_t b) {
            return test::make_picture(40, 30, [=](int x, int y) { return (x / 10 + y / 10) % 2 ? a : b; });
        };
        EXPECT_EQ(write_picture(source, picture(0xFFE04010u, 0xFF1030C0u), 150), PictureError::None);
        EXPECT_EQ(write_picture(other, picture(0xFF20C060u, 0xFFF0F0F0u), 72), PictureError::None);
        const test::CliResult r = test::run_cli(
            {"render", source, "-o", first, "--quiet", "--int", "2", "--blu", "0", "--thr", "14", "--max",
             "0.05", "--min", "0.0125", "--width", "160", "--layer", "1:palette=7,size=70,invert"});
        EXPECT_EQ(r.exit_code, 0) << r.err;
    }
    ~Files() { fs::remove_all(dir); }
};

TEST(RenderSettings, ReRenderingASavedResultGivesTheSamePicture) {
    Files f;
    const std::string again = f.dir + "/again.png";
    const test::CliResult r = test::run_cli({"render", "--settings", f.first, "-o", again, "--quiet"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(same_pixels(f.first, again));
    const auto a = info_of(f.first), b = info_of(again);
    EXPECT_EQ(a, b);
    EXPECT_EQ(b["width"], 160);
    EXPECT_EQ(b["dpi"], 150);
    EXPECT_EQ(b["source"], fs::absolute(f.source).lexically_normal().string());
}

TEST(RenderSettings, AnInputTakesTheSettingsAndTheLineOverridesThem) {
    Files f;
    const struct {
        const char* what;
        std::vector<std::string> args;
        int thr, width, dpi, palette;
        std::string source;
    } cases[] = {
        {"the block over another picture",
         {"render", f.other, "--settings", f.first},
         14,
         79,
         72,
         7,
         f.other},
        {"options over the block",
         {"render", "--settings", f.first, "--thr", "30", "--layer", "1:palette=2"},
         30,
         160,
         150,
         2,
         f.source},
        {"size and resolution on the line",
         {"render", "--settings", f.first, "--width", "120", "--dpi", "300"},
         14,
         120,
         300,
         7,
         f.source},
    };
    for (const auto& c : cases) {
        const std::string out = f.dir + "/out.png";
        std::vector<std::string> args = c.args;
        args.insert(args.end(), {"-o", out, "--quiet"});
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << c.what << ": " << r.err;
        const auto j = info_of(out);
        EXPECT_EQ(j["thr"], c.thr) << c.what;
        EXPECT_EQ(j["int"], 2) << c.what;
        EXPECT_EQ(j["max"], 0.05) << c.what;
        EXPECT_EQ(j["width"], c.width) << c.what;
        EXPECT_EQ(j["dpi"], c.dpi) << c.what;
        EXPECT_EQ(j["layers"][1]["palette"], c.palette) << c.what;
        EXPECT_EQ(j["layers"][1]["size"], 70) << c.what;
        EXPECT_EQ(j["layers"][1]["invert"], true) << c.what;
        EXPECT_EQ(j["source"], fs::absolute(c.source).lexically_normal().string()) << c.what;
    }
}

TEST(RenderSettings, RefusesWhatItCannotUse) {
    Files f;
    const std::string moved = f.dir + "/moved.png";
    fs::copy_file(f.first, moved);
    fs::remove(f.source);
    const std::string abs = fs::absolute(f.source).lexically_normal().string();
    const struct {
        const char* what;
        std::vector<std::string> args;
        int code;
        std::string err;
    } cases[] = {
        {"no block",
         {"render", "--settings", f.other, "-o", f.dir + "/x.png"},
         1,
         "Velquinograph: No metadata found!\n"},
        {"source gone",
         {"render", "--settings", moved, "-o", f.dir + "/x.png", "--quiet"},
         1,
         "Velquinograph: Invalid filename in read_image - (" + abs +
             ")\nVelquinograph: Failed to read image- " + abs + "\n"},
        {"neither input nor settings", {"render", "-o", f.dir + "/x.png"}, 2, ""},
    };
    for (const auto& c : cases) {
        const test::CliResult r = test::run_cli(c.args);
        EXPECT_EQ(r.exit_code, c.code) << c.what << ": " << r.err;
        if (!c.err.empty()) {
            EXPECT_EQ(r.err, c.err) << c.what;
        }
        EXPECT_FALSE(fs::exists(f.dir + "/x.png")) << c.what;
    }
}

}  // namespace
}  // namespace velq
