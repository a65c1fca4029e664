// Export frame to PSD: the animation's frame at a time as a layered picture file. The merged picture
// is the frame the video shows at that time; the layers are the background, the first layer (never
// animated), every other shown layer's animation drawn alone at that time, and the logo where the
// video has it. Moving shapes of different layers that pass in front of each other are stacked by
// layer in the file (the merged picture keeps their true order).
#pragma once

#include <string>

#include "app/document.h"

namespace velq {

// Renders the frame at t for width x height (as Render frame does, into doc.frame_buffer) and writes
// it to `path` through a temporary file renamed into place. 0, or -1 after the message (the
// timestamp's, the size limit's, a write failure; none when stopped).
int export_frame_psd(Document& doc, Host& host, const std::string& path, int width, int height, double t);

}  // namespace velq
