// The byte layout itself is pinned by the fuzzer's seed blocks (settings_block_corpus_test); these are
// the record's own rules.
#include "persistence/settings_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "support/blocks.h"

namespace velq {
namespace {

using Record = std::array<std::uint8_t, kSettingsRecordSize>;

TEST(SettingsRecord, RoundTripsPathsUpTo4095Bytes) {
    SettingsRecord rec = test::sample_block().settings;
    rec.motion_pack = true;  // the one field the sample leaves at its default
    Record out;
    SettingsRecord back;
    for (const std::size_t size : {4095, 4096, 10000}) {
        SCOPED_TRACE(size);
        rec.source_path.assign(size, 'p');
        const auto problem = encode_settings_record(rec, out);
        if (size < 4096) {
            ASSERT_EQ(problem, "");
            ASSERT_EQ(decode_settings_record(out, back), RecordStatus::Ok);
            EXPECT_EQ(back, rec);
        } else {
            EXPECT_NE(problem.find("too long"), std::string::npos) << problem;
        }
    }
    rec.source_path = std::string("a\0b", 3);
    EXPECT_NE(encode_settings_record(rec, out), "");
}

TEST(SettingsRecord, DecodingSortsRecordsByWhatIsWrong) {
    Record good;
    ASSERT_EQ(encode_settings_record(test::sample_block().settings, good), "");
    auto i32 = [](std::size_t at, std::uint32_t v) { return [=](Record& r) { std::memcpy(&r[at], &v, 4); }; };
    struct Case {
        const char* what;
        std::function<void(Record&)> spoil;
        RecordStatus want;
    };
    const Case cases[] = {
        {"signature", [](Record& r) { r[3] = 'Q'; }, RecordStatus::NoSignature},
        {"signature zero", [](Record& r) { r[13] = '!'; }, RecordStatus::NoSignature},
        {"version 3", i32(4112, 3), RecordStatus::OtherVersion},
        {"version 5", i32(4112, 5), RecordStatus::OtherVersion},
        {"unterminated path", [](Record& r) { std::memset(r.data() + 14, 'x', 4096); },
         RecordStatus::Invalid},
        {"INT 0", i32(4116, 0), RecordStatus::Invalid},
        {"INT 51", i32(4116, 51), RecordStatus::Invalid},
        {"BLU 11", i32(4120, 11), RecordStatus::Invalid},
        {"negative THR", i32(4124, 0xFFFFFFFF), RecordStatus::Invalid},
        {"huge width", i32(4128, 65536), RecordStatus::Invalid},
        {"width 65535", i32(4128, 65535), RecordStatus::Ok},
        {"filter 9", i32(4152, 9), RecordStatus::Invalid},
        {"transform 3", i32(4156, 3), RecordStatus::Invalid},
        {"Max NaN", i32(4164, 0x7FC00000), RecordStatus::Invalid},
        {"Min negative", i32(4168, 0xBF800000), RecordStatus::Invalid},
        {"cycling 2", [](Record& r) { r[4180] = 2; }, RecordStatus::Invalid},
        {"motion pack 7", [](Record& r) { r[4194] = 7; }, RecordStatus::Invalid},
        {"reserved bytes", [](Record& r) { r[5000] = 9; }, RecordStatus::Ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Record r = good;
        c.spoil(r);
        SettingsRecord out;
        out.threshold = -77;
        EXPECT_EQ(decode_settings_record(r, out), c.want);
        if (c.want != RecordStatus::Ok) {
            EXPECT_EQ(out.threshold, -77) << "filled on failure";
        }
    }
}

}  // namespace
}  // namespace velq
