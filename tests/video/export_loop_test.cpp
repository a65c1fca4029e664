#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/encoder.h"
#include "video/export_loop.h"
#include "video/frame_scaler.h"
#include "video/gif_writer.h"

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
    } cases[] = {{1000, 1000, 640, 480, FitMode::Fit, 640, 480, 80, 560, 0, 480},
                 {641, 481, 641, 481, FitMode::None, 642, 482, 0, 641, 0, 481}};
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

// Three colour bands that slide one pixel a frame, over a transparent corner.
class BandSource : public FrameSource {
public:
    const UBUFFER* frame(double t, double, double) override {
        const int shift = int(t * 30 + 0.5);
        picture_ = test::make_picture(48, 32, [shift](int x, int y) -> std::uint32_t {
            if (x < 8 && y < 8) return 0x00000000;  // transparent: written black
            const std::uint32_t colours[] = {0xFFE01030, 0xFF20C040, 0xFF3050F0};
            return colours[((x + shift) / 6) % 3];
        });
        ++frames;
        return &picture_;
    }
    bool rewind() override {
        ++rewinds;
        return true;
    }
    int frames = 0, rewinds = 0;

private:
    UBUFFER picture_;
};

TEST(GifWriter, WritesThirtyFramesASecondWithTheAnimationsColours) {
    const std::string dir = test::temp_dir("gif");
    test::RecordingHost host;
    GifWriter gif(host);
    BandSource src;
    const std::string file = dir + "/clip.gif";
    ASSERT_EQ(write_animation(host, gif, src, file, frame_layout(48, 32, 48, 32, FitMode::None), 1.0), 0);
    EXPECT_EQ(src.rewinds, 1);
    EXPECT_EQ(src.frames, GifWriter::kSamples + 31);
    // Palette: the three colours and black are in it exactly.
    std::set<std::uint32_t> entries;
    const UBUFFER& pal = gif.palette();
    for (int y = 0; y < pal.height(); ++y)
        for (int x = 0; x < pal.width(); ++x)
            entries.insert(std::uint32_t(pal.at(x, y, 2)) << 16 | pal.at(x, y, 1) << 8 | pal.at(x, y, 0));
    for (std::uint32_t c : {0xE01030u, 0x20C040u, 0x3050F0u, 0x000000u})
        EXPECT_TRUE(entries.count(c)) << std::hex << c;

    const test::ReadBack r = test::read_back(file, nullptr, true);
    EXPECT_EQ(r.format, "gif");
    ASSERT_EQ(r.frames.size(), 31u);
    EXPECT_TRUE(test::frame_times_are_thirtieths(r));
    // Frame 10: band edges moved by ten pixels; colours exact, the transparent corner black.
    BandSource again;
    const UBUFFER& expected = *again.frame(10.0 / 30, 0, 0);
    int wrong = 0;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 48; ++x)
            for (int c = 0; c < 3; ++c) {
                const int want = (x < 8 && y < 8) ? 0 : expected.at(x, y, c);
                wrong += r.frames[10].at(x, y, c) != want;
            }
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(std::filesystem::exists(file));
}

// The plain way, one output pixel at a time in doubles: the mean over the source area it covers
// when a side shrinks, the two nearest samples by distance when it grows.
double ref_axis_weight(int src, int dst, int i, int k) {
    const double s = double(src) / dst;
    if (src == dst) return i == k ? 1 : 0;
    if (src > dst) {
        const double lo = i * s, hi = std::min(double(src), (i + 1) * s);
        return std::max(0.0, std::min(hi, k + 1.0) - std::max(lo, double(k))) / (hi - lo);
    }
    const double x = std::clamp((i + 0.5) * s - 0.5, 0.0, double(src - 1));
    const int k0 = int(x);
    if (k == k0) return 1 - (x - k0);
    if (k == k0 + 1) return x - k0;
    return 0;
}

TEST(FrameScaler, MatchesThePlainAreaMeanAndInterpolation) {
    struct Case {
        int sw, sh, dw, dh;
    } cases[] = {{37, 29, 20, 15}, {64, 48, 64, 48}, {30, 20, 47, 33},
                 {50, 40, 17, 40}, {9, 7, 3, 11},    {5, 5, 1, 1}};
    for (const Case& c : cases) {
        const UBUFFER src = test::noise_picture(c.sw, c.sh, 42, false);
        UBUFFER dst;
        dst.allocate(c.dw, c.dh, 4);
        FrameScaler(c.sw, c.sh, c.dw, c.dh).scale(src, dst.data(), std::size_t(c.dw) * 4);
        int worst = 0;
        for (int y = 0; y < c.dh; ++y)
            for (int x = 0; x < c.dw; ++x)
                for (int ch = 0; ch < 4; ++ch) {
                    double v = 0;
                    for (int j = 0; j < c.sh; ++j) {
                        const double wy = ref_axis_weight(c.sh, c.dh, y, j);
                        if (wy == 0) continue;
                        for (int i = 0; i < c.sw; ++i)
                            v += wy * ref_axis_weight(c.sw, c.dw, x, i) * src.at(i, j, ch);
                    }
                    worst = std::max(worst, std::abs(int(dst.at(x, y, ch)) - int(std::floor(v + 0.5))));
                }
        // Floats against doubles: a rounding apart at most; same sizes copy exactly.
        EXPECT_LE(worst, (c.sw == c.dw && c.sh == c.dh) ? 0 : 1)
            << c.sw << "x" << c.sh << " -> " << c.dw << "x" << c.dh;
    }
}

TEST(FrameScaler, WritesIntoARectangleOfALargerFrame) {
    const UBUFFER src = test::flat_picture(40, 40, 0xFF808080);
    UBUFFER frame = test::flat_picture(64, 48, 0);
    FrameScaler(40, 40, 20, 20).scale(src, &frame.at(10, 5), std::size_t(64) * 4);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            const bool inside = x >= 10 && x < 30 && y >= 5 && y < 25;
            ASSERT_EQ(frame.at(x, y, 1), inside ? 0x80 : 0) << x << "," << y;
        }
}

}  // namespace
}  // namespace velq
