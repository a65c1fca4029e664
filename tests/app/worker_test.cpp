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

// Stop sets the flag, Skip both; a start stops and joins the running job, then clears both flags
// before the new job runs; a start from the job's own thread is refused.
TEST(Worker, StartStopsJoinsAndClearsThePreviousJob) {
    BusyHost host;
    Worker worker(host);
    worker.request_stop();
    EXPECT_TRUE(host.stop && !host.skip);
    worker.request_skip();
    EXPECT_TRUE(host.skip);
    std::atomic<int> order{0}, first_end{-1}, second_start{-1};
    worker.start([&] {
        while (!host.stopped()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        first_end = order++;
    });
    std::atomic<bool> flags_seen_by_second{true}, refused{false};
    worker.start([&] {
        second_start = order++;
        flags_seen_by_second = host.stopped() || host.skip;
        refused = !worker.start([] {});
    });
    worker.join();
    EXPECT_EQ(std::pair(first_end.load(), second_start.load()), std::pair(0, 1)) << "one job after the other";
    EXPECT_FALSE(flags_seen_by_second);
    EXPECT_TRUE(refused);
    EXPECT_EQ(std::pair(host.entered.load(), host.left.load()), std::pair(2, 2));
    EXPECT_FALSE(worker.running());
}

}  // namespace
}  // namespace velq
