#include "video/fan_out_sink.h"

#include <algorithm>
#include <cstring>

namespace velq {

FanOutSink::FanOutSink(std::vector<Output> outputs)
    : outputs_(std::move(outputs)), state_(outputs_.size(), State::Closed) {}

int FanOutSink::init_video(const std::string&, int width, int height) {
    bool any = false;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        const bool open = outputs_[i].sink->init_video(outputs_[i].file, width, height) == 0;
        state_[i] = open ? State::Open : State::Failed;
        any = any || open;
    }
    if (!any) return -1;
    // Cleared once: what lies outside the frame's picture is never written.
    if (!source_.allocate(width, height, 4, Init::Zero)) {
        abandon();
        return -1;
    }
    return 0;
}

int FanOutSink::write_video_frame(double& time_out) {
    // The last open output takes the picture itself; the one it gives back is as clear outside the
    // frame's picture, and the next frame covers all of the picture.
    std::size_t last = outputs_.size();
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        if (state_[i] == State::Open) last = i;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (state_[i] != State::Open) continue;
        VideoSink& sink = *outputs_[i].sink;
        UBUFFER& into = sink.source();
        if (into.width() != source_.width() || into.height() != source_.height() ||
            into.channels() != source_.channels()) {
            sink.abandon();
            state_[i] = State::Failed;
            continue;
        }
        if (i == last) {
            into.swap(source_);
        } else {
            std::memcpy(into.data(), source_.data(), source_.size());
        }
        double t = 0;
        const int r = sink.write_video_frame(t);
        if (i == last) into.swap(source_);
        if (r < 0) {
            sink.abandon();
            state_[i] = State::Failed;
        } else {
            if (r == 1) state_[i] = State::Capped;
            time_out = t;
        }
    }
    const auto left = [&](State s) { return std::count(state_.begin(), state_.end(), s) > 0; };
    if (left(State::Open)) return 0;
    return left(State::Capped) ? 1 : -1;
}

int FanOutSink::finish() {
    bool any = false;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (state_[i] != State::Open && state_[i] != State::Capped) continue;
        state_[i] = outputs_[i].sink->finish() == 0 ? State::Written : State::Failed;
        any = any || state_[i] == State::Written;
    }
    source_.reset();
    return any ? 0 : -1;
}

void FanOutSink::abandon() {
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (state_[i] == State::Open || state_[i] == State::Capped) outputs_[i].sink->abandon();
        if (state_[i] != State::Written) state_[i] = State::Failed;
    }
    source_.reset();
}

}  // namespace velq
