#include "support/recording_host.h"

#include <algorithm>

namespace velq::test {

void RecordingHost::title(std::string_view t) {
    std::lock_guard lock(mutex_);
    titles_.emplace_back(t);
}
void RecordingHost::percent(int p) {
    std::lock_guard lock(mutex_);
    percents_.push_back(p);
    if (stop_at_percent >= 0 && p >= stop_at_percent) stop = true;
}
void RecordingHost::message(std::string_view m) {
    std::lock_guard lock(mutex_);
    messages_.emplace_back(m);
}
bool RecordingHost::ask(std::string_view q) {
    std::lock_guard lock(mutex_);
    questions_.emplace_back(q);
    if (answers.empty()) return false;
    const bool a = answers.front();
    answers.pop_front();
    return a;
}
void RecordingHost::debug(std::string_view text) {
    std::lock_guard lock(mutex_);
    debug_.emplace_back(text);
}
void RecordingHost::circles_added(std::span<const LiveCircle> batch) {
    std::lock_guard lock(mutex_);
    live_ += batch.size();
}
bool RecordingHost::said(std::string_view m) const {
    std::lock_guard lock(mutex_);
    return std::find(messages_.begin(), messages_.end(), m) != messages_.end();
}
void RecordingHost::clear() {
    std::lock_guard lock(mutex_);
    titles_.clear();
    messages_.clear();
    questions_.clear();
    debug_.clear();
    percents_.clear();
    live_ = 0;
}

}  // namespace velq::test
