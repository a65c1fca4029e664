// The decorative drawings made from a result's placements instead of its shapes: the picture tiled
// by the circles' cells ("pebble": power cells, "crystal": plain nearest-centre cells) with lead
// lines between them, or every circle drawn as a spiky star ("web": a spike to each neighbour,
// meeting the neighbour's spike on the line between them; "burst": a fixed number turned by the
// picture's gradient).
#pragma once

#include <cstdint>
#include <span>

#include "host/host.h"
#include "host/progress.h"
#include "image/buffer.h"
#include "render/placement.h"

namespace velq {

enum class DrawingKind : std::uint8_t {
    None = 0,
    PebbleCells = 1,
    CrystalCells = 2,
    WebSpikes = 3,
    BurstSpikes = 4
};

struct Drawing {
    DrawingKind kind = DrawingKind::None;
    int layer = 1;                  // whose placements and colours are drawn
    double spike_width = 1.0;       // times the usual width of a spike's base
    int burst = 7;                  // spikes per circle of the burst kind
    int lead = 1;                   // width of the lead lines between cells, output pixels
    std::uint32_t lead_colour = 0;  // packed, red in the low byte

    bool operator==(const Drawing&) const = default;
};

inline constexpr int kMaxBurst = 64, kMaxLead = 64;
inline constexpr double kMaxSpikeWidth = 10.0;

// Draws the placements over what `buffer` (4 channels, the output size) holds, each in its paint
// colour raised by the global brightness. `picture` (any size, 4 channels) is the picture whose
// gradient turns the burst spikes; it is read at the placements' places scaled to its size.
// `threads` 0 means one per core; the bytes are the same for any number. False when stopped.
bool paint_drawing(Host& host, const Drawing& drawing, std::span<const Placement> placements,
                   const UBUFFER& picture, int global_brightness, UBUFFER& buffer, Progress* progress,
                   int threads = 0);

}  // namespace velq
