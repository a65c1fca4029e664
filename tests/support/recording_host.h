// A host for tests: records every title, percent, message and debug line it is given, and answers
// questions from a queue (No when the queue is empty).
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "host/host.h"

namespace velq::test {

class RecordingHost : public Host {
public:
    void title(std::string_view t) override;
    void percent(int p) override;
    void message(std::string_view m) override;
    bool ask(std::string_view q) override;
    void debug(std::string_view text) override;
    void circles_added(std::span<const LiveCircle> batch) override;

    // Copies, safe to call while a worker still reports.
    std::vector<std::string> titles() const { return copy(titles_); }
    std::vector<int> percents() const { return copy(percents_); }
    std::vector<std::string> messages() const { return copy(messages_); }
    std::vector<std::string> questions() const { return copy(questions_); }
    std::vector<std::string> debug_lines() const { return copy(debug_); }
    std::size_t live_circles() const { return copy(live_); }
    bool said(std::string_view message) const;
    void clear();

    std::deque<bool> answers;  // replies to ask(), in order
    int stop_at_percent = -1;  // when not negative, the first percent at or above it presses Stop

private:
    template <class T>
    T copy(const T& field) const {
        std::lock_guard lock(mutex_);
        return field;
    }
    mutable std::mutex mutex_;
    std::vector<std::string> titles_, messages_, questions_, debug_;
    std::vector<int> percents_;
    std::size_t live_ = 0;
};

// Stops the operation when the first accepted circles are reported.
class StopAtFirstCircles : public RecordingHost {
public:
    void circles_added(std::span<const LiveCircle> batch) override {
        RecordingHost::circles_added(batch);
        stop = true;
    }
};

}  // namespace velq::test
