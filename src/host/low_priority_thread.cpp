#include "host/low_priority_thread.h"

#include <exception>
#include <system_error>
#include <utility>

#if defined(__linux__)
#include <cerrno>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace velq {

namespace {

// The platform's part. On Linux a thread has its own nice value, which the threads it starts
// inherit: it goes to kNice unless it is there already (going back up is not allowed). Elsewhere
// the thread keeps the usual priority.
void lower_this_thread() {
#if defined(__linux__)
    constexpr int kNice = 10;
    const auto self = static_cast<id_t>(syscall(SYS_gettid));
    errno = 0;
    const int now = getpriority(PRIO_PROCESS, self);
    if (errno == 0 && now < kNice) setpriority(PRIO_PROCESS, self, kNice);
#endif
}

}  // namespace

LowPriorityThread::LowPriorityThread() {
    try {
        thread_ = std::thread([this] {
            lower_this_thread();
            serve();
        });
    } catch (const std::system_error&) {
        // call() runs everything on the caller.
    }
}

LowPriorityThread::~LowPriorityThread() {
    {
        std::lock_guard lock(mutex_);
        quit_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
}

void LowPriorityThread::serve() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return quit_ || job_; });
        if (!job_) return;
        lock.unlock();
        std::exception_ptr error;
        try {
            (*job_)();
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        error_ = error;
        job_ = nullptr;
        changed_.notify_all();
    }
}

void LowPriorityThread::call(const std::function<void()>& fn) {
    if (!thread_.joinable()) {
        fn();
        return;
    }
    std::unique_lock lock(mutex_);
    job_ = &fn;
    changed_.notify_all();
    changed_.wait(lock, [&] { return job_ == nullptr; });
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

}  // namespace velq
