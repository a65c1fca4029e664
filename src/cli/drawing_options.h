// The render command's options for the spike drawing and the cell picture.
#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "app/document.h"

namespace velq::cli {

struct DrawingOptions {
    std::optional<std::string> kind;  // cells, cells-crystal, spikes-web, spikes-burst
    std::optional<int> layer, burst, lead;
    std::optional<double> spike_width;
    std::optional<std::string> lead_colour;  // RRGGBB
};

// The --draw name of a kind ("cells", ...); "" for none.
std::string_view drawing_kind_name(DrawingKind kind);

// --draw --draw-layer --spike-width --burst --lead --lead-colour
void add_drawing_options(CLI::App& cmd, DrawingOptions& o);
// Sets the Document's drawing from the options over what it holds (a reopened result's drawing);
// the text says why a value cannot be used (empty on success).
std::string apply_drawing_options(const DrawingOptions& o, Document& doc);

}  // namespace velq::cli
