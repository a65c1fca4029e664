// A corner's candidate circle: centred on the corner's bisector, touching both edge lines of the
// corner (radius t x s at walk distance t, s the sine of the half-angle), grown along the bisector
// while the brush-size map allows, never past the largest radius and never into another edge of
// the outline. Used by the packer and, with a plain scan over all edges, by its test reference.
#pragma once

#include <cstdint>
#include <vector>

#include "image/buffer.h"
#include "transform/outline_set.h"

namespace velq::pack {

struct CornerRules {
    double min_radius = 0, max_radius = 0, gap = 0;
    const IBUFFER* map = nullptr;   // brush sizes; absent: candidates take the largest radius
    double map_sx = 1, map_sy = 1;  // map width / picture width, map height / picture height
};

struct Candidate {
    bool ok = false;  // accepted: radius >= smallest, > 0 and > GAP / 2
    Vec2 centre;
    double radius = 0;  // the candidate's radius (the circle that is cut out)
    // The result depends on the corner's own points, the map, and the edges that meet the cone swept
    // by the growing circle: centre apex + t dir, radius t spread, for t up to `length`.
    bool has_reach = false;
    Vec2 apex, dir;
    double spread = 0, length = 0;
};

// How the edges that limit a candidate are found: through the grid (only the edges near the growing
// circle) or by looking at every edge. Both give the same candidate.
enum class EdgeSearch { Local, All };

class CornerEvaluator {
public:
    CornerEvaluator(OutlineSet& set, const CornerRules& rules);
    Candidate evaluate(int v, EdgeSearch search);

    // Extra room around every search box, far above rounding: an edge just outside a box can never
    // decide a candidate that the box was meant to cover.
    static constexpr double kSlack = 1e-3;

private:
    struct Corner;
    double contact(const Corner& k, int e) const;
    bool map_stops(Vec2 p, double r) const;

    OutlineSet& set_;
    CornerRules rules_;
    double diagonal_;  // no candidate reaches further than the outline's extent
    double chunk_;     // length of bisector searched at a time
};

}  // namespace velq::pack
