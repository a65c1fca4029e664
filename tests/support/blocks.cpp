#include "support/blocks.h"

#include <gtest/gtest.h>

namespace velq::test {

SettingsBlock sample_block() {
    SettingsBlock b;
    auto& s = b.settings;
    s.source_path = "/home/user/Pictures/été/sunset 01.png", s.interpolation = 7, s.blur = 3;
    s.threshold = 33, s.out_width = 1234, s.out_height = 987, s.dpi = 300, s.dilation = 2, s.gap = 4;
    s.k_mean = 6, s.filter_kind = 8, s.transform_mode = 1, s.max_size = 0.03f, s.min_size = 0.001f;
    s.flag_byte = 1;
    for (int i = 0; i < kCyclingCount; ++i) s.cycling[i] = std::uint8_t(i % 3 == 0);
    s.motion_pack = false;

    b.layers.resize(kBlockLayerCount);
    for (int i = 0; i < kBlockLayerCount; ++i) {
        auto& r = b.layers[i].record;
        r.transparency = 255 - 20 * i, r.size = 100 + 25 * i, r.brightness = 100 + 50 * i, r.palette = i;
        r.shape_cursor = i, r.passage_cursor = 2 * i;
        r.random = i % 2 == 1;
        r.shuffle = i % 3 == 1;
        r.invert = i % 4 == 1;
        r.convert = i % 5 == 1;
        r.shown = i != 4;
        r.anim.name = i == 3 ? "Petals" : "", r.anim.duration = 5.0 + i, r.anim.motion = i % 6;
        r.anim.scan = i % 8, r.anim.count = i + 1, r.anim.motion_time = 1.5 * i, r.anim.timestamp = 0.25 * i;
        r.font.face = i == 5 ? "DejaVu Sans" : "Courier New";
        r.font.height = 10 * i;
        r.font.weight = i == 5 ? 700 : 400;
        r.font.italic = i == 5;
        b.layers[i].passage = u"Layer passage";
    }
    // 0 and 1: the default disc; 2: file shapes; 3: passage characters; 6: files but none listed;
    // 7: file shapes with a non-ASCII name; 5, 8: empty.
    b.layers[0].record.first_shape_only = b.layers[0].record.has_shapes = true;
    b.layers[1].record.first_shape_only = b.layers[1].record.has_shapes = true;
    b.layers[2].record.has_shapes = true;
    b.layers[2].shape_paths = {"/shapes/leaf.png", "/shapes/star.png"};
    b.layers[3].record.passage_mode = b.layers[3].record.case_folding = b.layers[3].record.has_shapes = true;
    b.layers[3].passage = u"Zwölf Boxkämpfer \U0001F600";
    b.layers[4].passage.clear();
    b.layers[6].record.has_shapes = true, b.layers[7].record.has_shapes = true;
    b.layers[7].shape_paths = {"/shapes/Ω.png"};
    return b;
}

std::size_t entry_offset(const SettingsBlock& block, int i) {
    std::size_t at = kSettingsRecordSize;
    for (int k = 0; k < i; ++k) {
        const auto& e = block.layers[k];
        at += kLayerRecordSize + 8 + 2 * e.passage.size();
        if (e.record.shapes_from_files()) at += 4 + kPathFieldSize * e.shape_paths.size();
    }
    return at;
}

std::vector<std::uint8_t> file_with_block(const SettingsBlock& block, std::size_t picture_bytes) {
    std::vector<std::uint8_t> file = fake_picture(picture_bytes), tail;
    EXPECT_EQ(encode_file_block(block, tail), "");
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

std::vector<std::uint8_t> fake_picture(std::size_t n) {
    std::vector<std::uint8_t> v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = std::uint8_t(i * 37 + 11);
    return v;
}

}  // namespace velq::test
