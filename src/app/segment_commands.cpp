#include "app/segment_commands.h"

#include <cmath>

namespace velq {
namespace {

bool valid_index(const Document& doc, int i) {
    return i >= 0 && std::size_t(i) < doc.segments.size();
}

}  // namespace

std::vector<std::size_t> selected_segments(const Document& doc) {
    std::vector<std::size_t> out;
    if (!valid_index(doc, doc.selected_segment)) return out;
    out.push_back(std::size_t(doc.selected_segment));
    if (!doc.toggles.all_enclosed) return out;
    std::vector<char> seen(doc.segments.size(), 0);
    seen[out[0]] = 1;
    for (std::size_t k = 0; k < out.size(); ++k) {
        for (std::size_t c : doc.segments[out[k]].child_segments) {
            if (c >= doc.segments.size() || seen[c]) continue;
            seen[c] = 1;
            out.push_back(c);
        }
    }
    return out;
}

SegmentMenuState segment_menu_state(const Document& doc) {
    SegmentMenuState s;
    if (!valid_index(doc, doc.selected_segment)) return s;
    const bool on = doc.segments[std::size_t(doc.selected_segment)].enabled;
    s.disable = on;
    s.enable = !on;
    s.change_color = true;
    return s;
}

bool set_selected_segments_enabled(Document& doc, Host& host, bool enabled) {
    const std::vector<std::size_t> sel = selected_segments(doc);
    if (sel.empty()) return false;
    for (std::size_t i : sel) doc.segments[i].enabled = enabled;
    host.refresh(Refresh::Outlines);
    return true;
}

void set_all_segments_enabled(Document& doc, Host& host, bool enabled) {
    for (Segment& s : doc.segments) s.enabled = enabled;
    host.refresh(Refresh::Outlines);
}

bool segment_chooser_colour(const Document& doc, std::uint32_t& colorref) {
    if (!valid_index(doc, doc.selected_segment)) return false;
    const Segment& s = doc.segments[std::size_t(doc.selected_segment)];
    const ColourRecord& c = doc.rendered ? s.display : s.colour;
    auto byte = [](double v) { return int(std::fmin(255.0, std::fmax(0.0, v))); };
    colorref = pack_colorref(byte(c.c0), byte(c.c1), byte(c.c2));
    return true;
}

bool change_segment_colour(Document& doc, Host& host, std::uint32_t colorref) {
    const std::vector<std::size_t> sel = selected_segments(doc);
    if (sel.empty()) return false;
    const double r = colorref_red(colorref), g = colorref_green(colorref), b = colorref_blue(colorref);
    for (std::size_t i : sel) {
        Segment& s = doc.segments[i];
        s.colour.c0 = r;
        s.colour.c1 = g;
        s.colour.c2 = b;
        for (Circle& c : s.circles) {
            c.own.c0 = r;
            c.own.c1 = g;
            c.own.c2 = b;
        }
    }
    host.status(1, "Color Picking Succeed");
    host.refresh(Refresh::Outlines);
    return true;
}

void toggle_all_enclosed(Document& doc, Host& host) {
    doc.toggles.all_enclosed = !doc.toggles.all_enclosed;
    if (doc.toggles.all_enclosed) host.refresh(Refresh::Outlines);
}

bool hover_segment(Document& doc, Host& host, const ViewRect& rect, double x, double y) {
    if (!doc.transformed) return false;
    const int pick = hover_pick(rect, x, y, doc.label_map, int(doc.segments.size()));
    if (pick == doc.hovered_outline) return false;
    doc.hovered_outline = pick;
    host.refresh(Refresh::Outlines);
    return true;
}

bool double_click_segment(Document& doc, Host& host, const ViewRect& rect, double x, double y) {
    if (!doc.transformed) return false;
    const DoubleClickPick pick = double_click_pick(rect, x, y, doc.label_map, int(doc.segments.size()));
    if (!pick.inside) return false;
    doc.selected_segment = pick.selected_segment;
    if (!pick.picked) return false;
    doc.selected_outline = pick.selected_segment;
    host.refresh(Refresh::Outlines);
    return true;
}

void clear_segment_selection(Document& doc, Host& host) {
    doc.selected_outline = -1;
    host.refresh(Refresh::Outlines);
}

}  // namespace velq
