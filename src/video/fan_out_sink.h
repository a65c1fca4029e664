// A sink that hands every frame to several sinks, each writing its own file: one drawing of a frame
// serves videos of every size and container. The picture is placed into each output's frame by that
// output's layout (outputs with one layout share the scaling). Each output stands alone: one that
// fails is abandoned (nothing of it is left) while the others go on, so every file is complete or
// absent. The inner sinks may not want samples before the first frame (a GIF does): none are handed on.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "video/frame_layout.h"
#include "video/frame_scaler.h"
#include "video/video_sink.h"

namespace velq {

class FanOutSink : public VideoSink {
public:
    struct Output {
        VideoSink* sink;
        std::string file;
        FrameLayout layout;  // where the picture goes in this output's frame, and the frame's size
    };
    explicit FanOutSink(std::vector<Output> outputs);

    // Takes pictures of width x height and opens every output at its own file and frame size (`file`
    // is not used); -1 when none could be opened.
    int init_video(const std::string& file, int width, int height) override;
    // The picture, not a frame of any output.
    UBUFFER& source() override { return source_; }
    // Places the picture into every open output's frame and hands it on: 0 while one still takes
    // frames, 1 when every output left has reached its cap, -1 when none is left or the scaling
    // could not get its memory.
    int write_video_frame(double& time_out) override;
    // Finishes every output left; 0 when at least one file was written.
    int finish() override;
    void abandon() override;

    // Whether output i was finished into its file.
    bool written(std::size_t i) const { return state_[i] == State::Written; }

private:
    enum class State { Closed, Open, Capped, Written, Failed };
    void fail(std::size_t i);
    std::vector<Output> outputs_;
    std::vector<State> state_;
    std::vector<std::unique_ptr<FrameScaler>> scalers_;  // per output, for the first of each layout
    UBUFFER source_;
};

}  // namespace velq
