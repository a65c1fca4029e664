// The fuzzer's seed blocks double as golden files: a change to the layout breaks them. Any input the
// fuzzer ever found harmful is kept beside them and must decode without harm.
#include <gtest/gtest.h>

#include <filesystem>

#include "persistence/settings_block.h"
#include "support/blocks.h"
#include "support/files.h"

namespace velq {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

const fs::path kSeeds =
    (fs::path(VELQ_TEST_DATA) / ".." / ".." / "fuzz" / "corpus" / "settings_block").lexically_normal();

TEST(SettingsBlockCorpus, SeedBlocksStillReadAsWritten) {
    Bytes body, tail;
    ASSERT_EQ(encode_block_body(test::sample_block(), body), "");
    ASSERT_EQ(encode_file_block(test::sample_block(), tail), "");
    EXPECT_EQ(test::file_content(kSeeds / "sample_clipboard.bin"), body);

    SettingsBlock block;
    const Bytes file = test::file_content(kSeeds / "sample_file_tail.bin");
    ASSERT_EQ(decode_file_block(file, block), BlockStatus::Ok);
    EXPECT_EQ(block, test::sample_block());
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), file.rbegin()));

    ASSERT_EQ(decode_file_block(test::file_content(kSeeds / "default_file_block.bin"), block),
              BlockStatus::Ok);
    EXPECT_EQ(block.settings.source_path, "/tmp/picture.png");
    EXPECT_TRUE(block.layers[0].record.first_shape_only);
    // Blocks written before the background, brightness and logo were kept read as their defaults.
    EXPECT_EQ(
        std::tuple(block.settings.background, block.settings.global_brightness, block.settings.logo_kind),
        std::tuple(0u, 0, LogoKind::None));
}

TEST(SettingsBlockCorpus, EverySeedAndKeptInputDecodesWithoutHarm) {
    int seen = 0;
    for (const fs::path& dir : {kSeeds, fs::path(VELQ_TEST_DATA) / "settings_block_crashes"}) {
        if (!fs::is_directory(dir)) continue;
        for (const auto& e : fs::directory_iterator(dir)) {
            const Bytes in = test::file_content(e.path());
            SettingsBlock a, b;
            const auto file_status = decode_file_block(in, a);
            const auto body_status = decode_block_body(in, b);
            if (file_status == BlockStatus::Ok) {
                Bytes again;
                ASSERT_EQ(encode_block_body(a, again), "") << e.path();
                SettingsBlock c;
                ASSERT_EQ(decode_block_body(again, c), BlockStatus::Ok) << e.path();
                EXPECT_EQ(c, a) << e.path();
            }
            EXPECT_TRUE(file_status == BlockStatus::Ok || body_status == BlockStatus::Ok ||
                        dir.filename() == "settings_block_crashes")
                << e.path();
            ++seen;
        }
    }
    EXPECT_GE(seen, 3);
}

}  // namespace
}  // namespace velq
