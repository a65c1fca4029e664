// A thread that runs one call at a time for its owner, who waits for it, at a lower priority than
// the owner: work done there, and by the threads it starts, gives way to everything else. A video
// export draws its frames on one, so that the encoder's threads never wait for the drawing.
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace velq {

class LowPriorityThread {
public:
    LowPriorityThread();
    ~LowPriorityThread();
    LowPriorityThread(const LowPriorityThread&) = delete;
    LowPriorityThread& operator=(const LowPriorityThread&) = delete;

    // Runs fn on the thread and returns when it has returned (on the caller when the thread could
    // not be started); what fn throws is thrown again here.
    void call(const std::function<void()>& fn);

private:
    void serve();

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    const std::function<void()>* job_ = nullptr;
    std::exception_ptr error_;
    bool quit_ = false;
};

}  // namespace velq
