// A sink that hands every frame to several sinks, each writing its own file: one drawing of a frame
// serves videos of one size in different containers. Each output stands alone: one that fails is
// abandoned (nothing of it is left) while the others go on, so every file is complete or absent.
// The inner sinks may not want samples before the first frame (a GIF does): none are handed on.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "video/video_sink.h"

namespace velq {

class FanOutSink : public VideoSink {
public:
    struct Output {
        VideoSink* sink;
        std::string file;
    };
    explicit FanOutSink(std::vector<Output> outputs);

    // Opens every output at its own file (`file` is not used); -1 when none could be opened.
    int init_video(const std::string& file, int width, int height) override;
    UBUFFER& source() override { return source_; }
    // Hands the picture to every open output: 0 while one still takes frames, 1 when every output
    // left has reached its cap, -1 when none is left.
    int write_video_frame(double& time_out) override;
    // Finishes every output left; 0 when at least one file was written.
    int finish() override;
    void abandon() override;

    // Whether output i was finished into its file.
    bool written(std::size_t i) const { return state_[i] == State::Written; }

private:
    enum class State { Closed, Open, Capped, Written, Failed };
    std::vector<Output> outputs_;
    std::vector<State> state_;
    UBUFFER source_;
};

}  // namespace velq
