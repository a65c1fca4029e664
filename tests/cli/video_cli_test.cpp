#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"
#include "support/video_read_back.h"

namespace velq {
namespace {

std::string small_picture(const std::string& dir) {
    const std::string path = dir + "/in.png";
    const UBUFFER pic = test::make_picture(48, 32, [](int x, int y) {
        return 0xFF000000u | std::uint32_t((x * 5) & 255) << 16 | std::uint32_t((y * 7) & 255) << 8 | 0x60u;
    });
    EXPECT_EQ(write_picture(path, pic, 96), PictureError::None);
    return path;
}

// Every shape of both layers starts at once and moves half a second: the animation lasts 0.5 s, 16
// frames, whatever the number of circles.
const std::vector<std::string> kHalfSecond = {
    "--layer", "0:duration=0,move=0.5",
    "--layer", "1:motion=wave,scan=left-to-right,start=0,duration=0,move=0.5",
    "--int",   "2",
    "--seed",  "4",
    "--quiet"};

TEST(VideoCli, WritesTheAnimationAsAVideoOrAGif) {
    const std::string dir = test::temp_dir("cli-video");
    const std::string in = small_picture(dir);
    struct Case {
        std::vector<std::string> extra;
        const char* name;
        int w, h;
    } cases[] = {
        {{"--size", "64x40", "--fit", "stretch"}, "a.mp4", 64, 40},
        {{"--size", "64x41"}, "b.webm", 0, 42},  // none: the picture's aspect at the (even) height
        {{"--size", "40x30", "--fit", "fit"}, "c.gif", 40, 30},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = {"video", in, "-o", dir + "/" + c.name};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        args.insert(args.end(), kHalfSecond.begin(), kHalfSecond.end());
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << c.name << ": " << r.err;
        const test::ReadBack back = test::read_back(dir + "/" + c.name);
        EXPECT_EQ(back.pts.size(), 16u) << c.name;
        if (c.w) EXPECT_EQ(back.width, c.w) << c.name;
        EXPECT_EQ(back.height, c.h) << c.name;
    }
}

TEST(VideoCli, FrameAtATimeAndRefusals) {
    const std::string dir = test::temp_dir("cli-frame");
    const std::string in = small_picture(dir);
    std::vector<std::string> args = {"frame", in, "-o", dir + "/f.png", "--time", "0.25"};
    args.insert(args.end(), kHalfSecond.begin(), kHalfSecond.end());
    test::CliResult r = test::run_cli(args);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(read_picture(dir + "/f.png"));

    args[5] = "0.75";  // past the end
    r = test::run_cli(args);
    EXPECT_EQ(r.exit_code, 1);
    EXPECT_NE(r.err.find("Invalid timestamp (must be between 0.0 and 0.500000"), std::string::npos) << r.err;

    struct Bad {
        std::vector<std::string> args;
    } bad[] = {
        {{"video", in, "-o", dir + "/x.mp4", "--fit", "cover"}},
        {{"video", in, "-o", dir + "/x.mp4", "--size", "64"}},
        {{"video", in, "-o", dir + "/x.mp4", "--layer", "1:motion=spin"}},
        {{"video", in, "-o", dir + "/x.mp4", "--layer", "1:start=-1"}},
        {{"social", in, "--fit", "none"}},
    };
    for (const Bad& b : bad) EXPECT_EQ(test::run_cli(b.args).exit_code, 2) << b.args.back();
    EXPECT_FALSE(std::filesystem::exists(dir + "/x.mp4"));
}

// A saved result whose animation lasts 0 s gives one frame per video: the whole set stays quick.
TEST(VideoCli, SocialWritesEveryVariantOfASavedResult) {
    const std::string dir = test::temp_dir("cli-social");
    const std::string in = small_picture(dir);
    const std::string result = dir + "/art.png";
    test::CliResult r = test::run_cli({"render", in, "-o", result, "--int", "2", "--quiet", "--layer",
                                       "0:duration=0,move=0", "--layer", "1:duration=0,move=0"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    r = test::run_cli({"social", result, in, "--quiet"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    // The plain picture carries no settings: said, and skipped.
    EXPECT_NE(r.err.find("Unable to find a metadata in " + in), std::string::npos) << r.err;
    const struct {
        const char* suffix;
        int w, h;
    } variants[] = {{"_youtube.3gpp", 1920, 1080},
                    {"_youtube.webm", 1920, 1080},
                    {"_youtube.mp4", 1920, 1080},
                    {"_youtube.mov", 1920, 1080},
                    {"_youtube.avi", 1920, 1080},
                    {"_youtube.mpeg", 1920, 1080},
                    {"_youtube.wmv", 1920, 1080},
                    {"_youtube.flv", 1920, 1080},
                    {"_facebook_instagram_twitter_square.mp4", 1080, 1080},
                    {"_facebook_instagram_twitter_square.mov", 1080, 1080},
                    {"_facebook_portrait.mp4", 720, 900},
                    {"_facebook_portrait.mov", 720, 900},
                    {"_facebook_twitter_portrait.mp4", 720, 1280},
                    {"_facebook_twitter_portrait.mov", 720, 1280},
                    {"_facebook_twitter_landscape.mp4", 1280, 720},
                    {"_facebook_twitter_landscape.mov", 1280, 720},
                    {"_tiktok_instagram_wechat_portrait.mp4", 1080, 1920},
                    {"_tiktok_instagram_portrait.mov", 1080, 1920},
                    {"_instagram_feed.mp4", 1080, 1350},
                    {"_instagram_feed.mov", 1080, 1350},
                    {"_telegram.mp4", 640, 360}};
    std::size_t files = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir + "/SocialMedia"))
        files += e.is_regular_file();
    EXPECT_EQ(files, std::size(variants));
    for (const auto& v : variants) {
        const test::ReadBack back = test::read_back(dir + "/SocialMedia/art" + v.suffix);
        EXPECT_EQ(back.pts.size(), 1u) << v.suffix;
        EXPECT_EQ(back.width, v.w) << v.suffix;
        EXPECT_EQ(back.height, v.h) << v.suffix;
    }
    // Again into the same folder, which is reused without a word; a source that is no picture is
    // skipped, and with nothing readable the run says so.
    const std::string text = dir + "/notes.png";
    std::FILE* f = std::fopen(text.c_str(), "w");
    std::fputs("not a picture", f);
    std::fclose(f);
    r = test::run_cli({"social", text, "--quiet", "--fit", "stretch"});
    EXPECT_EQ(r.exit_code, 1);
    EXPECT_EQ(r.err.find("Failed to create"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Failed to read source"), std::string::npos) << r.err;
}

}  // namespace
}  // namespace velq
