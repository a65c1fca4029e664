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

// A letter's outline as SVG path data: every contour closed, curves kept as curves.
void write_curves(std::ostream& out, const std::vector<PathCommand>& curves) {
    static constexpr char kLetter[] = {'M', 'L', 'Q', 'C'};
    bool open = false;
    for (const PathCommand& c : curves) {
        if (c.op == PathCommand::Op::Move && open) out << "Z ";
        open = true;
        const int n = c.op == PathCommand::Op::Cubic ? 3 : c.op == PathCommand::Op::Quad ? 2 : 1;
        out << kLetter[int(c.op)];
        for (int i = 0; i < n; ++i) out << (i ? " " : "") << num(c.p[i].x) << ' ' << num(c.p[i].y);
        out << ' ';
    }
    if (open) out << 'Z';
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
        if (!s.curves.empty()) {
            out << "<path fill=\"none\" stroke=\"" << hex(s.colour) << "\" stroke-width=\"0.5\" d=\"";
            write_curves(out, s.curves);
            out << "\"/>\n";
        } else if (s.outline.size() >= 3) {
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
