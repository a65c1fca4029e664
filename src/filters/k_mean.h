// K-mean colour reduction: clusters the distinct colours of a picture (each counts once, however
// many pixels carry it) into K groups and repaints every pixel with its group's centre.
#pragma once

#include <cstdint>
#include <span>

#include "host/host.h"
#include "image/buffer.h"

namespace velq {

inline constexpr int kKMeanIterations = 10;

// Reduces a BGRA picture in place to at most k colours, alpha 255. The result is the same on every
// run. Returns 0; -1 with "Invalid K-Mean value. It must be larger than 1" when k < 2, or with
// "Failed to allocate palette in reduce_color_by_k_mean()" when memory is short (the picture is then
// unchanged). After Stop, pixels whose colour was never assigned to a cluster keep their values.
int reduce_color_by_k_mean(Host& host, UBUFFER& picture, int k);

// Colour table index of a BGRA pixel: (R << 16) + (G << 8) + B.
inline std::uint32_t colour_index(const std::uint8_t* bgra) {
    return (std::uint32_t(bgra[2]) << 16) + (std::uint32_t(bgra[1]) << 8) + bgra[0];
}
inline constexpr std::uint32_t kColourTableSize = 1u << 24;

// A cluster centre: R, G, B and alpha (always 255) as doubles.
struct KMeanCentre {
    double r = 0, g = 0, b = 0, a = 255.0;
};

// The last step: every pixel whose colour has a cluster in `table` (kColourTableSize entries, -1 for
// none) takes that centre's B, G, R truncated and alpha 255; the others keep their values.
void paint_clusters(UBUFFER& picture, const std::int32_t* table, std::span<const KMeanCentre> centres);

}  // namespace velq
