// The spike drawing and the cell picture as Document operations: made from the placements of one
// layer at the render's size, over the background and under the logo, replacing the rendered
// picture so that saving, copying the settings and everything after a render work on it.
#pragma once

#include "app/document.h"
#include "render/drawing.h"

namespace velq {

// Replaces the render with `drawing` ("Velquinograph (Drawing cells...)" or "(Drawing spikes...)").
// Needs a render ("Please render first") and a layer with circles to draw; -1 after the message
// otherwise. Stopping leaves the render as it was and returns 0. On success the drawing is recorded
// with the render's settings.
int make_drawing(Document& doc, Host& host, const Drawing& drawing, int threads = 0);

// The drawing alone, without the logo, over the background in `picture` (4 channels, any size): 0,
// 1 when stopped, -1 after the message when there is nothing to draw.
int draw_picture(Document& doc, Host& host, const Drawing& drawing, UBUFFER& picture, Progress* progress,
                 int threads = 0);

// After a render: makes the drawing the settings name, if any (a reopened result, a tool run). 0 when
// there is none or it was made; -1 when it could not be made, or was stopped.
int redraw_recorded(Document& doc, Host& host);

// The problem with a drawing's numbers, or "" when they can be used.
std::string drawing_problem(const Drawing& drawing);

}  // namespace velq
