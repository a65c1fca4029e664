// A host for tests: records every title, percent, message and debug line it is given, and answers
// questions from a queue (No when the queue is empty).
#pragma once

#include <algorithm>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "host/host.h"

namespace velq::test {

class RecordingHost : public Host {
public:
    void title(std::string_view t) override { add(&Record::titles, std::string(t)); }
    void percent(int p) override {
        add(&Record::percents, p);
        if (stop_at_percent >= 0 && p >= stop_at_percent) stop = true;
    }
    void message(std::string_view m) override { add(&Record::messages, std::string(m)); }
    bool ask(std::string_view q) override {
        add(&Record::questions, std::string(q));
        std::lock_guard lock(mutex_);
        if (answers.empty()) return false;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }
    void debug(std::string_view text) override { add(&Record::debug, std::string(text)); }
    void circles_added(std::span<const LiveCircle> batch) override {
        std::lock_guard lock(mutex_);
        record_.live += batch.size();
    }

    // Copies, safe to call while a worker still reports.
    std::vector<std::string> titles() const { return get(&Record::titles); }
    std::vector<int> percents() const { return get(&Record::percents); }
    std::vector<std::string> messages() const { return get(&Record::messages); }
    std::vector<std::string> questions() const { return get(&Record::questions); }
    std::vector<std::string> debug_lines() const { return get(&Record::debug); }
    std::size_t live_circles() const { return get(&Record::live); }
    bool said(std::string_view message) const {
        const std::vector<std::string> all = messages();
        return std::find(all.begin(), all.end(), message) != all.end();
    }
    void clear() {
        std::lock_guard lock(mutex_);
        record_ = {};
    }

    std::deque<bool> answers;  // replies to ask(), in order
    int stop_at_percent = -1;  // when not negative, the first percent at or above it presses Stop

private:
    struct Record {
        std::vector<std::string> titles, messages, questions, debug;
        std::vector<int> percents;
        std::size_t live = 0;
    };
    template <class T>
    void add(std::vector<T> Record::*field, T value) {
        std::lock_guard lock(mutex_);
        (record_.*field).push_back(std::move(value));
    }
    template <class T>
    T get(T Record::*field) const {
        std::lock_guard lock(mutex_);
        return record_.*field;
    }
    mutable std::mutex mutex_;
    Record record_;
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
