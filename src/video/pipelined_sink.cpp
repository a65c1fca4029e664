#include "video/pipelined_sink.h"

namespace velq {

PipelinedSink::~PipelinedSink() {
    stop_worker();
}

void PipelinedSink::stop_worker() {
    if (!worker_.joinable()) return;
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_all();
    worker_.join();
    closing_ = false;
}

void PipelinedSink::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return closing_ || !queue_.empty(); });
        if (queue_.empty()) return;
        UBUFFER picture = std::move(queue_.front());
        queue_.pop_front();
        if (last_ == 0) {
            busy_ = true;
            lock.unlock();
            picture.swap(inner_.source());
            double t = 0;
            int r = -1;
            // A failure of any kind is the frame's answer: nothing may leave this thread.
            try {
                r = inner_.write_video_frame(t);
            } catch (...) {
                r = -1;
            }
            picture.swap(inner_.source());
            lock.lock();
            busy_ = false;
            if (last_ == 0) last_ = r;
        }
        spare_.push_back(std::move(picture));
        changed_.notify_all();
    }
}

int PipelinedSink::drain() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return queue_.empty() && !busy_; });
    return last_;
}

int PipelinedSink::init_video(const std::string& file, int width, int height) {
    stop_worker();
    queue_.clear();
    spare_.clear();
    last_ = 0;
    frames_ = 0;
    const int r = inner_.init_video(file, width, height);
    if (r != 0) return r;
    // Every picture is cleared once: what lies outside the frame's picture is never written. One
    // spare is needed; more are taken while they fit in kSpareBytes and can be had.
    const UBUFFER& in = inner_.source();
    const std::size_t bytes = std::size_t(in.width()) * in.height() * in.channels();
    for (int i = 0; i <= depth_; ++i) {
        if (i > 1 && bytes * std::size_t(i) > kSpareBytes) break;
        UBUFFER& b = i == 0 ? source_ : spare_.emplace_back();
        if (!b.allocate(in.width(), in.height(), in.channels(), Init::Zero)) {
            if (i > 1) {
                spare_.pop_back();
                break;
            }
            spare_.clear();
            source_.reset();
            inner_.abandon();
            return -1;
        }
    }
    // Made here, on the caller's thread, so that it has the caller's priority.
    worker_ = std::thread([this] { run(); });
    return 0;
}

void PipelinedSink::add_sample() {
    if (drain() != 0) return;
    source_.swap(inner_.source());
    inner_.add_sample();
    source_.swap(inner_.source());
}

int PipelinedSink::write_video_frame(double& time_out) {
    std::unique_lock lock(mutex_);
    if (last_ != 0) {
        time_out = double(frames_) / 30;
        return last_;
    }
    if (!worker_.joinable()) return -1;
    queue_.push_back(std::move(source_));
    changed_.notify_all();
    changed_.wait(lock, [&] { return !spare_.empty(); });
    source_ = std::move(spare_.back());
    spare_.pop_back();
    ++frames_;
    time_out = double(frames_) * 1 / 30;
    return 0;
}

int PipelinedSink::finish() {
    const int r = drain();
    stop_worker();
    source_.reset();
    spare_.clear();
    if (r < 0) {
        inner_.abandon();
        return -1;
    }
    return inner_.finish();
}

void PipelinedSink::abandon() {
    drain();
    stop_worker();
    source_.reset();
    spare_.clear();
    inner_.abandon();
}

}  // namespace velq
