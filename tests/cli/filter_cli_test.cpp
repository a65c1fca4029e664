#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

std::string write_test_picture(const std::string& dir, int w, int h) {
    const std::string path = dir + "/in.png";
    const UBUFFER pic = test::make_picture(w, h, [](int x, int y) {
        return 0xFF000000u | std::uint32_t((x * 7) & 255) << 16 | std::uint32_t((y * 5) & 255) << 8 | 0x40u;
    });
    EXPECT_EQ(write_picture(path, pic, 150), PictureError::None);
    return path;
}

TEST(FilterCli, WritesTheWorkingPictureAtTheSizeTheMemoryLimitGives) {
    const std::string dir = test::temp_dir("filter-ok");
    const std::string in = write_test_picture(dir, 60, 40);
    struct Case {
        std::vector<std::string> extra;
        int w, h;
    } cases[] = {
        {{}, 296, 196},  // INT 5: (60 - 1) * 5 + 1
        {{"--int", "1"}, 60, 40},
        {{"--int", "10", "--memory", "15M"}, 591, 391},
    };
    for (const Case& k : cases) {
        std::vector<std::string> args = {"filter", in, "-o", dir + "/out.png", "--quiet"};
        args.insert(args.end(), k.extra.begin(), k.extra.end());
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << r.err;
        EXPECT_TRUE(r.out.empty()) << "nothing but requested output goes to stdout";
        const PictureRead back = read_picture(dir + "/out.png");
        ASSERT_TRUE(back);
        EXPECT_EQ(back.picture.width(), k.w);
        EXPECT_EQ(back.picture.height(), k.h);
        EXPECT_EQ(back.dpi, 150) << "the resolution travels with the picture";
    }
}

TEST(FilterCli, BadInputSaysWhyExitsOneAndWritesNothing) {
    const std::string dir = test::temp_dir("filter-bad");
    const std::string good = write_test_picture(dir, 20, 20);
    std::ofstream(dir + "/empty.png").close();
    std::ofstream(dir + "/text.jpg") << "this is not a picture";
    {
        std::ifstream src(good, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(src)), {});
        std::ofstream(dir + "/cut.png", std::ios::binary) << bytes.substr(0, bytes.size() / 2);
    }
    std::ofstream(dir + "/clip.mp4") << "not really a video";
    const std::string cases[] = {dir + "/empty.png",   dir + "/text.jpg", dir + "/cut.png", dir,
                                 dir + "/missing.png", dir + "/clip.mp4"};
    for (const std::string& in : cases) {
        const std::string out = dir + "/out.png";
        const test::CliResult r = test::run_cli({"filter", in, "-o", out, "--quiet"});
        EXPECT_EQ(r.exit_code, 1) << in;
        EXPECT_NE(r.err.find("Velquinograph: "), std::string::npos) << in << ": " << r.err;
        EXPECT_FALSE(fs::exists(out)) << in;
    }
}

TEST(FilterCli, UsageErrorsExitTwo) {
    const std::string dir = test::temp_dir("filter-usage");
    const std::string in = write_test_picture(dir, 10, 10);
    const std::vector<std::string> cases[] = {
        {"filter", in},
        {"filter", in, "-o", dir + "/o.png", "--filter", "prism"},
        {"filter", in, "-o", dir + "/o.png", "--memory", "20M"},
        {"nosuchcommand"},
    };
    for (const auto& args : cases) EXPECT_EQ(test::run_cli(args).exit_code, 2) << args.back();
}

TEST(FilterCli, AFailedFilterLeavesAnExistingOutputAlone) {
    const std::string dir = test::temp_dir("filter-keep");
    const std::string in = write_test_picture(dir, 10, 10);
    const std::string out = dir + "/out.png";
    std::ofstream(out) << "previous result";
    const test::CliResult r = test::run_cli({"filter", in, "-o", out, "--filter", "k-mean", "--k", "1"});
    EXPECT_EQ(r.exit_code, 1);
    EXPECT_NE(r.err.find("Invalid K-Mean value. It must be larger than 1"), std::string::npos);
    std::ifstream keep(out);
    std::string text;
    std::getline(keep, text);
    EXPECT_EQ(text, "previous result");
}

}  // namespace
}  // namespace velq
