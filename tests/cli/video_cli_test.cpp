#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/video_export.h"
#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/run_cli.h"
#include "support/video_read_back.h"

namespace velq {
namespace {

std::string small_picture(const std::string& dir) {
    const std::string path = dir + "/in.png";
    EXPECT_EQ(write_picture(path, test::noise_picture(48, 32, 6), 96), PictureError::None);
    return path;
}

// Every shape of both layers starts at once and moves half a second: the animation lasts 0.5 s, 16
// frames, whatever the number of circles. Sparkle draws from the seed, so seeds show in the bytes.
const std::vector<std::string> kHalfSecond = {
    "--layer", "0:duration=0,move=0.5",
    "--layer", "1:motion=sparkle,scan=left-to-right,start=0,duration=0,move=0.5",
    "--int",   "2",
    "--seed",  "4"};

TEST(VideoCli, WritesTheAnimationAsAVideoAGifOrOneFrame) {
    const std::string dir = test::temp_dir("cli-video");
    const std::string in = small_picture(dir);
    struct Case {
        std::vector<std::string> extra;
        const char* name;
        int w, h;
        std::size_t frames;
    } cases[] = {
        {{"video", "--size", "64x40", "--fit", "stretch"}, "a.mp4", 64, 40, 16},
        {{"video", "--size", "64x41"}, "b.webm", 62, 42, 16},  // no fit: the picture's aspect, even sides
        {{"video", "--size", "40x30", "--fit", "fit"}, "c.gif", 40, 30, 16},
        {{"frame", "--time", "0.25"}, "d.png", 95, 63, 0},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = {c.extra[0], in, "-o", dir + "/" + c.name};
        args.insert(args.end(), c.extra.begin() + 1, c.extra.end());
        args.insert(args.end(), kHalfSecond.begin(), kHalfSecond.end());
        const test::CliResult r = test::run_cli(args);
        ASSERT_EQ(r.exit_code, 0) << c.name << ": " << r.err;
        if (c.frames == 0) {
            const PictureRead frame = read_picture(dir + "/" + c.name);
            ASSERT_TRUE(frame);
            EXPECT_EQ(std::pair(frame.picture.width(), frame.picture.height()), std::pair(c.w, c.h));
            continue;
        }
        const test::ReadBack back = test::read_back(dir + "/" + c.name);
        EXPECT_EQ(back.pts.size(), c.frames) << c.name;
        EXPECT_EQ(std::pair(back.width, back.height), std::pair(c.w, c.h)) << c.name;
    }
}

// The whole set, written from one drawing of each frame placed into every size: every variant plays
// at its size, a plain picture is skipped, and a shard that runs only some variants, and a single job,
// write the same bytes as the whole set, WebM included, at every size.
TEST(VideoCli, SocialWritesEveryVariantAndSeparateRunsMatchTheWholeSet) {
    const std::string dir = test::temp_dir("cli-social");
    const std::string in = small_picture(dir);
    const std::string whole = dir + "/whole/art.png", parts = dir + "/parts/art.png";
    std::filesystem::create_directories(dir + "/whole");
    std::filesystem::create_directories(dir + "/parts");
    std::vector<std::string> render = {"render", in, "-o", whole};
    render.insert(render.end(), kHalfSecond.begin(), kHalfSecond.end());
    ASSERT_EQ(test::run_cli(render).exit_code, 0);
    std::filesystem::copy_file(whole, parts);
    const test::CliResult r = test::run_cli({"social", whole, in, "--seed", "3"});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_NE(r.err.find("Unable to find a metadata in " + in), std::string::npos);
    for (const SocialVariant& v : social_media_variants()) {
        const test::ReadBack back = test::read_back(dir + "/whole/SocialMedia/art" + v.suffix);
        EXPECT_EQ(back.pts.size(), 16u) << v.suffix;
        EXPECT_EQ(std::pair(back.width, back.height), std::pair(v.width, v.height)) << v.suffix;
    }
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"social", parts, "--seed", "3", "--shard", "1/3"},
          {"social", parts, "--seed", "3", "--job", "art_youtube.3gpp"}})
        ASSERT_EQ(test::run_cli(args).exit_code, 0) << args.back();
    for (const char* name : {"art_youtube.3gpp", "art_youtube.webm", "art_youtube.avi", "art_youtube.flv",
                             "art_facebook_portrait.mp4"}) {
        EXPECT_TRUE(test::file_content(dir + "/parts/SocialMedia/" + name) ==
                    test::file_content(dir + "/whole/SocialMedia/" + name))
            << name;
    }
}

}  // namespace
}  // namespace velq
