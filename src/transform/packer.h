// The circle packer: fills a region (an outer ring minus hole rings, in working-picture pixels) with
// non-overlapping circles grown from the region's corners. The Normal transform packs the picture
// frame against the brush-size map; the Vectorize transform packs each segment minus its children.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/circle.h"

namespace velq {

struct PackPoint {
    double x = 0, y = 0;
};

// A closed ring: the last point joins the first (do not repeat the first point). Either orientation.
using PackRing = std::vector<PackPoint>;

// The region to pack: inside `outer` and outside every hole. Rings with fewer than 3 points are ignored.
struct PackRegion {
    PackRing outer;
    std::vector<PackRing> holes;
};

// What the packer did, for tests and benchmarks.
struct PackStats {
    std::size_t corner_evaluations = 0;  // candidates computed
    std::size_t cuts = 0;                // circles cut out of the region
    std::size_t slow_topology = 0;       // cuts that needed whole-ring walks (holes, 3-way splits)
    std::size_t retried_cuts = 0;        // cuts redone with a turned polygon after an inconsistent splice
    std::size_t refused_cuts = 0;        // candidates dropped because no consistent cut was found
};

struct PackOptions {
    double min_radius = 1.1;  // a candidate counts only with at least this radius (pixels)
    double max_radius = 0;    // no candidate is larger (pixels)
    double gap = 1.0;         // GAP: accepted circles are stored GAP / 2 smaller than their candidate
    // Optional brush-size map: candidates grow only while they stay within its brush size. It may be
    // smaller than the picture; map-to-picture scale = map size / (picture_width, picture_height).
    const IBUFFER* brush_map = nullptr;
    int picture_width = 0, picture_height = 0;
    // Live view: accepted circles are passed to Host::circles_added in batches, at most this often.
    double live_interval_seconds = 0.04;
    // Progress: called with an estimate of the share of the packing done (0..1, never decreasing),
    // together with the live view's batches.
    std::function<void(double)> progress;
    PackStats* stats = nullptr;  // filled when given
};

// Packs `region`. Returns the circles in the order they were accepted: centre in pixels, radius the
// stored one (candidate - GAP / 2), own colour white. Stops early, keeping what it has, when the
// host's stop flag is set. Uses no randomness: the same input gives the same circles in the same order.
std::vector<Circle> pack_circles(const PackRegion& region, const PackOptions& options, Host& host);

namespace pack {
struct CornerRules;
// The rules a corner's candidate follows under these options (radii, GAP, the brush-size map and
// its map-to-picture scale when the map and the picture size are given).
CornerRules corner_rules(const PackOptions& options);
}  // namespace pack

}  // namespace velq
