#include "video/fan_out_sink.h"

#include <algorithm>
#include <cstring>

#include "video/export_loop.h"

namespace velq {

FanOutSink::FanOutSink(std::vector<Output> outputs)
    : outputs_(std::move(outputs)), state_(outputs_.size(), State::Closed), scalers_(outputs_.size()) {}

void FanOutSink::fail(std::size_t i) {
    outputs_[i].sink->abandon();
    state_[i] = State::Failed;
}

int FanOutSink::init_video(const std::string&, int width, int height) {
    bool any = false;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        const FrameLayout& l = outputs_[i].layout;
        const bool open = outputs_[i].sink->init_video(outputs_[i].file, l.ow, l.oh) == 0;
        state_[i] = open ? State::Open : State::Failed;
        any = any || open;
    }
    if (!any || !source_.allocate(width, height, 4, Init::Zero)) {
        abandon();
        return -1;
    }
    return 0;
}

int FanOutSink::write_video_frame(double& time_out) {
    // Every frame is filled before any is handed on: a sink may give a fresh picture once it has
    // taken one, and the outputs that share a layout copy the first one's frame.
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (state_[i] != State::Open) continue;
        UBUFFER& into = outputs_[i].sink->source();
        const FrameLayout& l = outputs_[i].layout;
        if (into.width() != l.ow || into.height() != l.oh || into.channels() != 4) {
            fail(i);
            continue;
        }
        std::size_t first = 0;
        while (first < i && !(state_[first] == State::Open && outputs_[first].layout == l)) ++first;
        if (first < i) {
            std::memcpy(into.data(), outputs_[first].sink->source().data(), into.size());
        } else if (!place_frame(source_, l, scalers_[i], into)) {
            abandon();
            return -1;
        }
    }
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (state_[i] != State::Open) continue;
        double t = 0;
        const int r = outputs_[i].sink->write_video_frame(t);
        if (r < 0) {
            fail(i);
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
