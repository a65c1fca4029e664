// A sink that hands frames to the inner sink on a thread of its own, so the next frames are drawn
// while earlier ones are converted and encoded. Up to `depth` frames wait for the inner sink: the
// drawing can run ahead while the encoder is busy and fill the moments its threads leave idle.
// Frames change hands by swapping picture buffers, never by copying them; the inner sink's answer
// for a frame (taken, capped or failed) comes back with a later call.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "video/video_sink.h"

namespace velq {

class PipelinedSink : public VideoSink {
public:
    // Waiting frames take at most this much memory beyond the first (very large frames wait fewer).
    static constexpr std::size_t kSpareBytes = std::size_t(256) << 20;

    explicit PipelinedSink(VideoSink& inner, int depth = 4) : inner_(inner), depth_(depth < 1 ? 1 : depth) {}
    ~PipelinedSink() override;
    PipelinedSink(const PipelinedSink&) = delete;
    PipelinedSink& operator=(const PipelinedSink&) = delete;

    int init_video(const std::string& file, int width, int height) override;
    UBUFFER& source() override { return source_; }
    // Queues the picture for the inner sink and returns with the time of the next frame, waiting
    // only while `depth` frames are queued; 1 or -1 once the inner sink has refused or failed a frame
    // (the frames after it are dropped).
    int write_video_frame(double& time_out) override;
    int finish() override;
    void abandon() override;
    int samples_wanted() const override { return inner_.samples_wanted(); }
    void add_sample() override;

private:
    // Feeds queued frames to the inner sink until told to close.
    void run();
    // Waits until every queued frame has been handed over; the inner sink's first refusal or
    // failure, or 0.
    int drain();
    void stop_worker();

    VideoSink& inner_;
    const int depth_;
    UBUFFER source_;              // the picture the caller fills
    std::vector<UBUFFER> spare_;  // pictures free to be filled
    std::deque<UBUFFER> queue_;   // filled, waiting for the inner sink
    std::mutex mutex_;
    std::condition_variable changed_;
    std::thread worker_;
    bool busy_ = false;     // the worker is handing a frame over
    bool closing_ = false;  // the worker is to end
    int last_ = 0;          // the inner sink's first non-zero answer
    long long frames_ = 0;
};

}  // namespace velq
