#include <gtest/gtest.h>

#include <sys/wait.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "image/picture_writer.h"
#include "support/pictures.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

struct ToolRun {
    int code = -1;
    std::string output;  // stdout and stderr together
};

ToolRun velquino(const std::string& args) {
    ToolRun r;
    const std::string cmd = std::string(VELQ_CLI_PATH) + " " + args + " 2>&1";
    FILE* pipe = ::popen(cmd.c_str(), "r");
    if (!pipe) return r;
    char buf[512];
    while (std::size_t n = std::fread(buf, 1, sizeof buf, pipe)) r.output.append(buf, n);
    const int status = ::pclose(pipe);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::string file_bytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class FilterCommand : public ::testing::Test {
protected:
    void SetUp() override {
        dir = test::temp_dir("filter_command");
        input = (fs::path(dir) / "in.png").string();
        ASSERT_EQ(write_picture(input, test::noise_picture(48, 32, 5), 96), PictureError::None);
    }
    // Runs the filter into `name` and returns the written bytes ("" when nothing was written).
    std::string filtered(const std::string& name, const std::string& options) {
        const fs::path out = fs::path(dir) / name;
        const ToolRun r = velquino("filter " + input + " -o " + out.string() + " --quiet " + options);
        EXPECT_EQ(r.code, 0) << options << "\n" << r.output;
        return fs::exists(out) ? file_bytes(out) : std::string();
    }
    std::string dir, input;
};

TEST_F(FilterCommand, SameSeedGivesTheSameResult) {
    const std::string plain = filtered("normal.png", "--filter normal");
    const char* random_filters[] = {"half-shuffle", "triple-shuffle", "matrix"};
    for (const char* f : random_filters) {
        const std::string filter = std::string("--filter ") + f;
        const std::string a = filtered(std::string(f) + "-a.png", filter + " --seed 7");
        const std::string b = filtered(std::string(f) + "-b.png", filter + " --seed 7");
        const std::string c = filtered(std::string(f) + "-c.png", filter + " --seed 8");
        ASSERT_FALSE(a.empty()) << f;
        EXPECT_EQ(a, b) << f;
        EXPECT_NE(a, c) << f;
        EXPECT_NE(a, plain) << f;
    }
    // K-mean repeats without a seed; the contrast filters have no randomness at all.
    for (const char* f : {"k-mean --k 3", "contrast-up", "inverse-contrast"}) {
        const std::string filter = std::string("--filter ") + f;
        const std::string a = filtered("once.png", filter);
        const std::string b = filtered("twice.png", filter);
        ASSERT_FALSE(a.empty()) << f;
        EXPECT_EQ(a, b) << f;
    }
}

TEST_F(FilterCommand, RefusalsLeaveNoOutput) {
    struct Case {
        std::string options;
        int code;
        std::string says;
    } cases[] = {
        {"--filter k-mean --k 1", 1, "Velquinograph: Invalid K-Mean value. It must be larger than 1"},
        {"--filter prism", 2, "prism"},
        {"--filter broken-glass", 2, "broken-glass"},
        {"--filter sepia", 2, "sepia"},
    };
    for (const Case& c : cases) {
        const fs::path out = fs::path(dir) / "refused.png";
        const ToolRun r = velquino("filter " + input + " -o " + out.string() + " --quiet " + c.options);
        EXPECT_EQ(r.code, c.code) << c.options << "\n" << r.output;
        EXPECT_NE(r.output.find(c.says), std::string::npos) << c.options << "\n" << r.output;
        EXPECT_FALSE(fs::exists(out)) << c.options;
    }
}

}  // namespace
}  // namespace velq
