#include "video/pipelined_sink.h"

#include <cstring>

namespace velq {

int PipelinedSink::wait() {
    if (pending_.valid()) last_ = pending_.get();
    return last_;
}

int PipelinedSink::init_video(const std::string& file, int width, int height) {
    wait();
    last_ = 0;
    frames_ = 0;
    const int r = inner_.init_video(file, width, height);
    if (r != 0) return r;
    UBUFFER& in = inner_.source();
    if (!source_.allocate(in.width(), in.height(), in.channels(), Init::Zero)) {
        inner_.abandon();
        return -1;
    }
    return 0;
}

void PipelinedSink::add_sample() {
    wait();
    source_.swap(inner_.source());
    inner_.add_sample();
    // Both buffers keep what lies outside the picture (never written, so still clear).
    source_.swap(inner_.source());
}

int PipelinedSink::write_video_frame(double& time_out) {
    const int before = wait();
    if (before != 0) {
        time_out = double(frames_) / 30;
        return before;
    }
    source_.swap(inner_.source());
    pending_ = std::async(std::launch::async, [this] {
        double t = 0;
        return inner_.write_video_frame(t);
    });
    ++frames_;
    time_out = double(frames_) * 1 / 30;
    return 0;
}

int PipelinedSink::finish() {
    if (wait() < 0) {
        inner_.abandon();
        source_.reset();
        return -1;
    }
    source_.reset();
    return inner_.finish();
}

void PipelinedSink::abandon() {
    wait();
    source_.reset();
    inner_.abandon();
}

}  // namespace velq
