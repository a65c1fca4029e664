#include "persistence/settings_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/blocks.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Record = std::array<std::uint8_t, kSettingsRecordSize>;

Bytes le32(std::uint32_t v) {
    return {std::uint8_t(v), std::uint8_t(v >> 8), std::uint8_t(v >> 16), std::uint8_t(v >> 24)};
}

TEST(SettingsRecord, EveryFieldLandsOnItsOffsetAndEverythingElseIsZero) {
    const SettingsRecord rec = test::sample_block().settings;
    Record out;
    out.fill(0xCC);
    ASSERT_EQ(encode_settings_record(rec, out), "");

    // The expected record, built byte by byte from the layout.
    Record want{};
    struct Field {
        std::size_t at;
        Bytes bytes;
    };
    const Bytes sig(reinterpret_cast<const std::uint8_t*>("Velquinograph"),
                    reinterpret_cast<const std::uint8_t*>("Velquinograph") + 13);
    const Bytes path(rec.source_path.begin(), rec.source_path.end());
    Bytes cycling;
    for (int i = 0; i < kCyclingCount; ++i) cycling.push_back(i % 3 == 0);
    const Field fields[] = {
        {0, sig},
        {14, path},
        {4112, {4, 0, 0, 0}},
        {4116, {7, 0, 0, 0}},
        {4120, {3, 0, 0, 0}},
        {4124, {33, 0, 0, 0}},
        {4128, {0xD2, 0x04, 0, 0}},  // 1234
        {4132, {0xDB, 0x03, 0, 0}},  // 987
        {4136, {0x2C, 0x01, 0, 0}},  // 300
        {4140, {2, 0, 0, 0}},
        {4144, {4, 0, 0, 0}},
        {4148, {6, 0, 0, 0}},
        {4152, {8, 0, 0, 0}},
        {4156, {1, 0, 0, 0}},
        {4164, le32(0x3CF5C28F)},  // 0.03f
        {4168, le32(0x3A83126F)},  // 0.001f
        {4172, {1}},
        {4173, cycling},
        {4194, {0}},
    };
    for (const auto& f : fields) std::copy(f.bytes.begin(), f.bytes.end(), want.begin() + f.at);
    for (std::size_t i = 0; i < kSettingsRecordSize; ++i) ASSERT_EQ(out[i], want[i]) << "byte " << i;
}

TEST(SettingsRecord, RoundTripsAndRefusesWhatCannotBeStored) {
    SettingsRecord rec = test::sample_block().settings;
    rec.motion_pack = true;
    Record out;
    ASSERT_EQ(encode_settings_record(rec, out), "");
    EXPECT_EQ(out[4194], 1);
    SettingsRecord back;
    ASSERT_EQ(decode_settings_record(out, back), RecordStatus::Ok);
    EXPECT_EQ(back, rec);

    struct Case {
        std::size_t path_size;
        bool stored;
    };
    for (const Case c : {Case{4095, true}, Case{4096, false}, Case{10000, false}}) {
        rec.source_path.assign(c.path_size, 'p');
        const auto problem = encode_settings_record(rec, out);
        EXPECT_EQ(problem.empty(), c.stored) << c.path_size;
        if (!c.stored) {
            EXPECT_NE(problem.find("too long"), std::string::npos) << problem;
        }
        if (c.stored) {
            ASSERT_EQ(decode_settings_record(out, back), RecordStatus::Ok);
            EXPECT_EQ(back.source_path.size(), c.path_size);
        }
    }
    rec.source_path = std::string("a\0b", 3);
    EXPECT_NE(encode_settings_record(rec, out), "");
}

TEST(SettingsRecord, DecodingSortsRecordsByWhatIsWrong) {
    Record good;
    ASSERT_EQ(encode_settings_record(test::sample_block().settings, good), "");
    auto i32 = [](Record& r, std::size_t at, std::uint32_t v) {
        const Bytes b = le32(v);
        std::copy(b.begin(), b.end(), r.begin() + at);
    };
    struct Case {
        const char* what;
        std::function<void(Record&)> spoil;
        RecordStatus want;
    };
    const Case cases[] = {
        {"signature", [](Record& r) { r[3] = 'Q'; }, RecordStatus::NoSignature},
        {"signature zero", [](Record& r) { r[13] = '!'; }, RecordStatus::NoSignature},
        {"version 3", [&](Record& r) { i32(r, 4112, 3); }, RecordStatus::OtherVersion},
        {"version 5", [&](Record& r) { i32(r, 4112, 5); }, RecordStatus::OtherVersion},
        {"unterminated path", [](Record& r) { std::memset(r.data() + 14, 'x', 4096); },
         RecordStatus::Invalid},
        {"INT 0", [&](Record& r) { i32(r, 4116, 0); }, RecordStatus::Invalid},
        {"INT 51", [&](Record& r) { i32(r, 4116, 51); }, RecordStatus::Invalid},
        {"BLU 11", [&](Record& r) { i32(r, 4120, 11); }, RecordStatus::Invalid},
        {"negative THR", [&](Record& r) { i32(r, 4124, 0xFFFFFFFF); }, RecordStatus::Invalid},
        {"huge width", [&](Record& r) { i32(r, 4128, 65536); }, RecordStatus::Invalid},
        {"negative height", [&](Record& r) { i32(r, 4132, 0x80000000); }, RecordStatus::Invalid},
        {"filter 9", [&](Record& r) { i32(r, 4152, 9); }, RecordStatus::Invalid},
        {"transform 3", [&](Record& r) { i32(r, 4156, 3); }, RecordStatus::Invalid},
        {"Max NaN", [&](Record& r) { i32(r, 4164, 0x7FC00000); }, RecordStatus::Invalid},
        {"Min negative", [&](Record& r) { i32(r, 4168, 0xBF800000); }, RecordStatus::Invalid},
        {"cycling 2", [](Record& r) { r[4180] = 2; }, RecordStatus::Invalid},
        {"motion pack 7", [](Record& r) { r[4194] = 7; }, RecordStatus::Invalid},
        {"reserved bytes", [](Record& r) { r[5000] = 9; }, RecordStatus::Ok},
        {"width 65535", [&](Record& r) { i32(r, 4128, 65535); }, RecordStatus::Ok},
    };
    for (const auto& c : cases) {
        Record r = good;
        c.spoil(r);
        SettingsRecord out;
        out.threshold = -77;
        EXPECT_EQ(decode_settings_record(r, out), c.want) << c.what;
        if (c.want != RecordStatus::Ok) {
            EXPECT_EQ(out.threshold, -77) << c.what << ": filled on failure";
        }
    }
}

}  // namespace
}  // namespace velq
