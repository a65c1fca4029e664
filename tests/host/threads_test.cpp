#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <thread>
#include <vector>

#if defined(__linux__)
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

#include "host/low_priority_thread.h"
#include "host/worker_pool.h"

namespace velq {
namespace {

#if defined(__linux__)
int nice_of_this_thread() {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)));
}
#endif

// Calls run one after another on one other thread, each finished when call returns; on Linux that
// thread is nicer than the caller, and so are the threads it starts.
TEST(LowPriorityThread, RunsEachCallOnItsThreadAtALowerPriority) {
    LowPriorityThread thread;
    int done = 0;
    std::thread::id where;
    for (int k = 0; k < 50; ++k) {
        thread.call([&] { ++done, where = std::this_thread::get_id(); });
        ASSERT_EQ(done, k + 1);
        ASSERT_NE(where, std::this_thread::get_id());
    }
    // What a call throws comes out of call, and the thread goes on.
    EXPECT_THROW(thread.call([] { throw std::bad_alloc(); }), std::bad_alloc);
    thread.call([&] { ++done; });
    EXPECT_EQ(done, 51);
#if defined(__linux__)
    int inner = 0, started = 0;
    thread.call([&] {
        inner = nice_of_this_thread();
        std::thread([&] { started = nice_of_this_thread(); }).join();
    });
    EXPECT_EQ(inner, std::max(nice_of_this_thread(), 10));
    EXPECT_EQ(started, inner);
#endif
}

// Every task of every run is called exactly once, and run returns only after all of them, whatever
// the pool's size and the number of tasks, over many runs of one pool (as the frames of a video). The
// tasks really run side by side: two tasks that each wait for the other finish on a pool of two.
TEST(WorkerPool, EveryTaskRunsOnceBeforeRunReturnsAndTasksRunSideBySide) {
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
