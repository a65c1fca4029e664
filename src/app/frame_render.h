// Render frame: one picture of the animation at a timestamp, drawn as the video export draws it,
// the logo where the video has it at that time, into the Document's frame buffer.
#pragma once

#include "app/document.h"

namespace velq {

// Renders the frame at t for width x height. 0; -1 after the system's message (allocation failure,
// "Invalid timestamp (must be between 0.0 and %f" with the animation's length, nothing to animate)
// or when stopped. The frame replaces doc.frame_buffer and is shown through the host.
int render_frame_at(Document& doc, Host& host, int width, int height, double t);

}  // namespace velq
