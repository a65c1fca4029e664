#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/encoder.h"
#include "video/pipelined_sink.h"

namespace velq {
namespace {

// Records what it is given, refuses frames from `cap` on and fails at `fail`.
class Recorder : public VideoSink {
public:
    int init_video(const std::string&, int w, int h) override { return source_.allocate(w, h, 4) ? 0 : -1; }
    UBUFFER& source() override { return source_; }
    int write_video_frame(double& t) override {
        if (int(seen.size()) == fail) return -1;
        if (int(seen.size()) >= cap) return 1;
        seen.push_back(source_.at(0, 0));
        t = double(seen.size()) / 30;
        return 0;
    }
    int finish() override { return finished = 1, 0; }
    void abandon() override { abandoned = true; }
    std::vector<int> seen;
    int cap = 1000, fail = -1, finished = 0;
    bool abandoned = false;

private:
    UBUFFER source_;
};

TEST(PipelinedSink, HandsOverEveryFrameInOrderAndPassesRefusalsOn) {
    struct Case {
        int cap, fail;
        int answer;  // what the pipeline says once the inner sink has refused or failed a frame
        int first;   // the first frame that the inner sink refuses or fails (6: none)
        int finish;
    } cases[] = {
        {1000, -1, 0, 6, 0},
        {3, -1, 1, 3, 0},
        {1000, 2, -1, 2, -1},
    };
    for (const int depth : {1, 3}) {
        for (const Case& c : cases) {
            Recorder inner;
            inner.cap = c.cap;
            inner.fail = c.fail;
            PipelinedSink pipe(inner, depth);
            ASSERT_EQ(pipe.init_video("", 4, 4), 0);
            std::vector<int> results;
            for (int n = 0; n < 6; ++n) {
                pipe.source().at(0, 0) = std::uint8_t(10 + n);
                double t = -1;
                results.push_back(pipe.write_video_frame(t));
                if (results.back() == 0) {
                    EXPECT_EQ(t, double(n + 1) / 30);
                }
            }
            // A refusal comes back with a later call (how much later depends on the worker), and
            // from then on every call gives it.
            const auto answered = std::find_if(results.begin(), results.end(), [](int r) { return r != 0; });
            EXPECT_GE(answered - results.begin(), std::min(c.first + 1, 6))
                << depth << " " << c.cap << " " << c.fail;
            EXPECT_TRUE(std::all_of(answered, results.end(), [&](int r) { return r == c.answer; }));
            EXPECT_EQ(pipe.finish(), c.finish);
            std::vector<int> expected;
            for (int n = 0; n < c.first; ++n) expected.push_back(10 + n);
            EXPECT_EQ(inner.seen, expected) << depth << " " << c.cap << " " << c.fail;
            EXPECT_EQ(inner.abandoned, c.fail >= 0);
        }
    }
}

// The caller runs ahead of a slow inner sink by at most the pipeline's depth.
TEST(PipelinedSink, RunsAheadOfTheInnerSinkByItsDepth) {
    struct Gate : Recorder {
        int write_video_frame(double& t) override {
            std::unique_lock lock(m);
            ++started;
            cv.notify_all();
            cv.wait(lock, [&] { return open; });
            return Recorder::write_video_frame(t);
        }
        std::mutex m;
        std::condition_variable cv;
        int started = 0;
        bool open = false;
    };
    for (const int depth : {1, 2, 4}) {
        Gate inner;
        PipelinedSink pipe(inner, depth);
        ASSERT_EQ(pipe.init_video("", 4, 4), 0);
        std::atomic<int> handed{0};
        std::thread caller([&] {
            for (int n = 0; n < depth + 3; ++n) {
                double t;
                pipe.write_video_frame(t);
                ++handed;
            }
        });
        // The inner sink holds the first frame: `depth` calls return (the caller draws that many
        // frames ahead) and the next one waits.
        {
            std::unique_lock lock(inner.m);
            inner.cv.wait(lock, [&] { return inner.started == 1; });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(handed.load(), depth) << depth;
        {
            std::lock_guard lock(inner.m);
            inner.open = true;
        }
        inner.cv.notify_all();
        caller.join();
        EXPECT_EQ(pipe.finish(), 0);
        EXPECT_EQ(int(inner.seen.size()), depth + 3);
    }
}

// A real encoder behind the pipeline writes the same video as without it.
TEST(PipelinedSink, WritesTheSameVideoAsTheEncoderAlone) {
    const std::string dir = test::temp_dir("pipeline");
    std::vector<std::vector<UBUFFER>> decoded;
    for (bool pipelined : {false, true}) {
        test::RecordingHost host;
        Encoder enc(host);
        PipelinedSink pipe(enc);
        VideoSink& sink = pipelined ? static_cast<VideoSink&>(pipe) : enc;
        const std::string file = dir + (pipelined ? "/p.avi" : "/d.avi");
        ASSERT_EQ(sink.init_video(file, 32, 16), 0);
        for (int n = 0; n < 12; ++n) {
            const UBUFFER pic = test::noise_picture(32, 16, std::uint32_t(n));
            std::memcpy(sink.source().data(), pic.data(), pic.size());
            double t;
            ASSERT_EQ(sink.write_video_frame(t), 0);
        }
        ASSERT_EQ(sink.finish(), 0);
        decoded.push_back(test::read_back(file, nullptr, true).frames);
    }
    ASSERT_EQ(decoded[0].size(), 12u);
    ASSERT_EQ(decoded[1].size(), 12u);
    for (int n = 0; n < 12; ++n)
        EXPECT_EQ(std::memcmp(decoded[0][n].data(), decoded[1][n].data(), decoded[0][n].size()), 0) << n;
}

}  // namespace
}  // namespace velq
