#include "persistence/settings_block.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

#include "persistence/settings_block_file.h"
#include "support/blocks.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes file_with_block(const SettingsBlock& block, std::size_t picture_bytes = 300) {
    Bytes file = test::fake_picture(picture_bytes), tail;
    EXPECT_EQ(encode_file_block(block, tail), "");
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

void set_u32(Bytes& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}
void set_u64(Bytes& b, std::size_t at, std::uint64_t v) {
    for (int i = 0; i < 8; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}

TEST(SettingsBlock, EveryFieldRoundTripsThroughFileBlockAndClipboardBody) {
    const SettingsBlock block = test::sample_block();
    Bytes body;
    ASSERT_EQ(encode_block_body(block, body), "");
    EXPECT_EQ(body.size(), test::entry_offset(block, kBlockLayerCount));
    SettingsBlock back;
    ASSERT_EQ(decode_block_body(body, back), BlockStatus::Ok);
    EXPECT_EQ(back, block);

    const Bytes file = file_with_block(block);
    // Trailer: L then the signature with its zero.
    EXPECT_EQ(std::memcmp(file.data() + file.size() - 14, "Velquinograph", 14), 0);
    std::uint32_t length = 0;
    std::memcpy(&length, file.data() + file.size() - 18, 4);
    EXPECT_EQ(length, body.size());
    SettingsBlock from_file;
    ASSERT_EQ(decode_file_block(file, from_file), BlockStatus::Ok);
    EXPECT_EQ(from_file, block);

    // Paths of file-shape layers only: the passage layer and the disc layers carry none.
    EXPECT_EQ(from_file.layers[2].shape_paths.size(), 2u);
    EXPECT_TRUE(from_file.layers[6].shape_paths.empty());
    EXPECT_EQ(from_file.layers[3].passage, block.layers[3].passage);
}

TEST(SettingsBlock, EntryLayoutIsRecordCountPassageThenPaths) {
    const SettingsBlock block = test::sample_block();
    Bytes body;
    ASSERT_EQ(encode_block_body(block, body), "");
    const std::size_t at = test::entry_offset(block, 2);  // two file shapes, passage "Layer passage"
    const std::size_t n = block.layers[2].passage.size();
    std::uint64_t count = 0;
    std::memcpy(&count, body.data() + at + kLayerRecordSize, 8);
    EXPECT_EQ(count, n);
    EXPECT_EQ(body[at + kLayerRecordSize + 8], 'L');
    EXPECT_EQ(body[at + kLayerRecordSize + 9], 0);
    const std::size_t m_at = at + kLayerRecordSize + 8 + 2 * n;
    std::int32_t m = 0;
    std::memcpy(&m, body.data() + m_at, 4);
    EXPECT_EQ(m, 2);
    EXPECT_STREQ(reinterpret_cast<const char*>(body.data() + m_at + 4 + 4096), "/shapes/star.png");
    EXPECT_EQ(test::entry_offset(block, 3), m_at + 4 + 2 * 4096);
}

TEST(SettingsBlock, FileTailsAreSortedIntoNoneInvalidAndOtherVersion) {
    const SettingsBlock block = test::sample_block();
    const Bytes good = file_with_block(block);
    const Bytes sig(reinterpret_cast<const std::uint8_t*>("Velquinograph"),
                    reinterpret_cast<const std::uint8_t*>("Velquinograph") + 14);
    const std::size_t body_at = 300, trailer_at = good.size() - 18;

    struct Case {
        const char* what;
        std::function<Bytes()> make;
        BlockStatus want;
    };
    const Case cases[] = {
        {"empty file", [] { return Bytes{}; }, BlockStatus::None},
        {"13 bytes", [&] { return Bytes(sig.begin() + 1, sig.end()); }, BlockStatus::None},
        {"only the signature", [&] { return sig; }, BlockStatus::Invalid},
        {"17 bytes ending in the signature",
         [&] {
             Bytes b = sig;
             b.insert(b.begin(), 3, 7);
             return b;
         },
         BlockStatus::Invalid},
        {"17 bytes without it", [] { return test::fake_picture(17); }, BlockStatus::None},
        {"plain picture", [] { return test::fake_picture(5000); }, BlockStatus::None},
        {"L one past the file",
         [&] {
             Bytes b = good;
             set_u32(b, trailer_at, std::uint32_t(trailer_at + 1));
             return b;
         },
         BlockStatus::Invalid},
        {"L huge",
         [&] {
             Bytes b = good;
             set_u32(b, trailer_at, 0xFFFFFFFFu);
             return b;
         },
         BlockStatus::Invalid},
        {"L past the file, no signature at the end",
         [&] {
             Bytes b = good;
             set_u32(b, trailer_at, 0xFFFFFFFFu);
             b.back() = 'x';
             return b;
         },
         BlockStatus::None},
        {"L reaching the whole file",
         [&] {
             Bytes b = good;
             set_u32(b, trailer_at, std::uint32_t(trailer_at));
             return b;
         },
         BlockStatus::None},  // the picture's bytes are not a record
        {"L short of the record",
         [&] {
             Bytes b = good;
             set_u32(b, trailer_at, 5000);
             b.erase(b.begin() + body_at + 5000, b.begin() + trailer_at);
             return b;
         },
         BlockStatus::Invalid},
        {"junk after the trailer",
         [&] {
             Bytes b = good;
             b.push_back(0);
             return b;
         },
         BlockStatus::None},
        {"record signature broken",
         [&] {
             Bytes b = good;
             b[body_at] = 'v';
             return b;
         },
         BlockStatus::None},
        {"version 3",
         [&] {
             Bytes b = good;
             set_u32(b, body_at + 4112, 3);
             return b;
         },
         BlockStatus::OtherVersion},
        {"version 5 with broken layers",
         [&] {
             Bytes b = good;
             set_u32(b, body_at + 4112, 5);
             b[body_at + kSettingsRecordSize + 4] = 0xFF;
             return b;
         },
         BlockStatus::OtherVersion},
        {"block alone, no picture", [&] { return Bytes(good.begin() + body_at, good.end()); },
         BlockStatus::Ok},
    };
    for (const auto& c : cases) {
        const Bytes file = c.make();
        SettingsBlock out;
        EXPECT_EQ(decode_file_block(file, out), c.want) << c.what;
        if (c.want != BlockStatus::Ok) {
            EXPECT_TRUE(out.layers.empty()) << c.what;
        }
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
        {"record cut short", [&](Bytes& b) { b.resize(e8 + 100); }, BlockStatus::Invalid},
        {"count cut short", [&](Bytes& b) { b.resize(e8 + kLayerRecordSize + 3); }, BlockStatus::Invalid},
        {"N = 2^63", [&](Bytes& b) { set_u64(b, n2_at, std::uint64_t(1) << 63); }, BlockStatus::Invalid},
        {"N = 2^64 - 1", [&](Bytes& b) { set_u64(b, n2_at, ~std::uint64_t(0)); }, BlockStatus::Invalid},
        {"N one more than the bytes left",
         [&](Bytes& b) { set_u64(b, n2_at, (b.size() - n2_at - 8) / 2 + 1); }, BlockStatus::Invalid},
        {"M negative", [&](Bytes& b) { set_u32(b, m2_at, 0xFFFFFFFFu); }, BlockStatus::Invalid},
        {"M past the bytes left", [&](Bytes& b) { set_u32(b, m2_at, 1000000); }, BlockStatus::Invalid},
        {"M one short", [&](Bytes& b) { set_u32(b, m2_at, 1); }, BlockStatus::Invalid},
        {"path without its zero", [&](Bytes& b) { std::memset(b.data() + m2_at + 4 + 4096, 'a', 4096); },
         BlockStatus::Invalid},
        {"passage layer claiming files",
         [&](Bytes& b) {
             std::memset(b.data() + e3, 0, 4);
         },  // its paths would start inside the passage count
         BlockStatus::Invalid},
        {"layer field out of range", [&](Bytes& b) { set_u32(b, e3 + 4, 999); }, BlockStatus::Invalid},
        {"settings field out of range", [&](Bytes& b) { set_u32(b, 4152, 42); }, BlockStatus::Invalid},
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
    struct Case {
        const char* what;
        std::function<void(SettingsBlock&)> change;
        const char* message_part;
    };
    const Case cases[] = {
        {"eight layers", [](SettingsBlock& b) { b.layers.pop_back(); }, "9 layers"},
        {"long source path", [](SettingsBlock& b) { b.settings.source_path.assign(4096, 's'); }, "too long"},
        {"long shape path", [](SettingsBlock& b) { b.layers[2].shape_paths[1].assign(5000, 's'); },
         "too long"},
        {"long face", [](SettingsBlock& b) { b.layers[8].record.font.face.assign(300, 'f'); }, "font name"},
    };
    for (const auto& c : cases) {
        SettingsBlock b = test::sample_block();
        c.change(b);
        Bytes out{1, 2, 3};
        const auto problem = encode_file_block(b, out);
        EXPECT_NE(problem.find(c.message_part), std::string::npos) << c.what << ": " << problem;
        EXPECT_TRUE(out.empty()) << c.what;
    }
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
    {
        std::ofstream f(path, std::ios::binary);
        f.write(reinterpret_cast<const char*>(picture.data()), std::streamsize(picture.size()));
    }
    SettingsBlock out;
    auto read = read_settings_block(path, out);
    EXPECT_TRUE(read.opened);
    EXPECT_EQ(read.status, BlockStatus::None);

    test::RecordingHost host;
    Bytes block;
    ASSERT_EQ(encode_file_block(test::sample_block(), block), "");
    ASSERT_EQ(append_settings_block(host, path, block), AppendResult::Written);
    read = read_settings_block(path, out);
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
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace velq
