#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "persistence/settings_block.h"
#include "support/blocks.h"
#include "support/pictures.h"

namespace velq {
namespace {

struct ToolRun {
    int code = -1;
    std::string out;
};

// Runs the tool; stderr is folded into the captured text when `with_stderr`.
ToolRun run_tool(const std::string& args, bool with_stderr = false) {
    const std::string cmd =
        std::string(VELQ_CLI_PATH) + " " + args + (with_stderr ? " 2>&1" : " 2>/dev/null");
    ToolRun r;
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int status = pclose(p);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

void write_bytes(const std::string& path, const std::vector<std::uint8_t>& b) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}

TEST(CliInfo, PrintsTheBlockAsJsonAndAsText) {
    const std::string dir = test::temp_dir("cli_info");
    const std::string path = dir + "/result.png";
    std::vector<std::uint8_t> bytes = test::fake_picture(500), tail;
    const SettingsBlock block = test::sample_block();
    ASSERT_EQ(encode_file_block(block, tail), "");
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    write_bytes(path, bytes);

    const ToolRun json = run_tool("info --json '" + path + "'");
    ASSERT_EQ(json.code, 0) << json.out;
    const auto j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j["version"], 4);
    EXPECT_EQ(j["source"], block.settings.source_path);
    const struct {
        const char* key;
        int want;
    } ints[] = {{"int", 7}, {"blu", 3}, {"thr", 33}, {"width", 1234}, {"height", 987}, {"dpi", 300},
                {"dil", 2}, {"gap", 4}, {"k", 6},    {"filter", 8},   {"transform", 1}};
    for (auto c : ints) EXPECT_EQ(j[c.key], c.want) << c.key;
    EXPECT_EQ(j["max"].get<double>(), 0.03);
    EXPECT_EQ(j["min"].get<double>(), 0.001);
    ASSERT_EQ(j["layers"].size(), 9u);
    const auto& l2 = j["layers"][2];
    EXPECT_EQ(l2["index"], 2);
    EXPECT_EQ(l2["trans"], 215);
    EXPECT_EQ(l2["size"], 150);
    EXPECT_EQ(l2["bright"], 200);
    EXPECT_EQ(l2["palette"], 2);
    EXPECT_EQ(l2["shapes"], nlohmann::json({"/shapes/leaf.png", "/shapes/star.png"}));
    EXPECT_EQ(j["layers"][4]["shown"], false);
    EXPECT_EQ(j["layers"][1]["random"], true);
    EXPECT_EQ(j["layers"][5]["invert"], true);
    EXPECT_EQ(j["layers"][6]["convert"], true);
    EXPECT_EQ(j["layers"][4]["shuffle"], true);

    const ToolRun text = run_tool("info '" + path + "'");
    ASSERT_EQ(text.code, 0);
    EXPECT_NE(text.out.find("Ly4 - Hidden T(175)-S(200)-B(300)"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("/shapes/leaf.png, /shapes/star.png"), std::string::npos);
    EXPECT_NE(text.out.find("K-mean"), std::string::npos);
    std::filesystem::remove_all(dir);
}

TEST(CliInfo, FailsWithTheSystemsMessage) {
    const std::string dir = test::temp_dir("cli_info_fail");
    const std::string plain = dir + "/plain.png";
    write_bytes(plain, test::fake_picture(300));
    const struct {
        std::string args, message;
        int code;
    } cases[] = {
        {"info " + plain, "Velquinograph: No metadata found!\n", 1},
        {"info --json " + plain, "Velquinograph: No metadata found!\n", 1},
        {"info " + dir + "/none.png", "Velquinograph: Failed to open file - " + dir + "/none.png\n", 1},
        {"info", "", 2},
    };
    for (const auto& c : cases) {
        const ToolRun r = run_tool(c.args, true);
        EXPECT_EQ(r.code, c.code) << c.args;
        if (!c.message.empty()) {
            EXPECT_EQ(r.out, c.message) << c.args;
        }
    }
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace velq
