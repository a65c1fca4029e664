// The frame loop of an animated export: one frame every 1/30 s from 0 up to and including the
// animation's length, each drawn by a frame source, scaled into the video frame and handed to a
// sink, with the bouncing logo, the titles and the progress of the export.
#pragma once

#include <memory>
#include <string>

#include "host/host.h"
#include "image/buffer.h"
#include "video/frame_layout.h"
#include "video/frame_scaler.h"
#include "video/video_sink.h"

namespace velq {

class FrameSource {
public:
    virtual ~FrameSource() = default;
    // The picture at t with the logo centred at the fractions (logo_x, logo_y); null when stopped or
    // failed (after the system's message). The buffer stays the source's.
    virtual const UBUFFER* frame(double t, double logo_x, double logo_y) = 0;
    // Back to the state before the first frame, for a second pass; false on failure.
    virtual bool rewind() = 0;
};

// The logo's two fractions: a from 1.0 by -0.01, b from 0.0 by +0.005, each step reversing once
// its value reaches 0 or 1 (100 and 200 frames a sweep).
struct LogoBounce {
    double a = 1.0, b = 0.0;
    double step_a = -0.01, step_b = 0.005;
    void advance();
};

// Where the logo is on frame n of a video (frame 0 at time 0, 30 frames a second).
LogoBounce logo_at_frame(int n);

// Opens `file` through the sink at the layout's video size, then writes frames while
// duration >= t and no stop is requested. A stopped export is still finished into a playable file.
// Returns 0 when a file was written, -1 when none was (the sink or the source said why).
int write_animation(Host& host, VideoSink& sink, FrameSource& source, const std::string& file,
                    const FrameLayout& layout, double duration);

// Scales a picture into the sink's frame at the layout's offset (area averaging when it shrinks,
// row copies when the sizes match), making `scaler` for the sizes when it has none for them. False
// when the scaling could not get its memory.
bool place_frame(const UBUFFER& picture, const FrameLayout& layout, std::unique_ptr<FrameScaler>& scaler,
                 UBUFFER& frame);

}  // namespace velq
