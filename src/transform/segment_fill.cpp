#include "transform/segment_fill.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "host/progress.h"
#include "transform/packer.h"
#include "transform/region_packing.h"

namespace velq {
namespace {

// The area of a polygon (shoelace), either orientation.
double polygon_area(const std::vector<BoundaryPoint>& pts) {
    double a = 0;
    for (std::size_t i = 0, j = pts.size() - 1; i < pts.size(); j = i++)
        a += pts[j].x * pts[i].y - pts[i].x * pts[j].y;
    return pts.size() < 3 ? 0 : std::fabs(a) / 2;
}

double region_area(const SegmentRegion& region) {
    double a = polygon_area(region.outer);
    for (const auto& h : region.holes) a -= polygon_area(h);
    return std::max(0.0, a);
}

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

namespace {

// The regions of `segments` (those enabled) packed together, over `threads` threads: each Segment's
// circle list becomes its regions' circles in order, in the Segment's colour. `progress` hears the
// share of the area done. False, with the described message, when memory runs out; Segments after
// the one that failed are left empty.
bool fill_segments(const std::vector<Segment*>& segments, double min_radius, double max_radius, double gap,
                   int width, int height, int threads, Host& host,
                   const std::function<void(double)>& progress) {
    std::vector<PackRegion> regions;
    std::vector<double> areas;
    std::vector<std::size_t> first;  // per Segment: its first region
    try {
        for (Segment* s : segments) {
            s->circles.clear();
            first.push_back(regions.size());
            for (const SegmentRegion& r : s->regions) {
                regions.push_back(pack_region(r));
                areas.push_back(region_area(r));
            }
        }
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate roi_buf and ieod in fill_circle_into_segment_algo3");
        return false;
    }
    first.push_back(regions.size());
    PackOptions options;
    options.min_radius = min_radius;
    options.max_radius = max_radius;
    options.gap = gap;
    options.picture_width = width;
    options.picture_height = height;
    RegionPacking packed = pack_regions(regions, areas, options, threads, host, progress);
    for (std::size_t k = 0; k < segments.size(); ++k) {
        Segment& s = *segments[k];
        if (first[k] > packed.out_of_memory) break;
        try {
            for (std::size_t i = first[k]; i < first[k + 1]; ++i) {
                for (Circle& c : packed.circles[i]) c.own = s.colour;
                s.circles.insert(s.circles.end(), packed.circles[i].begin(), packed.circles[i].end());
            }
        } catch (const std::bad_alloc&) {
            packed.out_of_memory = std::min(packed.out_of_memory, first[k]);
        }
        if (packed.out_of_memory < first[k + 1]) {
            host.message("Failed to allocate pixels in fill_circle_into_segment_algo3");
            return false;
        }
    }
    return true;
}

}  // namespace

bool fill_circle_into_segment_algo3(Segment& segment, double min_radius, double max_radius, double gap,
                                    int width, int height, Host& host,
                                    const std::function<void(double)>& progress) {
    return fill_segments({&segment}, min_radius, max_radius, gap, width, height, 0, host, progress);
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
        // The bar follows the area packed so far, which the time taken follows far better than the
        // number of Segments: a few large ones take most of it.
        Progress progress(host, "Transforming");
        std::vector<Segment*> enabled;
        for (Segment& s : segments)
            if (s.enabled) enabled.push_back(&s);
        failed = !fill_segments(enabled, width * min_rel, width * params.max_size, params.gap, width, height,
                                params.threads, host, [&](double f) { progress.set(int(f * 100)); });
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
