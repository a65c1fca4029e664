// Threads kept for the length of a job that hands out many short pieces of work (an animation's
// frames), so that a piece does not pay for starting and joining threads. The calling thread takes
// part; the others are started on first use.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace velq {

class WorkerPool {
public:
    // `threads` counts the caller; 0 means one per core.
    explicit WorkerPool(int threads = 0);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int size() const { return size_; }
    // Calls fn(k) once for every k in [0, tasks), spread over the pool and the caller; returns when
    // every call has returned. Calls must not throw. One run at a time.
    void run(int tasks, const std::function<void(int)>& fn);

private:
    // How long a thread stays awake waiting for the next run, or the caller for the last task.
    static constexpr std::chrono::microseconds kSpin{200};

    void start();
    void serve(std::uint64_t seen);
    void take_tasks();
    template <class Done>
    static bool spin(Done done);

    int size_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable wake_, finished_;
    const std::function<void(int)>* fn_ = nullptr;
    int tasks_ = 0, next_ = 0;
    std::atomic<int> unfinished_{0};
    std::atomic<std::uint64_t> generation_{0};
    bool quit_ = false;
};

}  // namespace velq
