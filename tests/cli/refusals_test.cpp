#include <gtest/gtest.h>

#include <filesystem>

#include "image/picture_writer.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

// Every refusal, whichever subcommand meets it: exit 1 with the system's message for a refused
// operation, exit 2 for a usage error, and no output file, while a file already under that name
// keeps its content.
TEST(CliRefusals, ExitWithTheReasonAndLeaveNoFile) {
    const std::string dir = test::temp_dir("cli-refusals");
    const std::string in = dir + "/in.png";
    ASSERT_EQ(write_picture(in, test::noise_picture(40, 30, 3), 96), PictureError::None);
    const std::string png = dir + "/out.png", json = dir + "/out.json", mp4 = dir + "/out.mp4",
                      social = dir + "/SocialMedia";
    const std::string minmax = "Velquinograph: Invalid MAX, MIN value in fill_circle_algo1()\n";
    const std::string k_mean = "Velquinograph: Invalid K-Mean value. It must be larger than 1\n";
    const struct {
        std::vector<std::string> args;
        std::string output;  // must not appear, or keep its content when `existing`
        int code;
        std::string says;
        bool existing = false;
    } cases[] = {
        {{"filter", in, "-o", png, "--filter", "k-mean", "--k", "1"}, png, 1, k_mean, true},
        {{"filter", dir + "/none.png", "-o", png}, png, 1, "Velquinograph: "},
        {{"circles", in, "-o", json, "--min", "0.03", "--max", "0.02"}, json, 1, minmax},
        {{"render", in, "-o", png, "--min", "0.03", "--max", "0.02"}, png, 1, minmax},
        {{"render", in, "-o", png, "--shapes", "2=" + in}, png, 1, "Velquinograph: Too small shape image"},
        {{"render", in, "-o", png, "--logo-image", dir + "/none.png"}, png, 1, "valid image path!"},
        {{"render", "--settings", in, "-o", png}, png, 1, "Velquinograph: No metadata found!\n"},
        {{"render", in, "-o", png, "--passage", "1=ab", "--passage-font", "1=No Such Face"},
         png,
         1,
         "Velquinograph: Failed to load the font No Such Face\n"},
        {{"frame", in, "-o", png, "--time", "99"}, png, 1, "Velquinograph: Invalid timestamp"},
        {{"video", in, "-o", mp4, "--filter", "k-mean", "--k", "1"}, mp4, 1, k_mean},
        {{"social", in}, social, 1, "Velquinograph: Unable to find a metadata in " + in + "\n"},
        {{"info", in}, "", 1, "Velquinograph: No metadata found!\n"},
        {{"filter", in, "-o", png, "--filter", "broken-glass", "--impact", "0.5,1.5"}, png, 2, "--impact"},
        {{"filter", in, "-o", png, "--memory", "20M"}, png, 2, "--memory"},
        {{"circles", in, "-o", dir + "/out.png"}, png, 2, ".json or .svg"},
        {{"circles", in, "-o", json, "--transform", "wavy"}, json, 2, "--transform"},
        {{"circles", in, "-o", json, "--alphabet-layout", "spiral"}, json, 2, "--alphabet-layout"},
        {{"circles", in, "-o", json, "--alphabet-font", "DejaVu Sans:heavy"}, json, 2, "--alphabet-font"},
        {{"render", in, "-o", dir + "/out.gif"}, dir + "/out.gif", 2, ".png, .jpg, .jpeg, .bmp or .psd"},
        {{"render", "-o", png}, png, 2, "INPUT is required"},
        {{"render", in, "-o", png, "--shapes", "0=" + in}, png, 2, "I=PATH"},
        {{"render", in, "-o", png, "--logo-text", "a", "--logo-image", in}, png, 2, "not both"},
        {{"render", in, "-o", png, "--passage-style", "1=glow"}, png, 2, "glow"},
        {{"render", in, "-o", png, "--draw", "voronoi"}, png, 2, "--draw"},
        {{"render", in, "-o", png, "--burst", "3"}, png, 2, "need --draw"},
        {{"render", in, "-o", png, "--draw", "spikes-burst", "--burst", "0"},
         png,
         2,
         "burst count must be 1 to 64"},
        {{"render", in, "-o", png, "--draw", "cells", "--lead-colour", "red"}, png, 2, "--lead-colour"},
        {{"render", in, "-o", png, "--draw", "cells", "--draw-layer", "9"}, png, 2, "layer must be 0 to 8"},
        {{"video", in, "-o", mp4, "--fit", "cover"}, mp4, 2, "--fit"},
        {{"video", in, "-o", mp4, "--size", "64"}, mp4, 2, "--size"},
        {{"video", in, "-o", mp4, "--layer", "1:motion=spin"}, mp4, 2, "spin"},
        {{"video", in, "-o", mp4, "--layer", "1:start=-1"}, mp4, 2, "start"},
        {{"social", in, "--fit", "none"}, social, 2, "--fit"},
        {{"info"}, "", 2, "FILE"},
        {{"cycle", in, "-o", dir + "/c", "--filters", "glow"}, dir + "/c", 2, "--filters"},
        {{"render-dir", dir, "-o", dir + "/c", "--shard", "2/2"}, dir + "/c", 2, "--shard"},
        {{"cycle-video", in, "-o", dir + "/c", "--job", "x.mp4"}, dir + "/c", 2, "no job is named"},
    };
    for (const auto& c : cases) {
        const std::string what = c.args[0] + " " + c.args.back();
        if (c.existing) test::put_text(c.output, "earlier result");
        const test::CliResult r = test::run_cli(c.args);
        EXPECT_EQ(r.exit_code, c.code) << what << "\n" << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << what << "\n" << r.err;
        if (c.output.empty()) continue;
        if (c.existing) {
            EXPECT_EQ(test::file_text(c.output), "earlier result") << what;
            fs::remove(c.output);
        }
        EXPECT_FALSE(fs::exists(c.output)) << what;
    }
    EXPECT_EQ(test::file_names(dir), std::vector<std::string>{"in.png"}) << "no temporary left";
}

}  // namespace
}  // namespace velq
