#include "persistence/layer_record.h"

#include <cmath>
#include <cstring>

#include "image/packed_bytes.h"
#include "render/passage_style.h"

namespace velq {

namespace o = layer_offset;

namespace {

// The animation numbers, one slot each. Integers travel as doubles (exact up to 2^53). A new
// number takes the next free slot; blocks written before it then read it as zero.
enum Slot { kDuration, kMotion, kScan, kCount, kMotionTime, kTimestamp };

std::size_t slot_at(int slot) {
    return o::anim_numbers + std::size_t(slot) * 8;
}

bool int_slot(double v, std::int32_t& out) {
    if (!(v >= -2147483648.0 && v <= 2147483647.0) || v != std::trunc(v)) return false;
    out = std::int32_t(v);
    return true;
}

bool flag(std::uint8_t b, bool& out) {
    if (b > 1) return false;
    out = b == 1;
    return true;
}

}  // namespace

std::string encode_layer_record(const LayerRecord& rec, std::span<std::uint8_t, kLayerRecordSize> out) {
    if (!fits_text_field(rec.anim.name, o::anim_name_size))
        return "The animation name is too long to be stored with the settings (at most " +
               std::to_string(o::anim_name_size - 1) + " bytes)";
    if (!fits_text_field(rec.font.face, o::font_face_size))
        return "The font name is too long to be stored with the settings (at most " +
               std::to_string(o::font_face_size - 1) + " bytes)";
    if (!fits_text_field(rec.alphabet_text, o::alphabet_text_size))
        return "The alphabet text is too long to be stored with the settings (at most " +
               std::to_string(o::alphabet_text_size - 1) + " bytes)";
    if (!fits_text_field(rec.alphabet_face, o::alphabet_face_size))
        return "The alphabet font name is too long to be stored with the settings (at most " +
               std::to_string(o::alphabet_face_size - 1) + " bytes)";
    std::memset(out.data(), 0, out.size());
    put_i32(out, o::passage_mode, rec.passage_mode ? 1 : 0);
    put_i32(out, o::transparency, rec.transparency);
    put_i32(out, o::size, rec.size);
    put_i32(out, o::brightness, rec.brightness);
    put_i32(out, o::palette, rec.palette);
    put_i32(out, o::shape_cursor, rec.shape_cursor);
    put_i32(out, o::passage_cursor, rec.passage_cursor);

    put_f64(out, slot_at(kDuration), rec.anim.duration);
    put_f64(out, slot_at(kMotion), rec.anim.motion);
    put_f64(out, slot_at(kScan), rec.anim.scan);
    put_f64(out, slot_at(kCount), rec.anim.count);
    put_f64(out, slot_at(kMotionTime), rec.anim.motion_time);
    put_f64(out, slot_at(kTimestamp), rec.anim.timestamp);
    put_text(out, o::anim_name, o::anim_name_size, rec.anim.name);

    put_i32(out, o::font_height, rec.font.height);
    put_i32(out, o::font_weight, rec.font.weight);
    put_u8(out, o::font_italic, rec.font.italic ? 1 : 0);
    put_text(out, o::font_face, o::font_face_size, rec.font.face);
    put_u8(out, o::passage_style, rec.passage_style);
    put_u8(out, o::keep_blanks, rec.keep_blanks);

    put_text(out, o::alphabet_text, o::alphabet_text_size, rec.alphabet_text);
    put_text(out, o::alphabet_face, o::alphabet_face_size, rec.alphabet_face);

    put_u8(out, o::first_shape_only, rec.first_shape_only);
    put_u8(out, o::random, rec.random);
    put_u8(out, o::shuffle, rec.shuffle);
    put_u8(out, o::invert, rec.invert);
    put_u8(out, o::convert, rec.convert);
    put_u8(out, o::shown, rec.shown);
    put_u8(out, o::case_folding, rec.case_folding);
    put_u8(out, o::has_shapes, rec.has_shapes);
    return {};
}

bool decode_layer_record(std::span<const std::uint8_t, kLayerRecordSize> in, LayerRecord& rec) {
    LayerRecord r;
    const std::int32_t passage = get_i32(in, o::passage_mode);
    if (passage != 0 && passage != 1) return false;
    r.passage_mode = passage == 1;
    r.transparency = get_i32(in, o::transparency);
    r.size = get_i32(in, o::size);
    r.brightness = get_i32(in, o::brightness);
    r.palette = get_i32(in, o::palette);
    r.shape_cursor = get_i32(in, o::shape_cursor);
    r.passage_cursor = get_i32(in, o::passage_cursor);
    // The ranges the window's fields allow; a cursor is an index and never negative.
    if (r.transparency < 0 || r.transparency > 255 || r.size < 0 || r.size > 300 || r.brightness < 0 ||
        r.palette < 0 || r.shape_cursor < 0 || r.passage_cursor < 0)
        return false;

    for (std::size_t s = 0; s < o::anim_slot_count; ++s)
        if (!std::isfinite(get_f64(in, o::anim_numbers + s * 8))) return false;
    r.anim.duration = get_f64(in, slot_at(kDuration));
    r.anim.motion_time = get_f64(in, slot_at(kMotionTime));
    r.anim.timestamp = get_f64(in, slot_at(kTimestamp));
    if (!int_slot(get_f64(in, slot_at(kMotion)), r.anim.motion) || r.anim.motion < 0 ||
        r.anim.motion >= kMotionKinds || !int_slot(get_f64(in, slot_at(kScan)), r.anim.scan) ||
        !int_slot(get_f64(in, slot_at(kCount)), r.anim.count))
        return false;
    if (!get_text(in, o::anim_name, o::anim_name_size, r.anim.name)) return false;

    r.font.height = get_i32(in, o::font_height);
    r.font.weight = get_i32(in, o::font_weight);
    if (!flag(in[o::font_italic], r.font.italic)) return false;
    if (!get_text(in, o::font_face, o::font_face_size, r.font.face)) return false;
    r.passage_style = in[o::passage_style];
    if (r.passage_style >= kPassageStyleCount || !flag(in[o::keep_blanks], r.keep_blanks)) return false;
    if (!get_text(in, o::alphabet_text, o::alphabet_text_size, r.alphabet_text) ||
        !get_text(in, o::alphabet_face, o::alphabet_face_size, r.alphabet_face))
        return false;

    if (!flag(in[o::first_shape_only], r.first_shape_only) || !flag(in[o::random], r.random) ||
        !flag(in[o::shuffle], r.shuffle) || !flag(in[o::invert], r.invert) ||
        !flag(in[o::convert], r.convert) || !flag(in[o::shown], r.shown) ||
        !flag(in[o::case_folding], r.case_folding) || !flag(in[o::has_shapes], r.has_shapes))
        return false;
    rec = std::move(r);
    return true;
}

// The three places the file-shapes test reads sit on these fields.
static_assert(o::passage_mode == 0 && o::first_shape_only == 4352 && o::has_shapes == 4359);

bool record_has_file_shapes(std::span<const std::uint8_t, kLayerRecordSize> in) {
    return in[o::has_shapes] != 0 && in[o::first_shape_only] == 0 && get_u32(in, o::passage_mode) == 0;
}

}  // namespace velq
