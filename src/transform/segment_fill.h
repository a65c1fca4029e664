// Per-segment packing of the Vectorize transform: every Segment's region (its loop minus its
// children) is packed with the circle packer, and the circles take the Segment's colour.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "host/host.h"
#include "segments/segment.h"
#include "transform/packer.h"

namespace velq {

// The radius bounds and gap of the packing, read from Min, Max and GAP.
struct SegmentFillParams {
    double min_size = 0.0005;  // Min: smallest radius as a fraction of the picture width
    double max_size = 0.02;    // Max: largest radius, same scale
    int gap = 1;               // GAP: pixels kept between circles
    int threads = 0;           // threads packing regions side by side; 0: one per core (same circles)
};

// Packs one Segment's regions into its circle list (replacing it): centres in pixels of the
// width x height picture, radii `min_radius`..`max_radius` pixels, own colour the Segment's colour.
// `progress`, when given, hears the share of the Segment done so far (0..1). False, with the
// described message, when memory runs out.
bool fill_circle_into_segment_algo3(Segment& segment, double min_radius, double max_radius, double gap,
                                    int width, int height, Host& host,
                                    const std::function<void(double)>& progress = {});

// Packs every Segment in order (title "Transforming"), then turns the centres into fractions of the
// picture. Returns the number of circles over all Segments (after a Stop, those packed so far);
// nothing when Min/Max leave no room ("Invalid MAX, MIN value in fill_circle_algo2()") or a Segment
// could not be packed.
std::optional<std::size_t> fill_circle_algo2(std::vector<Segment>& segments, const SegmentFillParams& params,
                                             int width, int height, Host& host);

// The rings of a region as the packer takes them.
PackRegion pack_region(const SegmentRegion& region);

}  // namespace velq
