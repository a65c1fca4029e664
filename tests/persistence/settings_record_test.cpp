// The byte layout itself is pinned by the fuzzer's seed blocks (settings_block_corpus_test); these are
// the record's own rules.
#include "persistence/settings_record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "support/blocks.h"

namespace velq {
namespace {

using Record = std::array<std::uint8_t, kSettingsRecordSize>;

// The little-endian field of type T at byte `at`.
template <class T>
T field(const Record& r, std::size_t at) {
    T v;
    std::memcpy(&v, &r[at], sizeof v);
    return v;
}

TEST(SettingsRecord, RoundTripsPathsUpTo4095BytesWithoutZeros) {
    SettingsRecord rec = test::sample_block().settings, back;
    rec.motion_pack = true;  // the one field the sample leaves at its default
    rec.source_path.assign(4095, 'p');
    Record out;
    ASSERT_EQ(encode_settings_record(rec, out), "");
    ASSERT_EQ(decode_settings_record(out, back), RecordStatus::Ok);
    EXPECT_EQ(back, rec);
    rec.source_path += 'p';
    EXPECT_THAT(encode_settings_record(rec, out), testing::HasSubstr("too long"));
    rec.source_path = std::string("a\0b", 3);
    EXPECT_NE(encode_settings_record(rec, out), "");
}

TEST(SettingsRecord, BackgroundBrightnessLogoAndImpactLiveInTheReservedBytes) {
    struct Case {
        const char* what;
        std::uint32_t background;
        std::int32_t brightness;
        LogoKind kind;
        std::string text, face;
        std::string problem;  // a part of the refusal, "" when it is stored
    };
    const Case cases[] = {
        {"text logo", 0xFF8040, -20, LogoKind::Text, "Velquinograph \xC3\xA9", "DejaVu Sans", ""},
        {"picture logo", 0x10, 300, LogoKind::Picture, "/logos/" + std::string(760, 'm'), "", ""},
        {"text too long", 0, 0, LogoKind::Text, std::string(768, 't'), "", "at most 767"},
        {"face too long", 0, 0, LogoKind::Text, "Velq", std::string(128, 'f'), "at most 127"},
    };
    Record plain;
    ASSERT_EQ(encode_settings_record(test::sample_block().settings, plain), "");
    EXPECT_TRUE(std::all_of(plain.begin() + 4195, plain.end(), [](std::uint8_t b) { return b == 0; }))
        << "the defaults leave the reserved bytes zero";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SettingsRecord rec = test::sample_block().settings;
        rec.background = c.background, rec.global_brightness = c.brightness, rec.logo_kind = c.kind;
        rec.logo_text = c.text, rec.logo_face = c.face, rec.logo_transparency = 77;
        rec.impact_x = 0.35, rec.impact_y = 0.45;
        rec.has_filter_seed = true, rec.filter_seed = 0xC0FFEE;
        rec.drawing = {DrawingKind::BurstSpikes, 3, 1.5, 9, 4, 0x102030};
        rec.alphabet_layout = 2, rec.alphabet_italic = true, rec.alphabet_rows = 12;
        Record out;
        const std::string problem = encode_settings_record(rec, out);
        if (!c.problem.empty()) {
            EXPECT_NE(problem.find(c.problem), std::string::npos) << problem;
            continue;
        }
        ASSERT_EQ(problem, "");
        // Everything before the reserved bytes is laid out as before.
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + 4195, plain.begin()));
        SettingsRecord back;
        ASSERT_EQ(decode_settings_record(out, back), RecordStatus::Ok);
        EXPECT_EQ(back, rec);
        EXPECT_EQ(std::tuple(out[4195], out[4204], out[5120]), std::tuple(std::uint8_t(c.kind), 77, 1));
        EXPECT_EQ(field<std::uint32_t>(out, 4196), c.background);
        EXPECT_EQ(field<std::int32_t>(out, 4200), c.brightness);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&out[4208])), c.text);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&out[4976])), c.face);
        EXPECT_EQ(std::pair(field<double>(out, 5104), field<double>(out, 5112)), std::pair(0.35, 0.45));
        EXPECT_EQ(field<std::uint32_t>(out, 5124), 0xC0FFEEu);
        EXPECT_EQ(field<std::uint64_t>(out, 5128), 0x0010203004090304u);  // kind 4, layer 3, 9, 4, colour
        EXPECT_EQ(field<double>(out, 5136), 1.5);
        EXPECT_EQ(std::vector<int>(out.begin() + 5160, out.begin() + 5163), (std::vector<int>{2, 0, 1}));
        EXPECT_EQ(field<std::int32_t>(out, 5164), 12);
    }
}

