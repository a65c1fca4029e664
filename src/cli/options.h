// The options that several subcommands share, named after the main window's fields, and how they
// are applied to a Document. Each subcommand adds the groups it understands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "app/document.h"
#include "cli/passage_options.h"

namespace velq::cli {

struct PictureOptions {
    std::optional<int> interpolation, blur, threshold;
    std::optional<std::string> memory;  // 15M 30M 45M 60M
    std::optional<std::string> filter;  // normal, half-shuffle, ...
    std::optional<std::string> impact;  // FX,FY for Broken glass
    std::optional<int> k_mean;
    std::optional<double> max_size;  // Matrix bands read Max as well
    std::optional<int> gap;
    std::optional<std::uint32_t> seed;
    bool quiet = false;
};

struct TransformOptions {
    std::optional<double> min_size;
    std::optional<int> dilation;
    std::optional<std::string> transform;  // normal, vectorize, alphabet
    std::optional<std::string> alphabet_text, alphabet_file;
    std::optional<std::string> alphabet_font;    // FACE[:bold][:italic]
    std::optional<std::string> alphabet_layout;  // lines, packed, inverse
    std::optional<int> alphabet_rows;
    std::optional<std::string> camera;  // YAW,PITCH,DISTANCE for a 3D model without a camera
};

struct OutputOptions {
    std::optional<std::string> unit;  // pixel inch cm meter
    std::optional<int> dpi;
    std::optional<double> width, height;    // output size in the unit
    std::optional<std::string> background;  // RRGGBB
    std::optional<int> global_brightness;
    std::vector<std::string> layers;  // I:opt[,opt...]
    PassageOptions passages;
};

// --int --blu --thr --memory --filter --impact --k --max --gap --seed --quiet
void add_picture_options(CLI::App& cmd, PictureOptions& o);
// --min --dil --transform and the Alphabet transform's --alphabet-* options
void add_transform_options(CLI::App& cmd, TransformOptions& o);
// --unit --dpi --width --height --background --global-brightness --layer --passage...
void add_output_options(CLI::App& cmd, OutputOptions& o);

// Apply the options given on the line over the Document's settings. A bad value is a usage error:
// the returned text says why (empty on success).
std::string apply_picture_options(const PictureOptions& o, Document& doc);
std::string apply_transform_options(const TransformOptions& o, Document& doc);
// The --alphabet-* options over the Alphabet settings.
std::string apply_alphabet_options(const TransformOptions& o, AlphabetSettings& a);
// Output size and layers; call after the picture is open (the size keeps the picture's aspect).
// The passages (o.passages) are drawn after it, by apply_passage_options.
std::string apply_output_options(const OutputOptions& o, Document& doc, Host& host);

// The filter kind of a --filter name; nullopt for unknown or not offered names.
std::optional<int> filter_kind_from_name(const std::string& name);
// The impact point of "FX,FY", both strictly between 0 and 1; nullopt otherwise.
std::optional<std::pair<double, double>> impact_from_text(const std::string& text);
// A packed colour (red in the low byte) from "RRGGBB" in hexadecimal; nullopt otherwise.
std::optional<std::uint32_t> colour_from_text(const std::string& text);
// Memory limit of "15M".."60M".
std::optional<std::int64_t> memory_limit_from_name(const std::string& name);

}  // namespace velq::cli
