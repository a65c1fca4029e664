// The running of long operations: the single worker, the busy state around it, Stop and Skip, and
// keeping the desktop awake meanwhile. The window follows the busy state through busy_changed.
#pragma once

#include <functional>

#include <QObject>

#include "app/worker.h"
#include "gui/window_host.h"

namespace velq::gui {

class SleepInhibitor;

class JobRunner : public QObject {
    Q_OBJECT
public:
    JobRunner(WindowHost& host, QObject* parent = nullptr);
    ~JobRunner() override;

    bool busy() const { return busy_; }
    // Runs `job` on the worker inside the busy state; `then` runs on this thread once it has ended,
    // after busy_changed(false).
    void start(std::function<void()> job, std::function<void()> then = {});
    void stop() { worker_.request_stop(); }
    void skip() { worker_.request_skip(); }
    // Stops the running job and waits for it (quit, tests).
    void stop_and_join();

signals:
    void busy_changed(bool on);

private:
    void job_ended();

    WindowHost& host_;
    Worker worker_;
    SleepInhibitor* inhibitor_ = nullptr;
    std::function<void()> then_;
    bool busy_ = false;
};

}  // namespace velq::gui
