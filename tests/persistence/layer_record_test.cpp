#include "persistence/layer_record.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

namespace velq {
namespace {

using Record = std::array<std::uint8_t, kLayerRecordSize>;

void put(Record& r, std::size_t at, const void* v, std::size_t n) {
    std::memcpy(r.data() + at, v, n);
}

LayerRecord odd_layer() {
    LayerRecord r;
    r.passage_mode = true;
    r.transparency = 128;
    r.size = 300;
    r.brightness = 1000;
    r.palette = 5;
    r.shape_cursor = 3;
    r.passage_cursor = 9;
    r.anim.name = "Wave pack";
    r.anim.duration = 7.5;
    r.anim.motion = 3;
    r.anim.scan = 6;
    r.anim.count = 4;
    r.anim.motion_time = 2.25;
    r.anim.timestamp = 1.5;
    r.font = {"Liberation Mono", -24, 700, true};
    r.first_shape_only = false;
    r.random = true;
    r.shuffle = false;
    r.invert = true;
    r.convert = true;
    r.shown = false;
    r.case_folding = true;
    r.has_shapes = true;
    return r;
}

TEST(LayerRecord, EveryFieldLandsOnItsOffsetAndEverythingElseIsZero) {
    const LayerRecord rec = odd_layer();
    Record out;
    out.fill(0xCC);
    ASSERT_EQ(encode_layer_record(rec, out), "");

    // Expected bytes from the documented table; the host is little-endian, as the layout.
    static_assert(std::endian::native == std::endian::little);
    Record want{};
    const std::int32_t ints[][2] = {{0, 1},  {4, 128}, {8, 300},    {12, 1000}, {16, 5},
                                    {20, 3}, {24, 9},  {1568, -24}, {1572, 700}};
    for (auto [at, v] : ints) put(want, std::size_t(at), &v, 4);
    const double numbers[] = {7.5, 3, 6, 4, 2.25, 1.5};
    for (int s = 0; s < 6; ++s) put(want, 32 + 8 * s, &numbers[s], 8);
    put(want, 544, "Wave pack", 9);
    want[1576] = 1;
    put(want, 1600, "Liberation Mono", 15);
    const std::uint8_t flags[8] = {0, 1, 0, 1, 1, 0, 1, 1};
    put(want, 4352, flags, 8);
    for (std::size_t i = 0; i < kLayerRecordSize; ++i) ASSERT_EQ(out[i], want[i]) << "byte " << i;

    LayerRecord back;
    ASSERT_TRUE(decode_layer_record(out, back));
    EXPECT_EQ(back, rec);
}

TEST(LayerRecord, FileShapeTestReadsTheThreeDescribedPlaces) {
    struct Case {
        bool passage, disc, has_shapes, files;
    };
    const Case cases[] = {
        {false, false, true, true}, {false, false, false, false}, {true, false, true, false},
        {false, true, true, false}, {true, true, true, false},
    };
    for (const auto& c : cases) {
        LayerRecord rec;
        rec.passage_mode = c.passage;
        rec.first_shape_only = c.disc;
        rec.has_shapes = c.has_shapes;
        Record out;
        ASSERT_EQ(encode_layer_record(rec, out), "");
        EXPECT_EQ(record_has_file_shapes(out), c.files);
        EXPECT_EQ(rec.shapes_from_files(), c.files);
        EXPECT_EQ(out[4359] != 0 && out[4352] == 0 && out[0] == 0 && out[1] == 0, c.files);
    }
}

TEST(LayerRecord, RefusesTextsThatDoNotFitAndValuesOutOfRange) {
    LayerRecord rec = odd_layer();
    Record out;
    rec.anim.name.assign(1023, 'n');
    EXPECT_EQ(encode_layer_record(rec, out), "");
    rec.anim.name.assign(1024, 'n');
    EXPECT_NE(encode_layer_record(rec, out).find("animation name"), std::string::npos);
    rec = odd_layer();
    rec.font.face.assign(256, 'f');
    EXPECT_NE(encode_layer_record(rec, out).find("font name"), std::string::npos);

    Record good;
    ASSERT_EQ(encode_layer_record(odd_layer(), good), "");
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
        {"brightness -1", i32(12, -1), false},
        {"brightness huge", i32(12, 2000000000), true},
        {"palette -1", i32(16, -1), false},
        {"cursor -1", i32(20, -1), false},
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
        {"reserved byte", [](Record& r) { r[3000] = 0xFF; }, true},
    };
    for (const auto& c : cases) {
        Record r = good;
        c.spoil(r);
        LayerRecord back;
        back.size = -5;
        EXPECT_EQ(decode_layer_record(r, back), c.ok) << c.what;
        if (!c.ok) {
            EXPECT_EQ(back.size, -5) << c.what;
        }
    }
}

}  // namespace
}  // namespace velq
