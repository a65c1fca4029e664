#include "app/segments_export.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace velq {
namespace {

int byte(double v) {
    return int(std::clamp(v, 0.0, 255.0));
}

nlohmann::json colour_json(const ColourRecord& c) {
    return {c.c0, c.c1, c.c2, c.c3};
}

std::string hex(const ColourRecord& c) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "#%02x%02x%02x", byte(c.c0), byte(c.c1), byte(c.c2));
    return buf;
}

// Numbers in the C locale with every digit a coordinate has.
std::string num(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

}  // namespace

nlohmann::json segments_json(const std::vector<Segment>& segments) {
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Segment& s = segments[i];
        nlohmann::json outline = nlohmann::json::array();
        for (const BoundaryPoint& p : s.loop.points) outline.push_back({p.x, p.y});
        list.push_back({{"index", i},
                        {"enabled", s.enabled},
                        {"colour", colour_json(s.colour)},
                        {"outline", std::move(outline)},
                        {"children", s.child_segments}});
    }
    return list;
}

nlohmann::json segment_circles_json(const std::vector<Segment>& segments, int width, int height) {
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (const Circle& c : segments[i].circles) {
            list.push_back({{"x", c.x * width},
                            {"y", c.y * height},
                            {"radius", c.radius},
                            {"colour", colour_json(c.own)},
                            {"segment", i}});
        }
    }
    return list;
}

void write_segments_svg(std::ostream& out, const std::vector<Segment>& segments, int width, int height) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n";
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Segment& s = segments[i];
        if (!s.enabled) continue;
        out << "<g id=\"segment-" << i << "\">\n";
        if (s.loop.points.size() >= 3) {
            out << "<path fill=\"none\" stroke=\"" << hex(s.colour) << "\" stroke-width=\"0.5\" d=\"";
            for (std::size_t k = 0; k < s.loop.points.size(); ++k)
                out << (k == 0 ? "M" : " L") << num(s.loop.points[k].x) << ' ' << num(s.loop.points[k].y);
            out << " Z\"/>\n";
        }
        for (const Circle& c : s.circles) {
            out << "<circle cx=\"" << num(c.x * width) << "\" cy=\"" << num(c.y * height) << "\" r=\""
                << num(c.radius) << "\" fill=\"" << hex(c.own) << "\"/>\n";
        }
        out << "</g>\n";
    }
    out << "</svg>\n";
}

}  // namespace velq
