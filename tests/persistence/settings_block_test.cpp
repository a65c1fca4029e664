#include "persistence/settings_block.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>

#include "persistence/settings_block_file.h"
#include "support/blocks.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A little-endian field written into the bytes.
template <class T>
void put(Bytes& b, std::size_t at, T v) {
    std::memcpy(b.data() + at, &v, sizeof v);
}

TEST(SettingsBlock, FileTailsAreSortedIntoNoneInvalidAndOtherVersion) {
    const SettingsBlock block = test::sample_block();
    const Bytes good = test::file_with_block(block, 300);
    const Bytes sig(reinterpret_cast<const std::uint8_t*>("Velquinograph"),
                    reinterpret_cast<const std::uint8_t*>("Velquinograph") + 14);
    const std::size_t body_at = 300, trailer_at = good.size() - 18;

    auto with_l = [&](std::uint32_t l) {
        Bytes b = good;
        put(b, trailer_at, l);
        return b;
    };
    Bytes short_l = with_l(5000), no_sig = with_l(0xFFFFFFFFu), junk = good, v3 = good, v5 = good,
          unsigned_record = good;
    unsigned_record[body_at] = 'v';
    short_l.erase(short_l.begin() + std::ptrdiff_t(body_at + 5000),
                  short_l.begin() + std::ptrdiff_t(trailer_at));
    no_sig.back() = 'x';
    junk.push_back(0);
    put(v3, body_at + 4112, 3);
    put(v5, body_at + 4112, 5);
    v5[body_at + kSettingsRecordSize + 4] = 0xFF;  // and broken layers
    struct Case {
        const char* what;
        Bytes file;
        BlockStatus want;
    };
    const Case cases[] = {
        {"13 bytes", Bytes(sig.begin() + 1, sig.end()), BlockStatus::None},
        {"only the signature", sig, BlockStatus::Invalid},
        {"plain picture", test::fake_picture(5000), BlockStatus::None},
        {"L one past the file", with_l(std::uint32_t(trailer_at + 1)), BlockStatus::Invalid},
        {"L huge", with_l(0xFFFFFFFFu), BlockStatus::Invalid},
        {"L past the file, no signature at the end", no_sig, BlockStatus::None},
        {"L reaching the whole file", with_l(std::uint32_t(trailer_at)), BlockStatus::None},
        {"L short of the record", short_l, BlockStatus::Invalid},
        {"junk after the trailer", junk, BlockStatus::None},
        {"record signature broken", unsigned_record, BlockStatus::None},
        {"version 3", v3, BlockStatus::OtherVersion},
        {"version 5 with broken layers", v5, BlockStatus::OtherVersion},
        {"block alone, no picture", Bytes(good.begin() + body_at, good.end()), BlockStatus::Ok},
    };
    for (const auto& c : cases) {
        SettingsBlock out;
        EXPECT_EQ(decode_file_block(c.file, out), c.want) << c.what;
        EXPECT_TRUE(c.want == BlockStatus::Ok || out.layers.empty()) << c.what;
    }
}

