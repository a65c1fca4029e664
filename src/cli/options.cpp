#include "cli/options.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "app/units.h"
#include "cli/layer_options.h"
#include "filters/filter.h"

namespace velq::cli {

void add_picture_options(CLI::App& cmd, PictureOptions& o) {
    cmd.add_option("--int", o.interpolation, "INT: enlargement of the working picture (1..50, default 5)");
    cmd.add_option("--blu", o.blur, "BLU: blur radius (0..10, default 1)");
    cmd.add_option("--thr", o.threshold, "THR: colour threshold (default 20)");
    cmd.add_option("--memory", o.memory, "memory limit of the working picture: 15M, 30M, 45M or 60M");
    cmd.add_option(
        "--filter", o.filter,
        "colour filter: normal, half-shuffle, triple-shuffle, matrix, inverse-contrast, contrast-up, prism, "
        "broken-glass, k-mean");
    cmd.add_option("--impact", o.impact,
                   "Broken glass: impact point FX,FY as fractions of the picture (default: from the seed)");
    cmd.add_option("--k", o.k_mean, "K-Mn: colours of the k-mean filter (2 and up, default 2)");
    cmd.add_option("--max", o.max_size, "Max: largest circle, fraction of the larger side (default 0.02)");
    cmd.add_option("--gap", o.gap, "GAP: pixels between circles (default 1)");
    cmd.add_option("--seed", o.seed, "seed of the random features (default: the clock)");
    cmd.add_flag("--quiet", o.quiet, "no progress line");
}

void add_transform_options(CLI::App& cmd, TransformOptions& o) {
    cmd.add_option("--min", o.min_size, "Min: smallest circle, fraction of the larger side (default 0.0005)");
    cmd.add_option("--dil", o.dilation, "DIL: dilation of segments (default 0)");
    cmd.add_option("--transform", o.transform, "transform: normal, vectorize or alphabet");
    cmd.add_option("--alphabet-text", o.alphabet_text, "Alphabet: the text to set (default: a built-in one)");
    cmd.add_option("--alphabet-file", o.alphabet_file, "Alphabet: read the text from this UTF-8 file");
    cmd.add_option("--alphabet-font", o.alphabet_font,
                   "Alphabet: font face, FACE[:bold][:italic] (default DejaVu Sans:bold)");
    cmd.add_option("--alphabet-layout", o.alphabet_layout,
                   "Alphabet: lines, packed or inverse (default lines)");
    cmd.add_option("--alphabet-rows", o.alphabet_rows,
                   "Alphabet: rows of the lines layout (default: from Max)");
    cmd.add_option(
        "--camera", o.camera,
        "YAW,PITCH,DISTANCE: how a 3D model without a camera is seen (degrees, degrees, model radii; "
        "default 0,0,3)");
}

void add_output_options(CLI::App& cmd, OutputOptions& o) {
    cmd.add_option("--unit", o.unit, "unit of --width and --height: pixel, inch, cm, meter");
    cmd.add_option("--dpi", o.dpi, "dots per inch for the unit (default: the picture's)");
    cmd.add_option("--width", o.width, "output width in the unit (the height follows the picture's aspect)");
    cmd.add_option("--height", o.height, "output height in the unit");
    cmd.add_option("--background", o.background, "background colour RRGGBB (default 000000)");
    cmd.add_option("--global-brightness", o.global_brightness, "added to every shape's shade (default 0)");
    cmd.add_option("--layer", o.layers, layer_option_help())->take_all();
    cmd.add_option("--passage", o.passages.text,
                   "I=TEXT: layer I draws the characters of TEXT, one per circle");
    cmd.add_option("--passage-file", o.passages.file, "I=PATH: layer I's passage from a UTF-8 text file");
    cmd.add_option("--passage-font", o.passages.font,
                   "I=FACE[:bold][:italic]: the passage font (default Courier New)");
    cmd.add_option("--passage-style", o.passages.style,
                   "I=NAME: flat, outline, shadow, emboss, bevel, bubble, metallic or bubble-metallic");
}

std::optional<int> filter_kind_from_name(const std::string& name) {
    for (int k = 0; k <= int(FilterKind::KMean); ++k) {
        const auto kind = FilterKind(k);
        if (name == filter_cli_name(kind)) return k;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> colour_from_text(const std::string& text) {
    char* end = nullptr;
    const unsigned long v = std::strtoul(text.c_str(), &end, 16);
    if (text.size() != 6 || end != text.c_str() + 6) return std::nullopt;
    return pack_colorref(int(v >> 16) & 255, int(v >> 8) & 255, int(v) & 255);
}

std::optional<std::pair<double, double>> impact_from_text(const std::string& text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) return std::nullopt;
    double v[2];
    const std::string parts[2] = {text.substr(0, comma), text.substr(comma + 1)};
    for (int i = 0; i < 2; ++i) {
        char* end = nullptr;
        v[i] = std::strtod(parts[i].c_str(), &end);
        // Strictly inside: 0 means "from the seed" and an impact on the frame breaks nothing.
        if (parts[i].empty() || *end != '\0' || !(v[i] > 0 && v[i] < 1)) return std::nullopt;
    }
    return std::pair{v[0], v[1]};
}

std::optional<std::int64_t> memory_limit_from_name(const std::string& name) {
    static const char* names[] = {"15M", "30M", "45M", "60M"};
    for (int i = 0; i < 4; ++i)
        if (name == names[i]) return kMemoryLimits[i];
    return std::nullopt;
}

std::string apply_picture_options(const PictureOptions& o, Document& doc) {
    Settings& s = doc.settings;
    if (o.interpolation) s.interpolation = *o.interpolation;
    if (o.blur) s.blur = *o.blur;
    if (o.threshold) s.threshold = *o.threshold;
    if (o.k_mean) s.k_mean = *o.k_mean;
    if (o.max_size) s.max_size = *o.max_size;
    if (o.gap) s.gap = *o.gap;
    if (o.memory) {
        const auto limit = memory_limit_from_name(*o.memory);
        if (!limit) return "--memory must be 15M, 30M, 45M or 60M";
        s.memory_limit = *limit;
    }
    if (o.filter) {
        const auto kind = filter_kind_from_name(*o.filter);
        if (!kind) return "unknown --filter '" + *o.filter + "'";
        s.filter_kind = *kind;
    }
    if (o.impact) {
        const auto point = impact_from_text(*o.impact);
        if (!point) return "--impact takes two fractions between 0 and 1, like 0.4,0.6";
        s.impact_x = point->first;
        s.impact_y = point->second;
    }
    if (o.seed) doc.seeds.fix(*o.seed);
    return {};
}

std::string apply_transform_options(const TransformOptions& o, Document& doc) {
    Settings& s = doc.settings;
    if (o.min_size) s.min_size = *o.min_size;
    if (o.dilation) s.dilation = *o.dilation;
    if (o.transform) {
        if (*o.transform == "normal") {
            s.transform_mode = 0;
        } else if (*o.transform == "vectorize") {
            s.transform_mode = 1;
        } else if (*o.transform == "alphabet") {
            s.transform_mode = 2;
        } else {
            return "--transform must be normal, vectorize or alphabet";
        }
    }
    if (o.camera) {
        ViewAngles a;
        char tail = 0;
        if (std::sscanf(o.camera->c_str(), "%lf,%lf,%lf%c", &a.yaw, &a.pitch, &a.distance, &tail) != 3 ||
            !std::isfinite(a.yaw) || !std::isfinite(a.pitch) || !(a.distance > 0) ||
            !std::isfinite(a.distance))
            return "--camera needs YAW,PITCH,DISTANCE with a distance above 0, not '" + *o.camera + "'";
        doc.pack_view = a;
    }
    return apply_alphabet_options(o, s.alphabet);
}

std::string apply_alphabet_options(const TransformOptions& o, AlphabetSettings& a) {
    if (o.alphabet_text && o.alphabet_file) return "--alphabet-text and --alphabet-file cannot both be given";
    if (o.alphabet_text) a.text = *o.alphabet_text;
    if (o.alphabet_file) {
        std::ifstream in(*o.alphabet_file, std::ios::binary);
        std::ostringstream text;
        if (!in || !(text << in.rdbuf())) return "Cannot read the alphabet file " + *o.alphabet_file;
        a.text = text.str();
    }
    if ((o.alphabet_text || o.alphabet_file) && a.text.size() >= kAlphabetTextLimit)
        return "The alphabet text is too long (at most " + std::to_string(kAlphabetTextLimit - 1) + " bytes)";
    if (o.alphabet_font) {
        std::string face = *o.alphabet_font;
        a.bold = a.italic = false;
        for (std::size_t colon; (colon = face.rfind(':')) != std::string::npos;) {
            const std::string style = face.substr(colon + 1);
            if (style == "bold") {
                a.bold = true;
            } else if (style == "italic") {
                a.italic = true;
            } else {
                return "--alphabet-font takes FACE, FACE:bold, FACE:italic or FACE:bold:italic";
            }
            face.erase(colon);
        }
        if (face.empty() || face.size() >= kAlphabetFaceLimit) return "--alphabet-font needs a face name";
        a.face = face;
    }
    if (o.alphabet_layout) {
        static const char* names[] = {"lines", "packed", "inverse"};
        auto it = std::find(std::begin(names), std::end(names), *o.alphabet_layout);
        if (it == std::end(names)) return "--alphabet-layout must be lines, packed or inverse";
        a.layout = int(it - std::begin(names));
    }
    if (o.alphabet_rows) {
        if (*o.alphabet_rows < 1 || *o.alphabet_rows > kAlphabetRowsLimit)
            return "--alphabet-rows must be 1 to " + std::to_string(kAlphabetRowsLimit);
        a.rows = *o.alphabet_rows;
    }
    return {};
}

std::string apply_output_options(const OutputOptions& o, Document& doc, Host& host) {
    Settings& s = doc.settings;
    if (o.unit) {
        static const char* names[] = {"pixel", "inch", "cm", "meter"};
        auto it = std::find(std::begin(names), std::end(names), *o.unit);
        if (it == std::end(names)) return "--unit must be pixel, inch, cm or meter";
        s.unit = Unit(it - std::begin(names));
        rewrite_size_fields(s);
    }
    if (o.dpi) {
        if (*o.dpi < 1) return "--dpi must be 1 or more";
        s.dpi = *o.dpi;
        rewrite_size_fields(s);
    }
    const int pw = doc.working.width(), ph = doc.working.height();
    if (o.width && o.height) return "give --width or --height, not both (the other follows the picture)";
    if (o.width) {
        if (*o.width <= 0) return "--width must be above 0";
        set_width_field(s, pw, ph, *o.width);
    }
    if (o.height) {
        if (*o.height <= 0) return "--height must be above 0";
        set_height_field(s, pw, ph, *o.height);
    }
    if ((o.width || o.height) && (s.out_width < 1 || s.out_height < 1))
        return "the output size must be at least 1 x 1 pixels";
    if (o.background) {
        const auto colour = colour_from_text(*o.background);
        if (!colour) return "--background must be RRGGBB in hexadecimal";
        doc.background = *colour;
    }
    if (o.global_brightness) s.global_brightness = *o.global_brightness;
    for (const std::string& text : o.layers) {
        std::string error = apply_layer_option(text, doc, host);
        if (!error.empty()) return error;
    }
    return {};
}

}  // namespace velq::cli