TEST(SettingsRecord, DecodingSortsRecordsByWhatIsWrong) {
    Record good;
    ASSERT_EQ(encode_settings_record(test::sample_block().settings, good), "");
    auto i32 = [](std::size_t at, std::uint32_t v) { return [=](Record& r) { std::memcpy(&r[at], &v, 4); }; };
    auto f64 = [](std::size_t at, double v) { return [=](Record& r) { std::memcpy(&r[at], &v, 8); }; };
    // Fills n bytes from `at` with 'x', leaving no terminating zero; sets the logo kind when given.
    auto fill = [](std::size_t at, std::size_t n, std::uint8_t logo_kind = 0) {
        return [=](Record& r) {
            std::memset(r.data() + at, 'x', n);
            if (logo_kind) r[4195] = logo_kind;
        };
    };
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
        {"unterminated path", fill(14, 4096), RecordStatus::Invalid},
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
        {"logo kind 3", [](Record& r) { r[4195] = 3; }, RecordStatus::Invalid},
        {"background above 24 bits", i32(4196, 0x01000000), RecordStatus::Invalid},
        {"impact on the frame", f64(5112, 1.0), RecordStatus::Invalid},
        {"filter seed flag 2", [](Record& r) { r[5120] = 2; }, RecordStatus::Invalid},
        {"alphabet layout 3", [](Record& r) { r[5160] = 3; }, RecordStatus::Invalid},
        {"alphabet italic 2", [](Record& r) { r[5162] = 2; }, RecordStatus::Invalid},
        {"alphabet rows 1001", i32(5164, 1001), RecordStatus::Invalid},
        {"unterminated logo text", fill(4208, 768, 1), RecordStatus::Invalid},
        {"unterminated logo face", fill(4976, 128, 1), RecordStatus::Invalid},
        {"logo text without a logo", fill(4208, 768), RecordStatus::Ok},
        {"reserved bytes", [](Record& r) { r[5170] = 9; }, RecordStatus::Ok},
        {"drawing numbers without a drawing", [](Record& r) { r[5129] = 200; }, RecordStatus::Ok},
        {"drawing kind 5", [](Record& r) { r[5128] = 5, r[5130] = 7, r[5136 + 7] = 0x3F; },
         RecordStatus::Invalid},
        {"drawing layer 9", [](Record& r) { r[5128] = 1, r[5129] = 9, r[5130] = 7, r[5136 + 7] = 0x3F; },
         RecordStatus::Invalid},
        {"drawing without spikes", [](Record& r) { r[5128] = 1, r[5136 + 7] = 0x3F; }, RecordStatus::Invalid},
        {"drawing", [](Record& r) { r[5128] = 1, r[5130] = 7, r[5136 + 7] = 0x3F; }, RecordStatus::Ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Record r = good;
        c.spoil(r);
        SettingsRecord out;
        out.threshold = -77;
        EXPECT_EQ(decode_settings_record(r, out), c.want);
        EXPECT_TRUE(c.want == RecordStatus::Ok || out.threshold == -77) << "filled on failure";
    }
}

}  // namespace
}  // namespace velq
