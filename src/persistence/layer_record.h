// The 4368-byte layer record of the settings block: every field of a layer (tone, palette, options,
// passage flags, animation settings, passage font) at a fixed little-endian offset. Works on a plain
// snapshot; src/app copies layers into it and back. The offsets are tabled in docs/design.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "render/animation_settings.h"

namespace velq {

inline constexpr std::size_t kLayerRecordSize = 4368;

namespace layer_offset {
inline constexpr std::size_t passage_mode = 0, transparency = 4, size = 8, brightness = 12, palette = 16,
                             shape_cursor = 20, passage_cursor = 24;
// 64 doubles; slots past the ones in use stay zero, room for more animation numbers.
inline constexpr std::size_t anim_numbers = 32, anim_slot_count = 64;
inline constexpr std::size_t anim_name = 544, anim_name_size = 1024;
inline constexpr std::size_t font_height = 1568, font_weight = 1572, font_italic = 1576;
inline constexpr std::size_t font_face = 1600, font_face_size = 256;
inline constexpr std::size_t passage_style = 1856, keep_blanks = 1857;
// The Alphabet transform's passage and font face, kept in the first layer's record only.
inline constexpr std::size_t alphabet_text = 2048, alphabet_text_size = 2048;
inline constexpr std::size_t alphabet_face = 4096, alphabet_face_size = 256;
inline constexpr std::size_t first_shape_only = 4352, random = 4353, shuffle = 4354, invert = 4355,
                             convert = 4356, shown = 4357, case_folding = 4358, has_shapes = 4359;
}  // namespace layer_offset

// The passage font as the record keeps it.
struct FontRecord {
    std::string face = "Courier New";  // UTF-8
    std::int32_t height = 0;
    std::int32_t weight = 0;
    bool italic = false;

    bool operator==(const FontRecord&) const = default;
};

struct LayerRecord {
    bool passage_mode = false;
    std::int32_t transparency = 255;
    std::int32_t size = 100;
    std::int32_t brightness = 100;
    std::int32_t palette = 0;
    std::int32_t shape_cursor = 0;
    std::int32_t passage_cursor = 0;
    AnimationSettings anim;
    FontRecord font;
    bool first_shape_only = false;  // the layer paints the built-in disc
    bool random = false;
    bool shuffle = false;
    bool invert = false;
    bool convert = false;
    bool shown = true;
    bool case_folding = false;
    std::uint8_t passage_style = 0;  // PassageStyle; 0 (Flat) in blocks written before styles
    bool keep_blanks = false;
    bool has_shapes = false;  // the layer holds at least one shape
    // The first layer's record also carries the Alphabet transform's text and face (UTF-8; empty:
    // the built-in ones).
    std::string alphabet_text, alphabet_face;

    // Shapes that are neither the default disc nor passage characters came from files, and their
    // paths follow the record in the block.
    bool shapes_from_files() const { return has_shapes && !first_shape_only && !passage_mode; }

    bool operator==(const LayerRecord&) const = default;
};

// Lays the record out in `out`. Returns "" or the message saying which text does not fit.
std::string encode_layer_record(const LayerRecord& rec, std::span<std::uint8_t, kLayerRecordSize> out);
// False when a text is unterminated or a value is out of its range; `rec` is filled only on success.
bool decode_layer_record(std::span<const std::uint8_t, kLayerRecordSize> in, LayerRecord& rec);
// The test the block reader applies to the raw bytes: first word zero, byte 4352 zero, byte 4359 set.
bool record_has_file_shapes(std::span<const std::uint8_t, kLayerRecordSize> in);

}  // namespace velq
