#include "host/worker_pool.h"

#include <algorithm>

#include "host/parallel.h"

namespace velq {

WorkerPool::WorkerPool(int threads) : size_(std::clamp(threads > 0 ? threads : worker_count(), 1, 64)) {}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard lock(mutex_);
        quit_ = true;
    }
    wake_.notify_all();
    for (std::thread& t : threads_) t.join();
}

void WorkerPool::start() {
    threads_.reserve(std::size_t(size_ - 1));
    try {
        for (int k = 1; k < size_; ++k) threads_.emplace_back([this, seen = generation_] { serve(seen); });
    } catch (const std::system_error&) {
        // Fewer threads than asked: the caller does the rest.
    }
    size_ = int(threads_.size()) + 1;
}

// Takes tasks until none are left; called with the lock held, and holds it again on return.
void WorkerPool::take_tasks() {
    while (next_ < tasks_) {
        const int k = next_++;
        ++running_;
        mutex_.unlock();
        (*fn_)(k);
        mutex_.lock();
        if (--running_ == 0 && next_ >= tasks_) finished_.notify_all();
    }
}

// `seen`: the last run the thread need not serve, taken when it was started (it may first get the
// lock after the run that started it has begun).
void WorkerPool::serve(std::uint64_t seen) {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return quit_ || generation_ != seen; });
        if (quit_) return;
        seen = generation_;
        take_tasks();
    }
}

void WorkerPool::run(int tasks, const std::function<void(int)>& fn) {
    if (tasks <= 0) return;
    if (tasks == 1 || size_ == 1) {
        for (int k = 0; k < tasks; ++k) fn(k);
        return;
    }
    if (threads_.empty()) start();
    std::unique_lock lock(mutex_);
    fn_ = &fn;
    tasks_ = tasks;
    next_ = 0;
    ++generation_;
    lock.unlock();
    wake_.notify_all();
    lock.lock();
    take_tasks();
    finished_.wait(lock, [&] { return running_ == 0 && next_ >= tasks_; });
    fn_ = nullptr;
}

}  // namespace velq
