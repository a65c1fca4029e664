#include "gui/job_runner.h"

#include "gui/sleep_inhibitor.h"

namespace velq::gui {

JobRunner::JobRunner(WindowHost& host, QObject* parent)
    : QObject(parent), host_(host), worker_(host), inhibitor_(new SleepInhibitor(this)) {
    connect(&host_, &WindowHost::busy_changed, this, [this](bool on) {
        if (!on) job_ended();
    });
}

JobRunner::~JobRunner() {
    stop_and_join();
}

void JobRunner::start(std::function<void()> job, std::function<void()> then) {
    then_ = std::move(then);
    busy_ = true;
    inhibitor_->set(true);
    emit busy_changed(true);
    if (!worker_.start(std::move(job))) job_ended();
}

void JobRunner::stop_and_join() {
    host_.stop = true;
    worker_.join();
}

void JobRunner::job_ended() {
    if (worker_.running()) return;  // a newer job has started meanwhile
    worker_.join();
    busy_ = false;
    inhibitor_->set(false);
    emit busy_changed(false);
    if (auto then = std::move(then_)) {
        then_ = {};
        then();
    }
}

}  // namespace velq::gui
