#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <thread>

#include "host/low_priority_thread.h"

#if defined(__linux__)
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

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

}  // namespace
}  // namespace velq
