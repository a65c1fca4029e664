#include "cli/circles_json.h"

#include <nlohmann/json.hpp>

namespace velq::cli {

std::string circles_json(const CircleExport& e) {
    nlohmann::ordered_json out;
    out["format"] = kCirclesFormat;
    out["transform"] = e.transform;
    out["width"] = e.width;
    out["height"] = e.height;
    auto circles = nlohmann::ordered_json::array();
    for (const ExportedCircle& c : e.circles) {
        nlohmann::ordered_json item;
        item["x"] = c.x;
        item["y"] = c.y;
        item["radius"] = c.radius;
        item["colour"] = c.colour;
        item["segment"] = c.segment < 0 ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(c.segment);
        circles.push_back(std::move(item));
    }
    out["circles"] = std::move(circles);
    auto segments = nlohmann::ordered_json::array();
    for (const ExportedSegment& s : e.segments) {
        auto outline = nlohmann::ordered_json::array();
        for (const BoundaryPoint& p : s.outline) outline.push_back({p.x, p.y});
        nlohmann::ordered_json item;
        item["index"] = s.index;
        item["colour"] = s.colour;
        item["outline"] = std::move(outline);
        item["children"] = s.children;
        segments.push_back(std::move(item));
    }
    out["segments"] = std::move(segments);
    return out.dump(1) + "\n";
}

}  // namespace velq::cli
