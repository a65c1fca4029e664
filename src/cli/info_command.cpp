// velquino info FILE [--json]: the settings and layers a saved result carries.
#include <cstdio>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "app/metadata.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/drawing_options.h"
#include "cli/passage_options.h"
#include "filters/filter.h"
#include "host/utf8.h"
#include "render/palette.h"
#include "render/passage_style.h"

namespace velq::cli {

namespace {

constexpr const char* kTransformNames[] = {"Normal", "Vectorize", "Alphabet"};

std::string palette_name(const std::vector<Palette>& palettes, int index) {
    if (index >= 0 && std::size_t(index) < palettes.size()) return palettes[std::size_t(index)].name;
    return "#" + std::to_string(index);
}

std::string options_text(const LayerRecord& r) {
    std::string s;
    auto add = [&](bool on, const char* name) {
        if (!on) return;
        if (!s.empty()) s += ", ";
        s += name;
    };
    add(r.random, "Radom");
    add(r.shuffle, "Shuffle");
    add(r.invert, "Invert");
    add(r.convert, "Convert");
    return s.empty() ? "none" : s;
}

std::string shapes_text(const LayerEntry& e) {
    const LayerRecord& r = e.record;
    if (!r.has_shapes) return "none";
    if (r.first_shape_only) return "default disc";
    if (r.passage_mode) return "passage characters";
    std::string s;
    for (const auto& p : e.shape_paths) s += (s.empty() ? "" : ", ") + p;
    return s.empty() ? "none" : s;
}

// The background as RRGGBB, from the packed colour (red in the low byte).
std::string background_text(std::uint32_t c) {
    char text[8];
    std::snprintf(text, sizeof text, "%02X%02X%02X", unsigned(c & 255), unsigned(c >> 8 & 255),
                  unsigned(c >> 16 & 255));
    return text;
}

std::string logo_text(const SettingsRecord& s) {
    const std::string trans = ", transparency " + std::to_string(s.logo_transparency);
    switch (s.logo_kind) {
        case LogoKind::None:
            break;
        case LogoKind::Text:
            return "text \"" + s.logo_text + "\" in " + (s.logo_face.empty() ? "Courier New" : s.logo_face) +
                   trans;
        case LogoKind::Picture:
            return "picture " + s.logo_text + trans;
    }
    return "none";
}

void print_text(const std::string& file, const SettingsBlock& block) {
    const SettingsRecord& s = block.settings;
    std::printf("Settings of %s\n", file.c_str());
    std::printf("  source       %s%s\n", s.source_path.c_str(), s.motion_pack ? " (motion pack)" : "");
    std::printf("  version      %d\n", s.version);
    std::printf("  INT %d  BLU %d  THR %d  GAP %d  DIL %d  K-Mn %d\n", s.interpolation, s.blur, s.threshold,
                s.gap, s.dilation, s.k_mean);
    std::printf("  Max %f  Min %f\n", restored_size_fraction(s.max_size), restored_size_fraction(s.min_size));
    std::printf("  output       %d x %d pixels, %d dpi\n", s.out_width, s.out_height, s.dpi);
    std::printf("  filter       %s\n", std::string(filter_menu_text(FilterKind(s.filter_kind))).c_str());
    std::printf("  transform    %s\n", kTransformNames[s.transform_mode]);
    std::printf("  background   %s\n", background_text(s.background).c_str());
    std::printf("  brightness   %d\n", s.global_brightness);
    if (s.impact_x > 0 || s.impact_y > 0) std::printf("  impact       %g,%g\n", s.impact_x, s.impact_y);
    if (s.has_filter_seed) std::printf("  filter seed  %u\n", unsigned(s.filter_seed));
    std::printf("  logo         %s\n", logo_text(s).c_str());
    if (const Drawing& d = s.drawing; d.kind != DrawingKind::None)
        std::printf("  drawing      %s of layer %d, spike width %g, burst %d, lead %d %s\n",
                    std::string(drawing_kind_name(d.kind)).c_str(), d.layer, d.spike_width, d.burst, d.lead,
                    background_text(d.lead_colour).c_str());
    std::printf("Layers\n");
    const auto palettes = make_palettes();
    for (std::size_t i = 0; i < block.layers.size(); ++i) {
        const LayerEntry& e = block.layers[i];
        const LayerRecord& r = e.record;
        std::printf("  Ly%d - %s T(%d)-S(%d)-B(%d)  palette %s  options %s\n", int(i),
                    r.shown ? "Shown" : "Hidden", r.transparency, r.size, r.brightness,
                    palette_name(palettes, r.palette).c_str(), options_text(r).c_str());
        std::printf("      shapes: %s\n", shapes_text(e).c_str());
        if (!e.passage.empty())
            std::printf("      passage: %zu UTF-16 units, style %s, font %s%s%s\n", e.passage.size(),
                        std::string(passage_style_name(PassageStyle(r.passage_style))).c_str(),
                        r.font.face.c_str(), r.font.weight >= 600 ? " bold" : "",
                        r.font.italic ? " italic" : "");
    }
}

void print_json(const SettingsBlock& block) {
    const SettingsRecord& s = block.settings;
    nlohmann::ordered_json j;
    j["version"] = s.version;
    j["source"] = s.source_path;
    j["int"] = s.interpolation;
    j["blu"] = s.blur;
    j["thr"] = s.threshold;
    j["width"] = s.out_width;
    j["height"] = s.out_height;
    j["dpi"] = s.dpi;
    j["dil"] = s.dilation;
    j["gap"] = s.gap;
    j["k"] = s.k_mean;
    j["filter"] = s.filter_kind;
    j["transform"] = s.transform_mode;
    j["max"] = restored_size_fraction(s.max_size);
    j["min"] = restored_size_fraction(s.min_size);
    j["background"] = background_text(s.background);
    j["global_brightness"] = s.global_brightness;
    if (s.impact_x > 0 || s.impact_y > 0) {
        j["impact"] = {s.impact_x, s.impact_y};
    } else {
        j["impact"] = nullptr;
    }
    if (s.has_filter_seed) {
        j["filter_seed"] = s.filter_seed;
    } else {
        j["filter_seed"] = nullptr;
    }
    if (s.logo_kind == LogoKind::None) {
        j["logo"] = nullptr;
    } else {
        nlohmann::ordered_json logo;
        if (s.logo_kind == LogoKind::Text) {
            logo["text"] = s.logo_text;
            logo["font"] = s.logo_face.empty() ? "Courier New" : s.logo_face;
        } else {
            logo["picture"] = s.logo_text;
        }
        logo["transparency"] = s.logo_transparency;
        j["logo"] = std::move(logo);
    }
    if (const Drawing& d = s.drawing; d.kind != DrawingKind::None) {
        j["drawing"] = {{"kind", std::string(drawing_kind_name(d.kind))},
                        {"layer", d.layer},
                        {"spike_width", d.spike_width},
                        {"burst", d.burst},
                        {"lead", d.lead},
                        {"lead_colour", background_text(d.lead_colour)}};
    } else {
        j["drawing"] = nullptr;
    }
    auto layers = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < block.layers.size(); ++i) {
        const LayerEntry& e = block.layers[i];
        const LayerRecord& r = e.record;
        nlohmann::ordered_json l;
        l["index"] = i;
        l["shown"] = r.shown;
        l["trans"] = r.transparency;
        l["size"] = r.size;
        l["bright"] = r.brightness;
        l["palette"] = r.palette;
        l["random"] = r.random;
        l["shuffle"] = r.shuffle;
        l["invert"] = r.invert;
        l["convert"] = r.convert;
        l["shapes"] = e.shape_paths;
        if (r.passage_mode) {
            l["passage"] = {
                {"text", utf8_of(e.passage)},  {"style", passage_style_name(PassageStyle(r.passage_style))},
                {"font", r.font.face},         {"bold", r.font.weight >= 600},
                {"italic", r.font.italic},     {"casefold", r.case_folding},
                {"keep_blanks", r.keep_blanks}};
        }
        layers.push_back(std::move(l));
    }
    j["layers"] = std::move(layers);
    // Paths are bytes; a name that is not UTF-8 is shown with replacement characters.
    std::puts(j.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

int run_info(const std::string& file, bool json) {
    CliHost host(true);
    SettingsBlock block;
    if (!read_metadata_block(host, file, block)) {
        if (!host.said_something()) host.message("No metadata found!");
        return 1;
    }
    if (json)
        print_json(block);
    else
        print_text(file, block);
    return 0;
}

}  // namespace

void add_info_command(CLI::App& app, int& exit_code) {
    struct Options {
        std::string file;
        bool json = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* cmd = app.add_subcommand("info", "Print the settings block of a saved result");
    cmd->add_option("FILE", o->file, "a picture saved with its settings")->required();
    cmd->add_flag("--json", o->json, "print the settings as JSON");
    cmd->callback([o, &exit_code] { exit_code = run_info(o->file, o->json); });
}

}  // namespace velq::cli
