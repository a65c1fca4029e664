// The Segments menu and segment picking: what Disable, Enable, Disable all, Enable all, Change color
// and All enclosed selection do to the Document's Segments, and which Segment the mouse picks. The
// window calls these and repaints on Host::refresh(Refresh::Outlines); the renderer skips disabled
// Segments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "app/document.h"
#include "app/view.h"

namespace velq {

// The Segments the menu acts on: the selected one and, with "All enclosed selection" on, every
// Segment inside it (its children, theirs, and so on). Empty when no valid Segment is selected.
std::vector<std::size_t> selected_segments(const Document& doc);

// Which Segments-menu items are offered: Enable and Disable swap with the selected Segment's flag.
struct SegmentMenuState {
    bool disable = false;
    bool enable = false;
    bool change_color = false;
};
SegmentMenuState segment_menu_state(const Document& doc);

// "Disable" / "Enable": the enabled flag of the selected Segments. False when none is selected.
bool set_selected_segments_enabled(Document& doc, Host& host, bool enabled);

// "Disable all" / "Enable all".
void set_all_segments_enabled(Document& doc, Host& host, bool enabled);

// The colour the chooser opens with, packed red in the low byte: the selected Segment's display
// colour once a render has set it, its own colour before. False when none is selected.
bool segment_chooser_colour(const Document& doc, std::uint32_t& colorref);

// "Change color" confirmed: red, green and blue go into the selected Segments' colour and into the
// own colour of each of their circles; status line 1 reads "Color Picking Succeed".
bool change_segment_colour(Document& doc, Host& host, std::uint32_t colorref);

// "All enclosed selection": toggles the view flag; when it turns on, the selection is shown again.
void toggle_all_enclosed(Document& doc, Host& host);

// Hovering at control position (x, y): the hovered outline becomes the Segment under the cursor
// (any label 1..count), or none. Only after a transform. True when it changed.
bool hover_segment(Document& doc, Host& host, const ViewRect& rect, double x, double y);

// A double click: the selected segment takes the raw label, then the Segment's index when the label
// is 1..count-1, and its outline is selected. Only after a transform; nothing outside the picture.
// True when a Segment was picked.
bool double_click_segment(Document& doc, Host& host, const ViewRect& rect, double x, double y);

// Right click: no selected outline.
void clear_segment_selection(Document& doc, Host& host);

}  // namespace velq
