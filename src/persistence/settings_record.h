// The settings record that heads every settings block: the parameters that produced a result, in a
// fixed 5220-byte little-endian layout. It works on a plain snapshot, so it knows nothing of the
// Document; src/app fills the snapshot and applies it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "render/drawing.h"

namespace velq {

inline constexpr std::size_t kSettingsRecordSize = 5220;
// "Velquinograph" and its terminating zero: the record's first bytes and the file block's last.
inline constexpr std::size_t kSignatureSize = 14;
inline constexpr std::string_view kSignature{"Velquinograph\0", kSignatureSize};
inline constexpr std::int32_t kMetadataVersion = 4;
// Stored paths: UTF-8 bytes, zero padded; the longest that fits is one byte shorter.
inline constexpr std::size_t kPathFieldSize = 4096;
inline constexpr int kCyclingCount = 21;
// The largest output side a block may ask for; anything larger is a corrupt or hostile block.
inline constexpr std::int32_t kMaxOutputSide = 65535;
// The most rows of text the Alphabet transform sets.
inline constexpr std::int32_t kMaxAlphabetRows = 1000;

// Offsets of the record's fields.
namespace settings_offset {
inline constexpr std::size_t signature = 0, path = 14, version = 4112, interpolation = 4116, blur = 4120,
                             threshold = 4124, out_width = 4128, out_height = 4132, dpi = 4136,
                             dilation = 4140, gap = 4144, k_mean = 4148, filter_kind = 4152,
                             transform_mode = 4156, max_size = 4164, min_size = 4168, flag_byte = 4172,
                             cycling = 4173, motion_pack = 4194, logo_kind = 4195, background = 4196,
                             global_brightness = 4200, logo_transparency = 4204, logo_text = 4208,
                             logo_face = 4976, impact_x = 5104, impact_y = 5112, has_filter_seed = 5120,
                             filter_seed = 5124, reserved = 5168;
// The drawing that replaced the render: all zero (and not read) when there is none.
inline constexpr std::size_t drawing_kind = 5128, drawing_layer = 5129, drawing_burst = 5130,
                             drawing_lead = 5131, drawing_lead_colour = 5132, drawing_spike_width = 5136;
// The Alphabet transform's layout, font style and rows.
inline constexpr std::size_t alphabet_layout = 5160, alphabet_bold = 5161, alphabet_italic = 5162,
                             alphabet_rows = 5164;
}  // namespace settings_offset
// The logo's text (or picture path) and font face fields; each holds one byte less of text.
inline constexpr std::size_t kLogoTextFieldSize = 768, kLogoFaceFieldSize = 128;

// What made the logo of a result: none (every logo field zero), a line of text, or a picture file.
enum class LogoKind : std::uint8_t { None = 0, Text = 1, Picture = 2 };

struct SettingsRecord {
    std::string source_path;  // UTF-8; the source picture, or the motion pack when one is loaded
    std::int32_t version = kMetadataVersion;
    std::int32_t interpolation = 5;  // INT
    std::int32_t blur = 1;           // BLU
    std::int32_t threshold = 20;     // THR
    std::int32_t out_width = 0;      // output size in pixels
    std::int32_t out_height = 0;
    std::int32_t dpi = 96;
    std::int32_t dilation = 0;        // DIL
    std::int32_t gap = 1;             // GAP
    std::int32_t k_mean = 2;          // K-Mn
    std::int32_t filter_kind = 0;     // 0..8
    std::int32_t transform_mode = 0;  // 0 Normal, 1 Vectorize, 2 Alphabet
    float max_size = 0.02f;
    float min_size = 0.0005f;
    std::uint8_t flag_byte = 0;
    // Motions 0-4, scan orders 0-7, filters 1-8: one byte each, 0 or 1.
    std::array<std::uint8_t, kCyclingCount> cycling{};
    bool motion_pack = false;
    // Kept in bytes that older blocks leave zero, which reads as these defaults.
    std::uint32_t background = 0;  // packed colour, red in the low byte; black
    std::int32_t global_brightness = 0;
    LogoKind logo_kind = LogoKind::None;
    std::uint8_t logo_transparency = 0;  // 0..255, with a logo
    std::string logo_text;               // UTF-8: the text logo's line, or the picture logo's path
    std::string logo_face;               // UTF-8: the text logo's font face
    double impact_x = 0, impact_y = 0;   // Broken glass's impact, fractions of the picture; 0: seeded
    // The seed the random filter of the result drew, so reopening remakes the same pattern.
    bool has_filter_seed = false;
    std::uint32_t filter_seed = 0;
    Drawing drawing;  // kind None: the plain render
    // The Alphabet transform's layout (0 Lines, 1 Packed, 2 Inverse), font style and rows (0: from
    // Max); its text and face live in the first layer's record.
    std::uint8_t alphabet_layout = 0;
    bool alphabet_bold = false, alphabet_italic = false;
    std::int32_t alphabet_rows = 0;

    bool operator==(const SettingsRecord&) const = default;
};

// The message for a path that cannot be stored ("" when it can).
std::string stored_path_problem(std::string_view path);

// Lays the record out in `out`. Returns "" or the message saying why it cannot be stored.
std::string encode_settings_record(const SettingsRecord& rec,
                                   std::span<std::uint8_t, kSettingsRecordSize> out);

enum class RecordStatus {
    Ok,
    NoSignature,   // not a record at all
    OtherVersion,  // a record of another version; nothing of it may be used
    Invalid,       // the right version but a field that cannot be (unterminated path, value out of range)
};

// True when the first 14 bytes are the signature.
bool has_signature(std::span<const std::uint8_t> bytes);
// Reads a record; `rec` is filled only when the result is Ok.
RecordStatus decode_settings_record(std::span<const std::uint8_t, kSettingsRecordSize> in,
                                    SettingsRecord& rec);

}  // namespace velq
