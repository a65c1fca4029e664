#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "app/worker.h"
#include "support/recording_host.h"

namespace velq {
namespace {

class BusyHost : public test::RecordingHost {
public:
    void busy(bool on) override { (on ? entered : left)++; }
    std::atomic<int> entered{0}, left{0};
};

TEST(Worker, StartStopsAndJoinsThePreviousJobFirst) {
    BusyHost host;
    Worker worker(host);
    std::atomic<int> order{0};
    std::atomic<int> first_end{-1}, second_start{-1};
    worker.start([&] {
        while (!host.stopped()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        first_end = order++;
    });
    std::atomic<bool> stop_seen_by_second{true};
    worker.start([&] {
        second_start = order++;
        stop_seen_by_second = host.stopped();
    });
    worker.join();
    EXPECT_EQ(first_end, 0);
    EXPECT_EQ(second_start, 1);
    EXPECT_FALSE(stop_seen_by_second) << "the flag is cleared before the new job starts";
    EXPECT_EQ(host.entered, 2);
    EXPECT_EQ(host.left, 2);
    EXPECT_FALSE(worker.running());
}

TEST(Worker, StopOnlySetsTheFlagAndSkipSetsBoth) {
    BusyHost host;
    Worker worker(host);
    worker.request_stop();
    EXPECT_TRUE(host.stop);
    EXPECT_FALSE(host.skip);
    worker.request_skip();
    EXPECT_TRUE(host.skip);
    worker.start([] {});
    worker.join();
    EXPECT_FALSE(host.stop) << "the next start clears it";
}

TEST(Worker, AStartFromTheWorkerItselfIsRefused) {
    BusyHost host;
    Worker worker(host);
    std::atomic<bool> refused{false};
    worker.start([&] { refused = !worker.start([] {}); });
    worker.join();
    EXPECT_TRUE(refused);
}

}  // namespace
}  // namespace velq
