// The single worker thread that runs every long operation while the window stays responsive.
// Starting a new operation stops and joins the previous one first, so at most one ever runs and
// nothing is ever detached.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include "host/host.h"

namespace velq {

class Worker {
public:
    explicit Worker(Host& host) : host_(host) {}
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Sets the stop flag, joins the previous worker, clears the flag and runs `job` on a new thread
    // inside the busy state (Host::busy(true) before, Host::busy(false) after, on every way out).
    // Returns false when called from the worker itself (that would deadlock).
    bool start(std::function<void()> job);
    // Stop: only sets the flag; the running job ends at its next poll.
    void request_stop() { host_.stop = true; }
    // Skip: leave the current item, go on with the next (batch runs); sets stop as well.
    void request_skip() {
        host_.skip = true;
        host_.stop = true;
    }
    // Waits for the running job, if any.
    void join();
    bool running() const;

private:
    Host& host_;
    mutable std::mutex mutex_;
    std::thread thread_;
    std::atomic<std::thread::id> job_thread_{};  // id of the thread running a job, for the self-start check
    bool running_ = false;
};

}  // namespace velq
