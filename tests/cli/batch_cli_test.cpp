// The batch subcommands from the outside: every --list line, read back by the shell, is a command for
// exactly its job; and a run split into shards under GNU parallel writes the same bytes as one run.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "app/batch_job.h"
#include "image/picture_writer.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/run_cli.h"
#include "support/tools.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> split(const std::string& text, char sep) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l, sep);) out.push_back(l);
    return out;
}

TEST(BatchCli, ListLinesReadBackIntoExactlyTheirJob) {
    const fs::path dir = test::temp_dir("cli-batch-list");
    const std::string odd = (dir / "it's a \"pic\" $HOME.png").string();
    ASSERT_EQ(write_picture(odd, test::noise_picture(8, 8, 1), 96), PictureError::None);
    fs::create_directories(dir / "tree" / "sub dir");
    fs::copy_file(odd, dir / "tree" / "sub dir" / "b'c.png");
    const std::string out = (dir / "out put").string(), tree = (dir / "tree").string();
    CyclingSelections chosen{};
    chosen[0] = chosen[1] = chosen[kCyclingScanAt + 2] = chosen[kCyclingFilterAt + 2] =
        chosen[kCyclingFilterAt + 4] = true;
    const struct {
        std::vector<std::string> args;
        std::vector<BatchJob> planned;
    } cases[] = {
        {{"cycle", odd, "-o", out, "--filters", "3,contrast-up", "--seed", "9", "--max", "0.05"},
         image_cycling_jobs(odd, chosen, out, 9)},
        {{"cycle-video", odd, "-o", out, "--motions", "basic,1", "--scans", "2"},
         animation_cycling_jobs(odd, chosen, out, "mp4", 0)},
        {{"render-dir", tree, "--recursive", "-o", out}, folder_jobs(std::vector{tree}, true, out, 0)},
        {{"social", odd, "--shard", "1/3"}, social_jobs(std::vector{odd}, (dir / "SocialMedia").string(), 0)},
    };
    for (const auto& c : cases) {
        std::vector<std::string> listing = c.args;
        listing.push_back("--list");
        const test::CliResult r = test::run_cli(listing);
        ASSERT_EQ(r.exit_code, 0) << r.err;
        const std::vector<std::string> lines = split(r.out, '\n');
        const bool sharded = c.args[0] == "social";
        ASSERT_EQ(lines.size(), sharded ? 7u : c.planned.size()) << c.args[0];
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const BatchJob& job = c.planned[sharded ? 3 * i + 1 : i];
            // The shell splits the line into words, which run the tool again with --list.
            const std::string program = VELQ_CLI_PATH;
            ASSERT_EQ(lines[i].rfind(program + " ", 0), 0u) << lines[i];
            std::vector<std::string> words =
                split(test::run_tool("printf '%s\\0' " + lines[i].substr(program.size() + 1)), '\0');
            ASSERT_GE(words.size(), 2u);
            EXPECT_EQ(words[words.size() - 2], "--job");
            EXPECT_EQ(words.back(), job.name);
            words.push_back("--list");
            const test::CliResult again = test::run_cli(words);
            EXPECT_EQ(again.out, lines[i] + "\n") << "one job, the same line";
        }
    }
}

// Cycling split into two shards that run at once under GNU parallel. (That a job alone makes the
// bytes it makes in the whole run is the job seeds' matter.)
TEST(BatchCli, ShardsUnderGnuParallelWriteTheBytesOfOneRun) {
    if (!test::have_tool("parallel")) GTEST_SKIP() << "GNU parallel is not installed";
    const fs::path dir = test::temp_dir("cli-batch-parallel");
    const std::string in = (dir / "in put.png").string();
    ASSERT_EQ(write_picture(in, test::noise_picture(48, 32, 6), 96), PictureError::None);
    ASSERT_EQ(test::run_cli({"cycle", in, "--filters", "1,3", "--int", "2", "--seed", "5", "-o",
                             (dir / "one").string()})
                  .exit_code,
              0);
    ASSERT_EQ(
        test::run_tool("cd " + test::quoted(dir.string()) + " && parallel -j2 -q --halt now,fail=1 " +
                       test::quoted(VELQ_CLI_PATH) + " cycle " + test::quoted(in) +
                       " --filters 1,3 --int 2 --seed 5 -o two --quiet --shard {}/2 ::: 0 1 && echo done"),
        "done");
    std::size_t compared = 0;
    for (const auto& e : fs::directory_iterator(dir / "one")) {
        if (e.path().extension() == ".log") continue;
        EXPECT_EQ(test::file_content(e.path()), test::file_content(dir / "two" / e.path().filename()))
            << e.path().filename();
        ++compared;
    }
    EXPECT_EQ(compared, 2u);
}

}  // namespace
}  // namespace velq
