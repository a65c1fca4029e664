#include "app/circles_svg.h"

#include <charconv>
#include <cstdio>

namespace velq {

namespace {

std::string hex(const std::array<int, 4>& c) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "#%02x%02x%02x", c[0], c[1], c[2]);
    return buf;
}

// The shortest text that reads back as the same number, in the C locale: the JSON form holds the
// same values.
std::string num(double v) {
    char buf[32];
    const auto end = std::to_chars(buf, buf + sizeof buf, v).ptr;
    return std::string(buf, end);
}

void write_circle(std::ostream& out, const ExportedCircle& c) {
    out << "<circle cx=\"" << num(c.x) << "\" cy=\"" << num(c.y) << "\" r=\"" << num(c.radius) << "\" fill=\""
        << hex(c.colour) << "\"/>\n";
}

}  // namespace

void write_circles_svg(std::ostream& out, const CircleExport& e) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << e.width << "\" height=\"" << e.height
        << "\" viewBox=\"0 0 " << e.width << ' ' << e.height << "\">\n";
    std::size_t next = 0;
    for (; next < e.circles.size() && e.circles[next].segment < 0; ++next) write_circle(out, e.circles[next]);
    for (const ExportedSegment& s : e.segments) {
        out << "<g id=\"segment-" << s.index << "\">\n";
        if (s.outline.size() >= 3) {
            out << "<path fill=\"none\" stroke=\"" << hex(s.colour) << "\" stroke-width=\"0.5\" d=\"";
            for (std::size_t k = 0; k < s.outline.size(); ++k)
                out << (k == 0 ? "M" : " L") << num(s.outline[k].x) << ' ' << num(s.outline[k].y);
            out << " Z\"/>\n";
        }
        for (; next < e.circles.size() && e.circles[next].segment == s.index; ++next)
            write_circle(out, e.circles[next]);
        out << "</g>\n";
    }
    out << "</svg>\n";
}

}  // namespace velq
