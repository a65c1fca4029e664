#include "cli/drawing_options.h"

#include "app/drawing_op.h"
#include "cli/options.h"

namespace velq::cli {

namespace {

constexpr std::pair<std::string_view, DrawingKind> kKinds[] = {
    {"cells", DrawingKind::PebbleCells},
    {"cells-crystal", DrawingKind::CrystalCells},
    {"spikes-web", DrawingKind::WebSpikes},
    {"spikes-burst", DrawingKind::BurstSpikes},
};

}  // namespace

std::string_view drawing_kind_name(DrawingKind kind) {
    for (const auto& [name, k] : kKinds)
        if (k == kind) return name;
    return {};
}

void add_drawing_options(CLI::App& cmd, DrawingOptions& o) {
    cmd.add_option("--draw", o.kind,
                   "replace the render with a drawing of its circles: cells (pebble cells), cells-crystal, "
                   "spikes-web or spikes-burst");
    cmd.add_option("--draw-layer", o.layer, "the layer whose circles and colours are drawn (default 1)");
    cmd.add_option("--spike-width", o.spike_width, "spike base width, times the usual (default 1)");
    cmd.add_option("--burst", o.burst, "spikes per circle of spikes-burst, 1..64 (default 7)");
    cmd.add_option("--lead", o.lead, "width of the lines between cells in pixels, 0..64 (default 1)");
    cmd.add_option("--lead-colour", o.lead_colour,
                   "colour of the lines between cells, RRGGBB (default 000000)");
}

std::string apply_drawing_options(const DrawingOptions& o, Document& doc) {
    Drawing d = doc.settings.drawing;
    if (o.kind) {
        const auto it = std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](const auto& k) { return k.first == *o.kind; });
        if (it == std::end(kKinds)) return "--draw must be cells, cells-crystal, spikes-web or spikes-burst";
        d.kind = it->second;
    } else if (d.kind == DrawingKind::None &&
               (o.layer || o.burst || o.lead || o.spike_width || o.lead_colour)) {
        return "the drawing options need --draw";
    }
    if (o.layer) d.layer = *o.layer;
    if (o.burst) d.burst = *o.burst;
    if (o.lead) d.lead = *o.lead;
    if (o.spike_width) d.spike_width = *o.spike_width;
    if (o.lead_colour) {
        const auto colour = colour_from_text(*o.lead_colour);
        if (!colour) return "--lead-colour must be RRGGBB in hexadecimal";
        d.lead_colour = *colour;
    }
    if (std::string problem = drawing_problem(d); !problem.empty()) return problem;
    doc.settings.drawing = d;
    return {};
}

}  // namespace velq::cli
