#include <algorithm>

#include "app/layer_fields.h"
#include "app/logo_choice.h"
#include "app/metadata.h"
#include "app/units.h"
#include "image/file_types.h"
#include "render/passage_shapes.h"

namespace velq {

namespace {

// A new layer from its entry: the default disc when the record says so, the shapes reloaded from
// their files when they came from files, the passage characters drawn again from the passage, font
// and style (a passage that cannot be drawn leaves the layer with its passage and no shapes).
int layer_from_entry(Host& host, const LayerEntry& e, Layer& layer) {
    const LayerRecord& r = e.record;
    layer = Layer(host, r.first_shape_only && r.has_shapes);
    for_each_shared_layer_field(layer, r, [](auto& to, const auto& from) { to = from; });
    layer.passage = e.passage;
    layer.passage_style = PassageStyle(r.passage_style);
    int result = 0;
    if (r.shapes_from_files())
        result = load_shapes(host, layer, e.shape_paths);
    else if (r.passage_mode && r.has_shapes && !r.first_shape_only)
        result = set_layer_passage(host, layer, layer_passage_choice(layer));
    else
        layer.apply_tone();
    layer.passage_mode = r.passage_mode;
    layer.first_shape_only = r.first_shape_only;
    // The cursors are where the layer stood; rendering starts them again from 0.
    const int n = int(layer.shapes.size());
    layer.shape_cursor = r.shape_cursor < n ? r.shape_cursor : 0;
    layer.passage_cursor = std::size_t(r.passage_cursor) < layer.passage.size() ? r.passage_cursor : 0;
    layer.current = n > 0 ? layer.shapes[std::size_t(layer.shape_cursor)].get() : nullptr;
    return result;
}

}  // namespace

bool block_fits_document(const Document& doc, const SettingsBlock& block) {
    if (block.layers.size() != doc.layers.size()) return false;
    return std::all_of(block.layers.begin(), block.layers.end(), [&](const LayerEntry& e) {
        return std::size_t(e.record.palette) < doc.palettes.size();
    });
}

void apply_block_settings(Document& doc, const SettingsRecord& r) {
    Settings& s = doc.settings;
    s.transform_mode = r.transform_mode;
    s.filter_kind = r.filter_kind;
    s.blur = r.blur;
    s.dilation = r.dilation;
    s.gap = r.gap;
    s.threshold = r.threshold;
    s.interpolation = r.interpolation;
    s.k_mean = r.k_mean;
    s.max_size = restored_size_fraction(r.max_size);
    s.min_size = restored_size_fraction(r.min_size);
    // The stored output size is in pixels, so the pixel unit shows it as it is.
    s.unit = Unit::Pixel;
    rewrite_size_fields(s);
    s.global_brightness = r.global_brightness;
    s.impact_x = r.impact_x;
    s.impact_y = r.impact_y;
    s.filter_seed = r.has_filter_seed ? std::optional<std::uint32_t>(r.filter_seed) : std::nullopt;
    s.drawing = r.drawing;
    s.alphabet.layout = r.alphabet_layout;
    s.alphabet.bold = r.alphabet_bold;
    s.alphabet.italic = r.alphabet_italic;
    s.alphabet.rows = r.alphabet_rows;
    doc.background = r.background;
    doc.flag_byte = r.flag_byte != 0;
    for (int i = 0; i < kCyclingCount; ++i) doc.cycling[std::size_t(i)] = r.cycling[std::size_t(i)] != 0;
}

void restore_output_size(Document& doc, const SettingsRecord& r) {
    Settings& s = doc.settings;
    s.dpi = r.dpi;
    if (r.out_width > 0 && r.out_height > 0) {
        s.out_width = r.out_width;
        s.out_height = r.out_height;
    }
    rewrite_size_fields(s);
}

int apply_block_layers(Document& doc, Host& host, const SettingsBlock& block) {
    std::vector<Layer> layers;
    layers.reserve(block.layers.size());
    int result = 0;
    for (const LayerEntry& e : block.layers) {
        layers.emplace_back(host, false);
        if (layer_from_entry(host, e, layers.back()) != 0) result = -1;
    }
    doc.layers = std::move(layers);
    if (!block.layers.empty()) {
        doc.settings.alphabet.text = block.layers.front().record.alphabet_text;
        doc.settings.alphabet.face = block.layers.front().record.alphabet_face;
    }
    host.refresh(Refresh::Layers);
    return result;
}

int apply_block_logo(Document& doc, Host& host, const SettingsRecord& r) {
    if (r.logo_kind == LogoKind::None) {
        doc.logo.reset();
        doc.logo_choice.reset();
        doc.logo_transparency = 255;
        return 0;
    }
    LogoChoice choice;
    choice.text = r.logo_kind == LogoKind::Text;
    choice.transparency = r.logo_transparency;
    if (choice.text) {
        choice.text_line = r.logo_text;
        if (!r.logo_face.empty()) choice.face = r.logo_face;
    } else {
        choice.path = r.logo_text;
        if (!file_exists(choice.path)) {
            host.message("The logo picture cannot be read (" + choice.path + "); the result has no logo");
            doc.logo.reset();
            doc.logo_choice.reset();
            return -1;
        }
    }
    return choose_logo(doc, host, choice);
}

int load_layers(Document& doc, Host& host, const std::string& path) {
    SettingsBlock block;
    if (!read_metadata_block(host, path, block)) {
        host.message("No metadata found!");
        return -1;
    }
    if (!block_fits_document(doc, block)) {
        host.message("Invalid metadata found!");
        return -1;
    }
    return apply_block_layers(doc, host, block);
}

}  // namespace velq