TEST(SettingsBlock, LengthsAndCountsAreCheckedAgainstTheBytesThere) {
    const SettingsBlock block = test::sample_block();
    Bytes good;
    ASSERT_EQ(encode_block_body(block, good), "");
    const std::size_t e2 = test::entry_offset(block, 2), e3 = test::entry_offset(block, 3);
    const std::size_t e8 = test::entry_offset(block, 8);
    const std::size_t n2_at = e2 + kLayerRecordSize;
    const std::size_t m2_at = n2_at + 8 + 2 * block.layers[2].passage.size();

    struct Case {
        const char* what;
        std::function<void(Bytes&)> spoil;
        BlockStatus want;
    };
    const Case cases[] = {
        {"cut by one byte", [](Bytes& b) { b.pop_back(); }, BlockStatus::Invalid},
        {"one byte too many", [](Bytes& b) { b.push_back(0); }, BlockStatus::Invalid},
        {"eight layers", [&](Bytes& b) { b.resize(e8); }, BlockStatus::Invalid},
        {"ten layers",
         [&](Bytes& b) {
             const Bytes last(b.begin() + e8, b.end());
             b.insert(b.end(), last.begin(), last.end());
         },
         BlockStatus::Invalid},
        {"count cut short", [&](Bytes& b) { b.resize(e8 + kLayerRecordSize + 3); }, BlockStatus::Invalid},
        {"N = 2^64 - 1", [&](Bytes& b) { put(b, n2_at, ~std::uint64_t(0)); }, BlockStatus::Invalid},
        {"N one more than the bytes left", [&](Bytes& b) { put(b, n2_at, (b.size() - n2_at - 8) / 2 + 1); },
         BlockStatus::Invalid},
        {"M negative", [&](Bytes& b) { put(b, m2_at, 0xFFFFFFFFu); }, BlockStatus::Invalid},
        {"M one short", [&](Bytes& b) { put(b, m2_at, 1); }, BlockStatus::Invalid},
        {"path without its zero", [&](Bytes& b) { std::memset(b.data() + m2_at + 4 + 4096, 'a', 4096); },
         BlockStatus::Invalid},
        // Its paths would start inside the passage count.
        {"passage layer claiming files", [&](Bytes& b) { std::memset(b.data() + e3, 0, 4); },
         BlockStatus::Invalid},
        {"layer field out of range", [&](Bytes& b) { put(b, e3 + 4, 999); }, BlockStatus::Invalid},
        {"passage text may hold anything", [&](Bytes& b) { b[n2_at + 8] = 0xFF; }, BlockStatus::Ok},
        {"no record", [](Bytes& b) { b.resize(13); }, BlockStatus::None},
        {"signature but no full record", [](Bytes& b) { b.resize(4000); }, BlockStatus::Invalid},
    };
    for (const auto& c : cases) {
        Bytes b = good;
        c.spoil(b);
        SettingsBlock out;
        EXPECT_EQ(decode_block_body(b, out), c.want) << c.what;
    }
}

TEST(SettingsBlock, EncodingRefusesWhatCannotBeStored) {
    const auto problem = [](const std::function<void(SettingsBlock&)>& change) {
        SettingsBlock b = test::sample_block();
        change(b);
        Bytes out{1, 2, 3};
        const std::string p = encode_file_block(b, out);
        EXPECT_TRUE(out.empty()) << p;
        return p;
    };
    EXPECT_THAT(problem([](SettingsBlock& b) { b.layers.pop_back(); }), testing::HasSubstr("9 layers"));
    EXPECT_THAT(problem([](SettingsBlock& b) { b.layers[2].shape_paths[1].assign(5000, 's'); }),
                testing::HasSubstr("too long"));
    // Paths of a layer whose shapes do not come from files are not part of the block.
    SettingsBlock b = test::sample_block();
    b.layers[3].shape_paths = {"/ignored.png"};
    Bytes with, without;
    ASSERT_EQ(encode_block_body(b, with), "");
    ASSERT_EQ(encode_block_body(test::sample_block(), without), "");
    EXPECT_EQ(with, without);
}

TEST(SettingsBlockFile, ReadsFromTheEndOfARealFileAndAppends) {
    const std::string dir = test::temp_dir("settings_block_file");
    const std::string path = dir + "/result.png";
    const Bytes picture = test::fake_picture(70000);
    test::put_file(path, picture);
    test::RecordingHost host;
    Bytes block;
    ASSERT_EQ(encode_file_block(test::sample_block(), block), "");
    ASSERT_EQ(append_settings_block(host, path, block), AppendResult::Written);
    SettingsBlock out;
    auto read = read_settings_block(path, out);
    EXPECT_TRUE(read.opened);
    ASSERT_EQ(read.status, BlockStatus::Ok);
    EXPECT_EQ(out, test::sample_block());
    EXPECT_EQ(std::filesystem::file_size(path), picture.size() + block.size());

    for (const std::string& bad : {dir + "/missing.png", dir, std::string()}) {
        read = read_settings_block(bad, out);
        EXPECT_FALSE(read.opened) << bad;
    }
    EXPECT_EQ(append_settings_block(host, dir + "/no/such/folder/x.png", block), AppendResult::NotOpened);
    EXPECT_EQ(host.debug_lines(), std::vector<std::string>{"Too many retrying..."});
}

}  // namespace
}  // namespace velq
