#include <gtest/gtest.h>

#include <filesystem>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

std::string quarters(const std::string& dir) {
    const std::string path = dir + "/in.png";
    const UBUFFER pic = test::make_picture(40, 30, [](int x, int y) -> std::uint32_t {
        return x < 20 ? (y < 15 ? 0xFFE02010u : 0xFF2020E0u) : (y < 15 ? 0xFF20C020u : 0xFFFFFFFFu);
    });
    EXPECT_EQ(write_picture(path, pic, 96), PictureError::None);
    return path;
}

// What the tool paints: the background between circles, opaque pixels, the palette's colours on top.
TEST(RenderCli, PaintsPaletteShapesOverTheBackground) {
    const std::string dir = test::temp_dir("render-cli-pixels");
    const std::string in = quarters(dir), out = dir + "/out.bmp";
    const test::CliResult r = test::run_cli({"render", in, "-o", out, "--quiet", "--int", "2", "--max", "0.1",
                                             "--background", "102040", "--layer", "0:hidden", "--layer",
                                             "1:palette=Neon Cyber", "--logo-text", "V"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const PictureRead back = read_picture(out);
    ASSERT_TRUE(back);
    bool background = false, neon = false;
    for (int y = 0; y < back.picture.height(); ++y) {
        for (int x = 0; x < back.picture.width(); ++x) {
            const std::uint8_t* p = &back.picture.at(x, y);
            background = background || (p[0] == 0x40 && p[1] == 0x20 && p[2] == 0x10);
            neon = neon || (p[2] == 0 && p[1] > 100 && p[0] > 30);  // "Neon Cyber" has no red
        }
    }
    EXPECT_TRUE(background);
    EXPECT_TRUE(neon);
}

TEST(RenderCli, RefusalsExplainAndLeaveNoFile) {
    const std::string dir = test::temp_dir("render-cli-bad");
    const std::string in = quarters(dir), out = dir + "/out.png";
    struct Case {
        std::vector<std::string> args;
        int exit_code;
        const char* says;
    } cases[] = {
        {{"render", in, "-o", dir + "/out.gif"}, 2, ".png, .jpg, .jpeg or .bmp"},
        {{"render", in, "-o", out, "--shapes", "0=" + in}, 2, "I=PATH"},
        {{"render", in, "-o", out, "--shapes", "star"}, 2, "I=PATH"},
        {{"render", in, "-o", out, "--logo-text", "a", "--logo-image", in}, 2, "not both"},
        {{"render", in, "-o", out, "--shapes", "2=" + dir + "/none.png"}, 1, "Failed to read shape in"},
        {{"render", in, "-o", out, "--shapes", "2=" + in}, 1, "Too small shape image"},
        {{"render", in, "-o", out, "--logo-image", dir + "/none.png"},
         1,
         "Please select a valid image path!"},
    };
    for (const Case& k : cases) {
        const test::CliResult r = test::run_cli(k.args);
        EXPECT_EQ(r.exit_code, k.exit_code) << k.args.back() << "\n" << r.err;
        EXPECT_NE(r.err.find(k.says), std::string::npos) << r.err;
        EXPECT_FALSE(fs::exists(out)) << k.args.back();
        EXPECT_FALSE(fs::exists(dir + "/out.gif"));
    }
}

}  // namespace
}  // namespace velq
