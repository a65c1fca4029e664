#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "host/worker_pool.h"

namespace velq {
namespace {

// Every task of every run is called exactly once, and run returns only after all of them, whatever
// the pool's size and the number of tasks, over many runs of one pool (as the frames of a video).
TEST(WorkerPool, EveryTaskRunsOnceBeforeRunReturns) {
    for (const int threads : {1, 2, 4}) {
        WorkerPool pool(threads);
        for (int round = 0; round < 200; ++round) {
            const int tasks = (round * 7) % 23;  // 0, 7, 14, 21, 5, ...
            std::vector<std::atomic<int>> calls(std::size_t(tasks) + 1);
            pool.run(tasks, [&](int k) {
                if (k % 3 == 0) std::this_thread::yield();
                calls[std::size_t(k)]++;
            });
            for (int k = 0; k <= tasks; ++k)
                ASSERT_EQ(calls[std::size_t(k)].load(), k < tasks) << threads << "/" << tasks;
        }
    }
}

// The tasks really run side by side: two tasks that each wait for the other finish on a pool of two.
TEST(WorkerPool, TasksOfOneRunRunAtTheSameTime) {
    WorkerPool pool(2);
    std::atomic<int> arrived{0}, met{0};
    pool.run(2, [&](int) {
        ++arrived;
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (arrived.load() < 2 && std::chrono::steady_clock::now() < give_up) {
        }
        met += arrived.load() == 2;
    });
    EXPECT_EQ(met.load(), 2);
}

}  // namespace
}  // namespace velq
