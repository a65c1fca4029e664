#include "transform/segment_fill.h"

#include <algorithm>
#include <new>

#include "host/progress.h"
#include "transform/packer.h"

namespace velq {
namespace {

PackRing ring(const std::vector<BoundaryPoint>& pts) {
    PackRing r;
    r.reserve(pts.size());
    for (const BoundaryPoint& p : pts) r.push_back({p.x, p.y});
    return r;
}

}  // namespace

PackRegion pack_region(const SegmentRegion& region) {
    PackRegion r;
    r.outer = ring(region.outer);
    for (const auto& h : region.holes) r.holes.push_back(ring(h));
    return r;
}

bool fill_circle_into_segment_algo3(Segment& segment, double min_radius, double max_radius, double gap,
                                    int width, int height, Host& host) {
    segment.circles.clear();
    std::vector<PackRegion> regions;
    try {
        for (const SegmentRegion& r : segment.regions) regions.push_back(pack_region(r));
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate roi_buf and ieod in fill_circle_into_segment_algo3");
        return false;
    }
    PackOptions options;
    options.min_radius = min_radius;
    options.max_radius = max_radius;
    options.gap = gap;
    options.picture_width = width;
    options.picture_height = height;
    try {
        for (const PackRegion& r : regions) {
            if (host.stopped()) break;
            std::vector<Circle> circles = pack_circles(r, options, host);
            for (Circle& c : circles) c.own = segment.colour;
            segment.circles.insert(segment.circles.end(), circles.begin(), circles.end());
        }
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate pixels in fill_circle_into_segment_algo3");
        return false;
    }
    return true;
}

std::optional<std::size_t> fill_circle_algo2(std::vector<Segment>& segments, const SegmentFillParams& params,
                                             int width, int height, Host& host) {
    for (Segment& s : segments) s.circles.clear();
    if (width < 1 || height < 1) return 0;
    const double min_rel = std::max(1.1 / width, params.min_size);
    if (min_rel >= params.max_size) {
        host.message("Invalid MAX, MIN value in fill_circle_algo2()");
        return std::nullopt;
    }
    bool failed = false;
    {
        Progress progress(host, "Transforming");
        for (std::size_t i = 0; i < segments.size() && !host.stopped(); ++i) {
            Segment& s = segments[i];
            if (s.enabled && !fill_circle_into_segment_algo3(s, width * min_rel, width * params.max_size,
                                                             params.gap, width, height, host)) {
                failed = true;
                break;
            }
            progress.update(std::int64_t(i + 1), std::int64_t(segments.size()));
        }
    }
    // Accepted circles keep their colour and fractional centre even after Stop.
    std::size_t count = 0;
    for (Segment& s : segments) {
        for (Circle& c : s.circles) {
            c.x /= width;
            c.y /= height;
        }
        count += s.circles.size();
    }
    if (failed) return std::nullopt;
    return count;
}

}  // namespace velq
