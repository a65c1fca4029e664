#include "persistence/settings_record.h"

#include <cmath>
#include <cstring>

#include "image/packed_bytes.h"

namespace velq {

namespace o = settings_offset;

std::string stored_path_problem(std::string_view path) {
    if (fits_text_field(path, kPathFieldSize)) return {};
    if (path.find('\0') != std::string_view::npos)
        return "A path with a zero byte cannot be stored with the settings";
    return "The path is too long to be stored with the settings (" + std::to_string(path.size()) +
           " bytes, at most " + std::to_string(kPathFieldSize - 1) + "): " + std::string(path);
}

namespace {

std::string logo_field_problem(std::string_view what, std::string_view text, std::size_t width) {
    if (fits_text_field(text, width)) return {};
    if (text.find('\0') != std::string_view::npos)
        return "A logo " + std::string(what) + " with a zero byte cannot be stored with the settings";
    return "The logo " + std::string(what) + " is too long to be stored with the settings (" +
           std::to_string(text.size()) + " bytes, at most " + std::to_string(width - 1) + ")";
}

}  // namespace

std::string encode_settings_record(const SettingsRecord& rec,
                                   std::span<std::uint8_t, kSettingsRecordSize> out) {
    if (auto problem = stored_path_problem(rec.source_path); !problem.empty()) return problem;
    const bool picture_logo = rec.logo_kind == LogoKind::Picture;
    if (auto problem = logo_field_problem(picture_logo ? "path" : "text", rec.logo_text, kLogoTextFieldSize);
        !problem.empty())
        return problem;
    if (auto problem = logo_field_problem("font", rec.logo_face, kLogoFaceFieldSize); !problem.empty())
        return problem;
    std::memset(out.data(), 0, out.size());
    std::memcpy(out.data() + o::signature, kSignature.data(), kSignatureSize);
    put_text(out, o::path, kPathFieldSize, rec.source_path);
    put_i32(out, o::version, rec.version);
    put_i32(out, o::interpolation, rec.interpolation);
    put_i32(out, o::blur, rec.blur);
    put_i32(out, o::threshold, rec.threshold);
    put_i32(out, o::out_width, rec.out_width);
    put_i32(out, o::out_height, rec.out_height);
    put_i32(out, o::dpi, rec.dpi);
    put_i32(out, o::dilation, rec.dilation);
    put_i32(out, o::gap, rec.gap);
    put_i32(out, o::k_mean, rec.k_mean);
    put_i32(out, o::filter_kind, rec.filter_kind);
    put_i32(out, o::transform_mode, rec.transform_mode);
    put_f32(out, o::max_size, rec.max_size);
    put_f32(out, o::min_size, rec.min_size);
    put_u8(out, o::flag_byte, rec.flag_byte);
    for (int i = 0; i < kCyclingCount; ++i) put_u8(out, o::cycling + i, rec.cycling[i] ? 1 : 0);
    put_u8(out, o::motion_pack, rec.motion_pack ? 1 : 0);
    put_u32(out, o::background, rec.background);
    put_i32(out, o::global_brightness, rec.global_brightness);
    put_f64(out, o::impact_x, rec.impact_x);
    put_f64(out, o::impact_y, rec.impact_y);
    if (rec.has_filter_seed) {
        put_u8(out, o::has_filter_seed, 1);
        put_u32(out, o::filter_seed, rec.filter_seed);
    }
    put_u8(out, o::alphabet_layout, rec.alphabet_layout);
    put_u8(out, o::alphabet_bold, rec.alphabet_bold ? 1 : 0);
    put_u8(out, o::alphabet_italic, rec.alphabet_italic ? 1 : 0);
    put_i32(out, o::alphabet_rows, rec.alphabet_rows);
    if (rec.logo_kind != LogoKind::None) {
        put_u8(out, o::logo_kind, std::uint8_t(rec.logo_kind));
        put_u8(out, o::logo_transparency, rec.logo_transparency);
        put_text(out, o::logo_text, kLogoTextFieldSize, rec.logo_text);
        put_text(out, o::logo_face, kLogoFaceFieldSize, rec.logo_face);
    }
    if (const Drawing& d = rec.drawing; d.kind != DrawingKind::None) {
        put_u8(out, o::drawing_kind, std::uint8_t(d.kind));
        put_u8(out, o::drawing_layer, std::uint8_t(d.layer));
        put_u8(out, o::drawing_burst, std::uint8_t(d.burst));
        put_u8(out, o::drawing_lead, std::uint8_t(d.lead));
        put_u32(out, o::drawing_lead_colour, d.lead_colour);
        put_f64(out, o::drawing_spike_width, d.spike_width);
    }
    return {};
}

bool has_signature(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= kSignatureSize &&
           std::memcmp(bytes.data(), kSignature.data(), kSignatureSize) == 0;
}

namespace {

bool in_range(std::int32_t v, std::int32_t lo, std::int32_t hi) {
    return v >= lo && v <= hi;
}
bool size_fraction(float v) {
    return std::isfinite(v) && v >= 0.0f;
}

}  // namespace

RecordStatus decode_settings_record(std::span<const std::uint8_t, kSettingsRecordSize> in,
                                    SettingsRecord& rec) {
    if (!has_signature(in)) return RecordStatus::NoSignature;
    SettingsRecord r;
    r.version = get_i32(in, o::version);
    if (r.version != kMetadataVersion) return RecordStatus::OtherVersion;
    if (!get_text(in, o::path, kPathFieldSize, r.source_path)) return RecordStatus::Invalid;
    r.interpolation = get_i32(in, o::interpolation);
    r.blur = get_i32(in, o::blur);
    r.threshold = get_i32(in, o::threshold);
    r.out_width = get_i32(in, o::out_width);
    r.out_height = get_i32(in, o::out_height);
    r.dpi = get_i32(in, o::dpi);
    r.dilation = get_i32(in, o::dilation);
    r.gap = get_i32(in, o::gap);
    r.k_mean = get_i32(in, o::k_mean);
    r.filter_kind = get_i32(in, o::filter_kind);
    r.transform_mode = get_i32(in, o::transform_mode);
    r.max_size = get_f32(in, o::max_size);
    r.min_size = get_f32(in, o::min_size);
    r.flag_byte = in[o::flag_byte];
    for (int i = 0; i < kCyclingCount; ++i) r.cycling[i] = in[o::cycling + i];
    const std::uint8_t pack = in[o::motion_pack];
    r.background = get_u32(in, o::background);
    r.global_brightness = get_i32(in, o::global_brightness);
    r.impact_x = get_f64(in, o::impact_x);
    r.impact_y = get_f64(in, o::impact_y);
    const std::uint8_t has_seed = in[o::has_filter_seed];
    if (has_seed > 1) return RecordStatus::Invalid;
    r.has_filter_seed = has_seed == 1;
    if (r.has_filter_seed) r.filter_seed = get_u32(in, o::filter_seed);
    r.alphabet_layout = in[o::alphabet_layout];
    const std::uint8_t bold = in[o::alphabet_bold], italic = in[o::alphabet_italic];
    r.alphabet_bold = bold == 1;
    r.alphabet_italic = italic == 1;
    r.alphabet_rows = get_i32(in, o::alphabet_rows);
    if (r.alphabet_layout > 2 || bold > 1 || italic > 1 || !in_range(r.alphabet_rows, 0, kMaxAlphabetRows))
        return RecordStatus::Invalid;
    const std::uint8_t logo = in[o::logo_kind];
    if (logo > std::uint8_t(LogoKind::Picture)) return RecordStatus::Invalid;
    r.logo_kind = LogoKind(logo);
    if (r.logo_kind != LogoKind::None) {
        r.logo_transparency = in[o::logo_transparency];
        if (!get_text(in, o::logo_text, kLogoTextFieldSize, r.logo_text) ||
            !get_text(in, o::logo_face, kLogoFaceFieldSize, r.logo_face))
            return RecordStatus::Invalid;
    }

    if (const std::uint8_t kind = in[o::drawing_kind]; kind != 0) {
        Drawing& d = r.drawing;
        if (kind > std::uint8_t(DrawingKind::BurstSpikes)) return RecordStatus::Invalid;
        d.kind = DrawingKind(kind);
        d.layer = in[o::drawing_layer];
        d.burst = in[o::drawing_burst];
        d.lead = in[o::drawing_lead];
        d.lead_colour = get_u32(in, o::drawing_lead_colour);
        d.spike_width = get_f64(in, o::drawing_spike_width);
        if (d.layer > 8 || d.burst < 1 || d.burst > kMaxBurst || d.lead > kMaxLead ||
            d.lead_colour > 0xFFFFFFu || !(d.spike_width > 0 && d.spike_width <= kMaxSpikeWidth))
            return RecordStatus::Invalid;
    }

    // Values that no window could have produced: refusing them here keeps a hostile block from
    // steering later stages into huge allocations or out-of-range tables.
    const bool ok = in_range(r.interpolation, 1, 50) && in_range(r.blur, 0, 10) && r.threshold >= 0 &&
                    in_range(r.out_width, 0, kMaxOutputSide) && in_range(r.out_height, 0, kMaxOutputSide) &&
                    r.dpi >= 0 && r.dilation >= 0 && r.gap >= 0 && r.k_mean >= 0 &&
                    in_range(r.filter_kind, 0, 8) && in_range(r.transform_mode, 0, 2) &&
                    size_fraction(r.max_size) && size_fraction(r.min_size) && pack <= 1 &&
                    r.background <= 0xFFFFFFu && r.impact_x >= 0 && r.impact_x < 1 && r.impact_y >= 0 &&
                    r.impact_y < 1;
    if (!ok) return RecordStatus::Invalid;
    for (auto c : r.cycling)
        if (c > 1) return RecordStatus::Invalid;
    r.motion_pack = pack == 1;
    rec = std::move(r);
    return RecordStatus::Ok;
}

}  // namespace velq
