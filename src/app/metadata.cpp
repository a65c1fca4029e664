#include "app/metadata.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "app/layer_fields.h"
#include "app/units.h"
#include "persistence/settings_block_file.h"

namespace velq {

static_assert(kAlphabetTextLimit == layer_offset::alphabet_text_size &&
              kAlphabetFaceLimit == layer_offset::alphabet_face_size &&
              kAlphabetRowsLimit == kMaxAlphabetRows);

namespace {

LayerEntry entry_of(const Layer& layer) {
    LayerEntry e;
    LayerRecord& r = e.record;
    for_each_shared_layer_field(layer, r, [](const auto& from, auto& to) { to = from; });
    r.passage_mode = layer.passage_mode;
    r.shape_cursor = layer.shape_cursor;
    r.passage_cursor = layer.passage_cursor;
    r.passage_style = std::uint8_t(layer.passage_style);
    r.first_shape_only = layer.first_shape_only;
    r.has_shapes = layer.has_shapes();
    e.passage = layer.passage;
    if (r.shapes_from_files())
        for (const auto& shape : layer.shapes) e.shape_paths.push_back(shape->name);
    return e;
}

std::string absolute_path(const std::string& path) {
    if (path.empty()) return path;
    std::error_code ec;
    const auto abs = std::filesystem::absolute(path, ec);
    return ec ? path : abs.lexically_normal().string();
}

}  // namespace

std::string make_settings_block(const Document& doc, bool rendered, SettingsBlock& block) {
    const Settings& s = rendered ? doc.rendered_settings : doc.settings;
    SettingsBlock b;
    SettingsRecord& r = b.settings;
    r.source_path = absolute_path(doc.path);
    r.interpolation = s.interpolation;
    r.blur = s.blur;
    r.threshold = s.threshold;
    r.out_width = s.out_width;
    r.out_height = s.out_height;
    r.dpi = s.dpi;
    r.dilation = s.dilation;
    r.gap = s.gap;
    r.k_mean = s.k_mean;
    r.filter_kind = s.filter_kind;
    r.transform_mode = s.transform_mode;
    r.max_size = float(s.max_size);
    r.min_size = float(s.min_size);
    r.flag_byte = doc.flag_byte ? 1 : 0;
    for (int i = 0; i < kCyclingCount; ++i) r.cycling[i] = doc.cycling[i] ? 1 : 0;
    r.motion_pack = doc.motion_pack_loaded;
    r.background = rendered ? doc.rendered_background : doc.background;
    r.global_brightness = s.global_brightness;
    r.impact_x = s.impact_x;
    r.impact_y = s.impact_y;
    r.has_filter_seed = s.filter_seed.has_value();
    r.filter_seed = s.filter_seed.value_or(0);
    r.drawing = s.drawing;
    if (const auto& logo = rendered ? doc.rendered_logo : doc.logo_choice) {
        r.logo_kind = logo->text ? LogoKind::Text : LogoKind::Picture;
        r.logo_transparency = std::uint8_t(std::clamp(logo->transparency, 0, 255));
        r.logo_text = logo->text ? logo->text_line : logo->path;
        if (logo->text) r.logo_face = logo->face;
    }
    r.alphabet_layout = std::uint8_t(std::clamp(s.alphabet.layout, 0, 2));
    r.alphabet_bold = s.alphabet.bold;
    r.alphabet_italic = s.alphabet.italic;
    r.alphabet_rows = std::clamp(s.alphabet.rows, 0, kMaxAlphabetRows);
    for (const Layer& layer : doc.layers) b.layers.push_back(entry_of(layer));
    if (!b.layers.empty()) {
        b.layers.front().record.alphabet_text = s.alphabet.text;
        b.layers.front().record.alphabet_face = s.alphabet.face;
    }
    std::array<std::uint8_t, kSettingsRecordSize> scratch;
    if (auto problem = encode_settings_record(r, scratch); !problem.empty()) return problem;
    block = std::move(b);
    return {};
}

double restored_size_fraction(float stored) {
    return parse_double(format_double(double(stored)));
}

bool read_metadata_block(Host& host, const std::string& path, SettingsBlock& block) {
    const BlockFileRead read = read_settings_block(path, block);
    if (!read.opened) {
        host.message("Failed to open file - " + path);
        return false;
    }
    switch (read.status) {
        case BlockStatus::Ok:
            return true;
        case BlockStatus::None:
            return false;
        case BlockStatus::Invalid:
            host.message("Invalid metadata found!");
            return false;
        case BlockStatus::OtherVersion:
            host.message("Found a meta data of the previous version. (" + path + ")");
            return false;
    }
    return false;
}

bool detect_metadata(Host& host, const std::string& path) {
    SettingsBlock block;
    return read_metadata_block(host, path, block);
}

int write_metadata(const Document& doc, Host& host, const std::string& path) {
    SettingsBlock block;
    std::vector<std::uint8_t> bytes;
    std::string problem = make_settings_block(doc, true, block);
    if (problem.empty()) problem = encode_file_block(block, bytes);
    if (!problem.empty()) {
        host.message(problem);
        return -1;
    }
    // A file that never opens is given up silently (the picture stays without its block); a write that
    // fails half way is worth telling.
    switch (append_settings_block(host, path, bytes)) {
        case AppendResult::Written:
            return 0;
        case AppendResult::NotOpened:
            return -1;
        case AppendResult::WriteFailed:
            host.message("Failed to write meta data - " + path);
            return -1;
    }
    return -1;
}

std::vector<std::uint8_t> copy_metadata(const Document& doc, Host& host) {
    SettingsBlock block;
    std::vector<std::uint8_t> bytes;
    std::string problem = make_settings_block(doc, doc.rendered, block);
    if (problem.empty()) problem = encode_block_body(block, bytes);
    if (!problem.empty()) host.message(problem);
    return bytes;
}

}  // namespace velq
