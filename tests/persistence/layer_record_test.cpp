// The byte layout itself is pinned by the fuzzer's seed blocks (settings_block_corpus_test); these are
// the record's own rules.
#include "persistence/layer_record.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "support/blocks.h"

namespace velq {
namespace {

using Record = std::array<std::uint8_t, kLayerRecordSize>;

void put(Record& r, std::size_t at, const void* v, std::size_t n) {
    std::memcpy(r.data() + at, v, n);
}

TEST(LayerRecord, RefusesTextsThatDoNotFitAndValuesOutOfRange) {
    const LayerRecord sample = test::sample_block().layers[3].record;
    LayerRecord rec = sample;
    Record good;
    rec.anim.name.assign(1023, 'n');
    EXPECT_EQ(encode_layer_record(rec, good), "");
    rec.anim.name.assign(1024, 'n');
    EXPECT_NE(encode_layer_record(rec, good).find("animation name"), std::string::npos);
    rec = sample;
    rec.font.face.assign(256, 'f');
    EXPECT_NE(encode_layer_record(rec, good).find("font name"), std::string::npos);
    rec = sample;
    rec.alphabet_text.assign(2048, 't');
    EXPECT_NE(encode_layer_record(rec, good).find("alphabet text"), std::string::npos);
    rec.alphabet_text = "Text \xC3\xA9", rec.alphabet_face = "DejaVu Serif";
    ASSERT_EQ(encode_layer_record(rec, good), "");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&good[2048])), rec.alphabet_text);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&good[4096])), rec.alphabet_face);

    ASSERT_EQ(encode_layer_record(sample, good), "");
    auto i32 = [](std::size_t at, std::int32_t v) { return [=](Record& r) { put(r, at, &v, 4); }; };
    auto f64 = [](std::size_t at, double v) { return [=](Record& r) { put(r, at, &v, 8); }; };
    struct Case {
        const char* what;
        std::function<void(Record&)> spoil;
        bool ok;
    };
    const Case cases[] = {
        {"transparency 256", i32(4, 256), false},
        {"transparency -1", i32(4, -1), false},
        {"size 301", i32(8, 301), false},
        {"brightness huge", i32(12, 2000000000), true},
        {"palette -1", i32(16, -1), false},
        {"passage mode 2", i32(0, 2), false},
        {"motion 6", f64(40, 6), false},
        {"motion 2.5", f64(40, 2.5), false},
        {"scan 9 (no order)", f64(48, 9), true},
        {"count 1e10", f64(56, 1e10), false},
        {"duration inf", f64(32, INFINITY), false},
        {"spare slot NaN", f64(32 + 8 * 40, NAN), false},
        {"unterminated name", [](Record& r) { std::memset(r.data() + 544, 'a', 1024); }, false},
        {"unterminated face", [](Record& r) { std::memset(r.data() + 1600, 'a', 256); }, false},
        {"italic 2", [](Record& r) { r[1576] = 2; }, false},
        {"shown 2", [](Record& r) { r[4357] = 2; }, false},
        {"passage style 7", [](Record& r) { r[1856] = 7; }, true},
        {"passage style 8", [](Record& r) { r[1856] = 8; }, false},
        {"keep blanks 2", [](Record& r) { r[1857] = 2; }, false},
        {"unterminated alphabet face", [](Record& r) { std::memset(r.data() + 4096, 'a', 256); }, false},
        {"reserved byte", [](Record& r) { r[1900] = 0xFF; }, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Record r = good;
        c.spoil(r);
        LayerRecord back;
        back.size = -5;
        EXPECT_EQ(decode_layer_record(r, back), c.ok);
        EXPECT_TRUE(c.ok || back.size == -5) << "filled on failure";
    }
}

}  // namespace
}  // namespace velq
