// A sink that takes each frame on a thread of its own, so the next frame is drawn while this one is
// converted and encoded. Frames change hands by swapping picture buffers, never by copying them; the
// inner sink's answer for a frame (taken, capped or failed) comes back with the next call.
#pragma once

#include <future>
#include <string>

#include "video/video_sink.h"

namespace velq {

class PipelinedSink : public VideoSink {
public:
    explicit PipelinedSink(VideoSink& inner) : inner_(inner) {}
    ~PipelinedSink() override { wait(); }

    int init_video(const std::string& file, int width, int height) override;
    UBUFFER& source() override { return source_; }
    // Hands the picture to the inner sink and returns at once with the time of the next frame; 1 or
    // -1 when the inner sink refused or failed the previous frame.
    int write_video_frame(double& time_out) override;
    int finish() override;
    void abandon() override;
    int samples_wanted() const override { return inner_.samples_wanted(); }
    void add_sample() override;

private:
    // The inner sink's answer for the frame in flight (0 when none is).
    int wait();

    VideoSink& inner_;
    UBUFFER source_;
    std::future<int> pending_;
    long long frames_ = 0;
    int last_ = 0;
};

}  // namespace velq
