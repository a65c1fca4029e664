// Where the frames of an export go: the video encoder or the GIF writer. The export fills the
// sink's BGRA picture and asks it to take the frame.
#pragma once

#include <string>

#include "image/buffer.h"

namespace velq {

class VideoSink {
public:
    virtual ~VideoSink() = default;
    // Opens the output for frames of width x height (even); 0, or -1 after the system's message.
    virtual int init_video(const std::string& file, int width, int height) = 0;
    // The BGRA picture of the next frame: width x height x 4, cleared once.
    virtual UBUFFER& source() = 0;
    // Takes the picture as the next frame. 0 taken, 1 the 200-second cap is reached (nothing taken,
    // the output is complete), -1 failed. `time_out` becomes the time of the frame after it.
    virtual int write_video_frame(double& time_out) = 0;
    // Completes the file and renames it into place; 0, or -1 with nothing left behind.
    virtual int finish() = 0;
    // Ends without keeping anything.
    virtual void abandon() = 0;

    // How many pictures the sink would like to see before the first frame (a GIF builds its palette
    // from them); each is handed over through source() and add_sample().
    virtual int samples_wanted() const { return 0; }
    virtual void add_sample() {}
};

}  // namespace velq
