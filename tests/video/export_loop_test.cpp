#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/encoder.h"
#include "video/export_loop.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

// A white picture of the scene's size; remembers what it was asked for.
class WhiteSource : public FrameSource {
public:
    WhiteSource(int w, int h) : picture_(test::flat_picture(w, h, 0xFFFFFFFF)) {}
    const UBUFFER* frame(double t, double a, double b) override {
        times.push_back(t);
        logo.emplace_back(a, b);
        if (host_to_stop && int(times.size()) == stop_after) host_to_stop->stop = true;
        if (int(times.size()) == fail_at) return nullptr;
        return &picture_;
    }
    bool rewind() override {
        ++rewinds;
        return true;
    }
    std::vector<double> times;
    std::vector<std::pair<double, double>> logo;
    int rewinds = 0;
    Host* host_to_stop = nullptr;
    int stop_after = -1, fail_at = -1;

private:
    UBUFFER picture_;
};

TEST(FrameLayout, FitModesSizesAndOffsets) {
    struct Case {
        int pw, ph, vw, vh;
        FitMode fit;
        FrameLayout expected;
    } cases[] = {
        {1000, 1000, 640, 480, FitMode::Fit, {480, 480, 640, 480, 80, 0}},
        {1000, 500, 640, 480, FitMode::Fit, {640, 320, 640, 480, 0, 80}},  // wider: scaled to the width
        {1000, 1000, 640, 480, FitMode::None, {480, 480, 480, 480, 0, 0}},
        {1000, 1000, 640, 480, FitMode::Stretch, {640, 480, 640, 480, 0, 0}},
        {641, 481, 641, 481, FitMode::None, {641, 481, 642, 482, 0, 0}},  // odd sizes round up
        {641, 481, 641, 481, FitMode::Stretch, {641, 481, 642, 482, 0, 0}},
        {300, 200, 641, 481, FitMode::Fit, {641, 427, 642, 482, 0, 27}},
        {333, 100, 1920, 1080, FitMode::None, {3596, 1080, 3596, 1080, 0, 0}},
    };
    auto fields = [](const FrameLayout& l) { return std::vector<int>{l.sw, l.sh, l.ow, l.oh, l.x0, l.y0}; };
    for (const Case& c : cases)
        EXPECT_EQ(fields(frame_layout(c.pw, c.ph, c.vw, c.vh, c.fit)), fields(c.expected))
            << c.pw << "x" << c.ph << " mode " << int(c.fit);
}

// floor(30 D) + 1 frames, as the doubles compare, each at n / 30 s.
TEST(ExportLoop, WritesAFrameForEveryThirtiethUpToTheDuration) {
    const std::string dir = test::temp_dir("loop-count");
    struct Case {
        double d;
        std::size_t frames;
    } cases[] = {{0.0, 1}, {1.0 / 30, 2}, {0.0333, 1}, {0.5, 16}, {1.0, 31}, {2.0, 61}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.d);
        test::RecordingHost host;
        Encoder enc(host);
        WhiteSource src(32, 24);
        const std::string file = dir + "/d" + std::to_string(c.d) + ".mp4";
        ASSERT_EQ(write_animation(host, enc, src, file, frame_layout(32, 24, 32, 24, FitMode::None), c.d), 0);
        EXPECT_EQ(src.times.size(), c.frames);
        for (std::size_t n = 0; n < src.times.size(); ++n) EXPECT_EQ(src.times[n], double(n) / 30);
        const test::ReadBack r = test::read_back(file);
        EXPECT_EQ(r.pts.size(), c.frames);
        EXPECT_EQ(av_q2d(r.avg_frame_rate), 30.0);
    }
}

TEST(ExportLoop, TitlesProgressAndTheBouncingLogo) {
    const std::string dir = test::temp_dir("loop-titles");
    test::RecordingHost host;
    Encoder enc(host);
    WhiteSource src(16, 16);
    ASSERT_EQ(
        write_animation(host, enc, src, dir + "/a.avi", frame_layout(16, 16, 16, 16, FitMode::None), 10.0),
        0);
    const auto titles = host.titles();
    ASSERT_EQ(titles.size(), 302u + 1);
    EXPECT_EQ(titles.front(), "Velquinograph (Writing a video...)");
    EXPECT_EQ(titles[1], "Velquinograph(Writing a video...Timestamp = 0.033333s)");
    EXPECT_EQ(titles[301], "Velquinograph(Writing a video...Timestamp = 10.033333s)");
    EXPECT_EQ(titles.back(), "Velquinograph");
    const auto percents = host.percents();
    EXPECT_EQ(percents.front(), 0);
    EXPECT_EQ(percents[1], 1);  // trunc(0.33) and trunc(0.66) are 0, already shown; 0.1 s is 1 %
    EXPECT_EQ(percents.back(), 0);
    EXPECT_EQ(percents[percents.size() - 2], 100);
    for (std::size_t i = 2; i + 1 < percents.size(); ++i) EXPECT_NE(percents[i], percents[i - 1]);

    // a sweeps 1 -> 0 in 100 frames and back; b 0 -> 1 in 200 frames.
    ASSERT_EQ(src.logo.size(), 301u);
    EXPECT_EQ(src.logo[0], std::make_pair(1.0, 0.0));
    EXPECT_NEAR(src.logo[50].first, 0.5, 1e-9);
    EXPECT_NEAR(src.logo[50].second, 0.25, 1e-9);
    EXPECT_NEAR(src.logo[100].first, 0.0, 1e-9);
    EXPECT_NEAR(src.logo[150].first, 0.5, 1e-9);  // on its way back up
    EXPECT_NEAR(src.logo[200].second, 1.0, 1e-9);
    EXPECT_NEAR(src.logo[250].second, 0.75, 1e-9);  // b back down from 1 at frame 200
}

