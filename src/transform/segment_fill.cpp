#include "transform/segment_fill.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "host/progress.h"
#include "transform/packer.h"

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

// The area a Segment's packing covers: its regions minus their holes.
double segment_area(const Segment& segment) {
    double a = 0;
    for (const SegmentRegion& r : segment.regions) a += region_area(r);
    return a;
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

bool fill_circle_into_segment_algo3(Segment& segment, double min_radius, double max_radius, double gap,
                                    int width, int height, Host& host,
                                    const std::function<void(double)>& progress) {
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
    const double total = progress ? segment_area(segment) : 0;
    double done = 0;
    try {
        for (std::size_t i = 0; i < regions.size(); ++i) {
            if (host.stopped()) break;
            const double area = region_area(segment.regions[i]);
            if (total > 0)
                options.progress = [&](double f) { progress(std::min(1.0, (done + f * area) / total)); };
            std::vector<Circle> circles = pack_circles(regions[i], options, host);
            done += area;
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
        // The bar follows the area packed so far, which the time taken follows far better than the
        // number of Segments: a few large ones take most of it.
        Progress progress(host, "Transforming");
        double total = 0, done = 0;
        for (const Segment& s : segments)
            if (s.enabled) total += segment_area(s);
        for (std::size_t i = 0; i < segments.size() && !host.stopped(); ++i) {
            Segment& s = segments[i];
            if (!s.enabled) continue;
            const double area = segment_area(s);
            const auto share = [&](double f) {
                if (total > 0) progress.set(int((done + f * area) * 100 / total));
            };
            if (!fill_circle_into_segment_algo3(s, width * min_rel, width * params.max_size, params.gap,
                                                width, height, host, share)) {
                failed = true;
                break;
            }
            done += area;
            share(0);
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
