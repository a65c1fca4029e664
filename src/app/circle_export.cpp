#include "app/circle_export.h"

#include <algorithm>

#include "app/transform_driver.h"

namespace velq {

namespace {

// Segment colours are means: fractions are cut off, as a painted byte would be.
std::array<int, 4> bytes_of(const ColourRecord& c) {
    auto byte = [](double v) { return int(std::clamp(v, 0.0, 255.0)); };
    return {byte(c.c0), byte(c.c1), byte(c.c2), byte(c.c3)};
}

ExportedCircle exported(const Circle& c, int width, int height, int segment) {
    return {c.x * width, c.y * height, c.radius, bytes_of(c.own), segment};
}

}  // namespace

CircleExport gather_circles(const Document& doc) {
    CircleExport out;
    out.width = doc.working.width();
    out.height = doc.working.height();
    const int mode = doc.settings.transform_mode;
    if (mode != int(TransformMode::Vectorize) && mode != int(TransformMode::Alphabet)) {
        out.transform = "normal";
        for (const Circle& c : doc.circles) out.circles.push_back(exported(c, out.width, out.height, -1));
        return out;
    }
    out.transform = mode == int(TransformMode::Alphabet) ? "alphabet" : "vectorize";
    for (std::size_t i = 0; i < doc.segments.size(); ++i) {
        const Segment& s = doc.segments[i];
        if (!s.enabled) continue;
        out.segments.push_back({int(i), bytes_of(s.colour), s.loop.points, s.child_segments, s.curves});
        for (const Circle& c : s.circles) out.circles.push_back(exported(c, out.width, out.height, int(i)));
    }
    return out;
}

}  // namespace velq
