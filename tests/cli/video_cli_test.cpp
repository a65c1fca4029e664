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
const std::vector<std::string> kHalfSecond = {"--layer", "0:duration=0,move=0.5", "--layer",
                                              "1:motion=wave,scan=left-to-right,start=0,duration=0,move=0.5",
                                              "--int", "2", "--seed", "4", "--quiet"};

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

}  // namespace
}  // namespace velq
