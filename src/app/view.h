// The picture view's arithmetic and composition: where the picture lies in the picture control, how
// panning, wheel zoom and mouse picking move and read it, and how the view picture is composed from
// the source, the filtered picture and the selected layer's palette. No window code: the desktop
// program calls these with its widget's coordinates, the tests with numbers.
#pragma once

#include <optional>

#include "app/document.h"

namespace velq {

// Where the picture lies in control pixels; right and bottom are exclusive edges.
struct ViewRect {
    int left = 0, top = 0, right = 0, bottom = 0;
    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool operator==(const ViewRect&) const = default;
};

// The view's mouse state besides the rectangle.
struct ViewState {
    ViewRect rect;
    int control_width = 0, control_height = 0;
    double anchor_x = 0, anchor_y = 0;  // where the left button went down, then the last drag position
    bool dragging = false;
};

// Fits a picture into the control keeping its aspect ratio, centred. A degenerate picture or
// control gives the whole control.
ViewRect reset_view(int control_width, int control_height, int picture_width, int picture_height);

// Moves every edge by the truncated difference between (x, y) and the anchor; the anchor follows.
void drag_to(ViewState& state, double x, double y);

// Wheel zoom about the cursor (x, y) by the signed wheel delta: the width grows by twice the delta.
// Nothing (nullopt) when the result would be narrower or lower than 1 % of the control.
std::optional<ViewRect> wheel_zoom(const ViewRect& r, int delta, double x, double y, int control_width,
                                   int control_height, int picture_width, int picture_height);

// The picture pixel under control position (x, y); nullopt outside the picture.
struct PixelPos {
    int col = 0, row = 0;
    bool operator==(const PixelPos&) const = default;
};
std::optional<PixelPos> control_to_pixel(const ViewRect& r, double x, double y, int picture_width,
                                         int picture_height);

// Control position of a picture position (pixels of a picture of the given size).
struct ControlPoint {
    double x = 0, y = 0;
};
ControlPoint pixel_to_control(const ViewRect& r, double px, double py, int picture_width, int picture_height);

// The segment whose outline hovering at (x, y) picks: label L with 1 <= L <= segment count gives
// segment L - 1; -1 for none.
int hover_pick(const ViewRect& r, double x, double y, const IBUFFER& label_map, int segment_count);

// A double click at (x, y): the selected segment takes the raw label first, then L - 1 when
// 1 <= L < segment count (the last segment cannot be picked this way, while hovering accepts it).
struct DoubleClickPick {
    bool inside = false;  // false: outside the picture, nothing changes
    int selected_segment = -1;
    bool picked = false;  // the label was in range; selected_segment is a valid index
};
DoubleClickPick double_click_pick(const ViewRect& r, double x, double y, const IBUFFER& label_map,
                                  int segment_count);

// The layer that colours the composed view: the selected layer when it is 1 or higher, shown and has
// shapes; -1 for none.
int active_layer(const Document& doc);

// Which picture the view shows: the render when Final result is on and a render exists (no outlines
// are drawn over it), else the composed view picture.
enum class ViewSource { None, Composed, Render };
ViewSource view_source(const Document& doc);

// Composes doc.view (working size) from the source (nearest neighbour) and the filtered picture
// (blended by its alpha); before a transform the blend goes through the active layer's palette and
// its Shuffle, Invert and Convert options. Does nothing without a source picture. Returns false when
// the view picture could not be allocated.
bool compose_view(Document& doc);

}  // namespace velq