TEST(ExportLoop, StopsAtTheTwoHundredSecondCap) {
    const std::string dir = test::temp_dir("loop-cap");
    test::RecordingHost host;
    Encoder enc(host);
    WhiteSource src(16, 16);
    ASSERT_EQ(write_animation(host, enc, src, dir + "/long.avi", frame_layout(16, 16, 16, 16, FitMode::None),
                              250.0),
              0);
    EXPECT_EQ(src.times.size(), 6002u);  // the 6002nd frame is drawn, then refused by the cap
    EXPECT_EQ(test::read_back(dir + "/long.avi").pts.size(), 6001u);
}

// The picture goes where the fit mode puts it; the rest of the frame stays black.
TEST(ExportLoop, PlacesThePictureInTheFrame) {
    const std::string dir = test::temp_dir("loop-fit");
    struct Case {
        int pw, ph, vw, vh;
        FitMode fit;
        int ow, oh;
        int white_x0, white_x1, white_y0, white_y1;
    } cases[] = {
        {1000, 1000, 640, 480, FitMode::Fit, 640, 480, 80, 560, 0, 480},
        {1000, 500, 640, 480, FitMode::Fit, 640, 480, 0, 640, 80, 400},
        {641, 481, 641, 481, FitMode::None, 642, 482, 0, 641, 0, 481},
    };
    for (const Case& c : cases) {
        test::RecordingHost host;
        Encoder enc(host);
        WhiteSource src(c.pw, c.ph);
        const std::string file = dir + "/fit" + std::to_string(c.pw) + "x" + std::to_string(c.ph) + ".avi";
        ASSERT_EQ(write_animation(host, enc, src, file, frame_layout(c.pw, c.ph, c.vw, c.vh, c.fit), 0.0), 0);
        const test::ReadBack r = test::read_back(file, nullptr, true);
        ASSERT_EQ(r.frames.size(), 1u);
        const UBUFFER& f = r.frames[0];
        EXPECT_EQ(f.width(), c.ow);
        EXPECT_EQ(f.height(), c.oh);
        // Probe a few pixels away from the edges, where compression keeps clean levels.
        const int my = (c.white_y0 + c.white_y1) / 2, mx = (c.white_x0 + c.white_x1) / 2;
        auto g = [&](int x, int y) { return int(f.at(x, y, 1)); };
        EXPECT_GT(std::min({g(mx, my), g(c.white_x0 + 4, my), g(c.white_x1 - 5, my)}), 230);
        // Outside the picture's rectangle, where there is room, the frame is black.
        EXPECT_TRUE(c.white_x0 == 0 || g(c.white_x0 - 5, my) < 30);
        EXPECT_TRUE(c.white_x1 >= c.ow - 1 || g(c.white_x1 + 4, my) < 30);
        EXPECT_TRUE(c.white_y0 == 0 || g(mx, c.white_y0 - 5) < 30);
        EXPECT_TRUE(c.white_y1 >= c.oh - 1 || g(mx, c.white_y1 + 4) < 30);
    }
}

TEST(ExportLoop, StopKeepsAPlayableFileAndFailuresKeepNothing) {
    const std::string dir = test::temp_dir("loop-stop");
    {
        test::RecordingHost host;
        Encoder enc(host);
        WhiteSource src(32, 32);
        src.host_to_stop = &host;
        src.stop_after = 5;
        ASSERT_EQ(write_animation(host, enc, src, dir + "/stopped.mp4",
                                  frame_layout(32, 32, 32, 32, FitMode::None), 9.0),
                  0);
        EXPECT_EQ(test::read_back(dir + "/stopped.mp4").pts.size(), 5u);
    }
    {
        test::RecordingHost host;
        Encoder enc(host);
        WhiteSource src(32, 32);
        src.fail_at = 3;
        EXPECT_EQ(write_animation(host, enc, src, dir + "/failed.mp4",
                                  frame_layout(32, 32, 32, 32, FitMode::None), 9.0),
                  -1);
    }
    {
        test::RecordingHost host;
        Encoder enc(host);
        WhiteSource src(0, 0);
        EXPECT_EQ(
            write_animation(host, enc, src, dir + "/empty.mp4", frame_layout(0, 0, 0, 0, FitMode::None), 1.0),
            -1);
        EXPECT_TRUE(host.said("Failed to initialize an encoder"));
        EXPECT_EQ(host.titles().back(), "Velquinograph");
    }
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    EXPECT_EQ(names, std::vector<std::string>{"stopped.mp4"});
}

}  // namespace
}  // namespace velq
