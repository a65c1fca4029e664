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

// A file's tail is a picture, the block's body, the body's length L and the signature; a body alone is
// read from the clipboard. Each is sorted by what is wrong with it, lengths and counts checked against
// the bytes there.
TEST(SettingsBlock, FileTailsAndBodiesAreSortedByWhatIsWrong) {
    const SettingsBlock block = test::sample_block();
    Bytes body;
    ASSERT_EQ(encode_block_body(block, body), "");
    const Bytes file = test::file_with_block(block, 300), sig(file.end() - 14, file.end());
    const std::size_t body_at = 300, trailer_at = file.size() - 18;
    const std::size_t e2 = test::entry_offset(block, 2), e3 = test::entry_offset(block, 3);
    const std::size_t e8 = test::entry_offset(block, 8);
    const std::size_t n2_at = e2 + kLayerRecordSize;
    const std::size_t m2_at = n2_at + 8 + 2 * block.layers[2].passage.size();
    auto with_l = [&](std::uint32_t l) { return [=](Bytes& b) { put(b, trailer_at, l); }; };

    struct Case {
        const char* what;
        bool in_file;
        std::function<void(Bytes&)> spoil;
        BlockStatus want;
    };
    const Case cases[] = {
        {"13 bytes", true, [&](Bytes& b) { b.assign(sig.begin() + 1, sig.end()); }, BlockStatus::None},
        {"only the signature", true, [&](Bytes& b) { b = sig; }, BlockStatus::Invalid},
        {"plain picture", true, [](Bytes& b) { b = test::fake_picture(5000); }, BlockStatus::None},
        {"L one past the file", true, with_l(std::uint32_t(trailer_at + 1)), BlockStatus::Invalid},
        {"L huge", true, with_l(0xFFFFFFFFu), BlockStatus::Invalid},
        {"L past the file, no signature at the end", true,
         [&](Bytes& b) {
             with_l(0xFFFFFFFFu)(b);
             b.back() = 'x';
         },
         BlockStatus::None},
        {"L reaching the whole file", true, with_l(std::uint32_t(trailer_at)), BlockStatus::None},
        {"L short of the record", true,
         [&](Bytes& b) {
             with_l(5000)(b);
             b.erase(b.begin() + std::ptrdiff_t(body_at + 5000), b.begin() + std::ptrdiff_t(trailer_at));
         },
         BlockStatus::Invalid},
        {"junk after the trailer", true, [](Bytes& b) { b.push_back(0); }, BlockStatus::None},
        {"record signature broken", true, [&](Bytes& b) { b[body_at] = 'v'; }, BlockStatus::None},
        {"version 3", true, [&](Bytes& b) { put(b, body_at + 4112, 3); }, BlockStatus::OtherVersion},
        {"version 5 with broken layers", true,
         [&](Bytes& b) {
             put(b, body_at + 4112, 5);
             b[body_at + kSettingsRecordSize + 4] = 0xFF;
         },
         BlockStatus::OtherVersion},
        {"block alone, no picture", true, [&](Bytes& b) { b.erase(b.begin(), b.begin() + body_at); },
         BlockStatus::Ok},
        {"body cut by one byte", false, [](Bytes& b) { b.pop_back(); }, BlockStatus::Invalid},
        {"body one byte too long", false, [](Bytes& b) { b.push_back(0); }, BlockStatus::Invalid},
        {"eight layers", false, [&](Bytes& b) { b.resize(e8); }, BlockStatus::Invalid},
        {"ten layers", false,
         [&](Bytes& b) {
             const Bytes last(b.begin() + e8, b.end());
             b.insert(b.end(), last.begin(), last.end());
         },
         BlockStatus::Invalid},
        {"count cut short", false, [&](Bytes& b) { b.resize(e8 + kLayerRecordSize + 3); },
         BlockStatus::Invalid},
        {"N = 2^64 - 1", false, [&](Bytes& b) { put(b, n2_at, ~std::uint64_t(0)); }, BlockStatus::Invalid},
        {"N one more than the bytes left", false,
         [&](Bytes& b) { put(b, n2_at, (b.size() - n2_at - 8) / 2 + 1); }, BlockStatus::Invalid},
        {"M negative", false, [&](Bytes& b) { put(b, m2_at, 0xFFFFFFFFu); }, BlockStatus::Invalid},
        {"M one short", false, [&](Bytes& b) { put(b, m2_at, 1); }, BlockStatus::Invalid},
        {"path without its zero", false,
         [&](Bytes& b) { std::memset(b.data() + m2_at + 4 + 4096, 'a', 4096); }, BlockStatus::Invalid},
        // Its paths would start inside the passage count.
        {"passage layer claiming files", false, [&](Bytes& b) { std::memset(b.data() + e3, 0, 4); },
         BlockStatus::Invalid},
        {"layer field out of range", false, [&](Bytes& b) { put(b, e3 + 4, 999); }, BlockStatus::Invalid},
        {"passage text may hold anything", false, [&](Bytes& b) { b[n2_at + 8] = 0xFF; }, BlockStatus::Ok},
        {"no record", false, [](Bytes& b) { b.resize(13); }, BlockStatus::None},
        {"signature but no full record", false, [](Bytes& b) { b.resize(4000); }, BlockStatus::Invalid},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes b = c.in_file ? file : body;
        c.spoil(b);
        SettingsBlock out;
        EXPECT_EQ(c.in_file ? decode_file_block(b, out) : decode_block_body(b, out), c.want);
        EXPECT_TRUE(c.want == BlockStatus::Ok || out.layers.empty()) << "filled on failure";
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
