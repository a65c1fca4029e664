// The tool takes a 3D model where it takes a picture.
#include <gtest/gtest.h>

#include <filesystem>

#include "image/picture_reader.h"
#include "support/files.h"
#include "support/gltf_strip.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

TEST(MotionPackCli, RendersAModelFromTheCameraAsked) {
    const std::string dir = test::temp_dir("cli-motion-pack");
    const std::string model = dir + "/strip.gltf", broken = dir + "/broken.glb";
    test::write_strip_gltf(model);
    test::put_text(broken, test::strip_gltf().substr(0, 300));
    struct Case {
        std::vector<std::string> args;
        int exit_code;
        std::string said;  // part of stderr
    };
    const Case cases[] = {
        {{"render", model, "-o", dir + "/front.png", "--seed", "3"}, 0, ""},
        {{"render", model, "-o", dir + "/side.png", "--seed", "3", "--camera", "60,20,4"}, 0, ""},
        {{"render", model, "-o", dir + "/bad.png", "--camera", "1,2"},
         2,
         "--camera needs YAW,PITCH,DISTANCE"},
        {{"render", broken, "-o", dir + "/broken.png"}, 1, "Failed to load motion pack- " + broken},
    };
    for (const Case& c : cases) {
        const test::CliResult r = test::run_cli(c.args);
        EXPECT_EQ(r.exit_code, c.exit_code) << c.args[3] << ": " << r.err;
        EXPECT_NE(r.err.find(c.said), std::string::npos) << r.err;
        EXPECT_EQ(std::filesystem::exists(c.args[3]), c.exit_code == 0) << c.args[3];
    }
    const PictureRead front = read_picture(dir + "/front.png"), side = read_picture(dir + "/side.png");
    ASSERT_TRUE(front && side);
    EXPECT_FALSE(test::same_bytes(front.picture, side.picture));
}

}  // namespace
}  // namespace velq
