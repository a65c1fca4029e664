#include "host/worker_pool.h"

#include <algorithm>
#include <chrono>

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
        for (int k = 1; k < size_; ++k)
            threads_.emplace_back([this, seen = generation_.load()] { serve(seen); });
    } catch (const std::system_error&) {
        // Fewer threads than asked: the caller does the rest.
    }
    size_ = int(threads_.size()) + 1;
}

// Takes tasks until none are left; called with the lock held, and holds it again on return.
void WorkerPool::take_tasks() {
    while (next_ < tasks_) {
        const int k = next_++;
        mutex_.unlock();
        (*fn_)(k);
        mutex_.lock();
        if (unfinished_.fetch_sub(1, std::memory_order_acq_rel) == 1) finished_.notify_all();
    }
}

// Spins until `done` says so or the spin time is over; true when done.
template <class Done>
bool WorkerPool::spin(Done done) {
    const auto until = std::chrono::steady_clock::now() + kSpin;
    for (int i = 0;; ++i) {
        if (done()) return true;
        if ((i & 63) == 63 && std::chrono::steady_clock::now() >= until) return false;
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#else
        std::this_thread::yield();
#endif
    }
}

// `seen`: the last run the thread need not serve, taken when it was started (it may first get the
// lock after the run that started it has begun).
void WorkerPool::serve(std::uint64_t seen) {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (generation_.load(std::memory_order_acquire) == seen && !quit_) {
            // Runs come back to back (a frame's shapes after its bookkeeping), and waking a sleeping
            // thread takes longer than a band of a frame: stay awake a moment first.
            lock.unlock();
            spin([&] { return generation_.load(std::memory_order_acquire) != seen; });
            lock.lock();
            wake_.wait(lock, [&] { return quit_ || generation_.load(std::memory_order_relaxed) != seen; });
        }
        if (quit_) return;
        seen = generation_.load(std::memory_order_relaxed);
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
    unfinished_.store(tasks, std::memory_order_relaxed);
    generation_.fetch_add(1, std::memory_order_release);
    lock.unlock();
    wake_.notify_all();
    lock.lock();
    take_tasks();
    if (unfinished_.load(std::memory_order_acquire) != 0) {
        lock.unlock();
        spin([&] { return unfinished_.load(std::memory_order_acquire) == 0; });
        lock.lock();
        finished_.wait(lock, [&] { return unfinished_.load(std::memory_order_acquire) == 0; });
    }
    fn_ = nullptr;
}

}  // namespace velq
