#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/encoder.h"
#include "video/export_loop.h"
#include "video/frame_scaler.h"
#include "video/gif_writer.h"

namespace velq {
namespace {

// Exports a white picture of its size with an encoder, and remembers what the loop asked of it.
struct WhiteExport : FrameSource {
    test::RecordingHost host;
    Encoder enc{host};
    UBUFFER picture;
    std::vector<double> times;
    std::vector<std::pair<double, double>> logo;
    int stop_after = -1, fail_at = -1;

    WhiteExport(int w, int h) : picture(test::flat_picture(w, h, 0xFFFFFFFF)) {}
    const UBUFFER* frame(double t, double a, double b) override {
        times.push_back(t);
        logo.emplace_back(a, b);
        if (int(times.size()) == stop_after) host.stop = true;
        return int(times.size()) == fail_at ? nullptr : &picture;
    }
    bool rewind() override { return true; }
    // At the picture's own size unless a video size is given.
    int run(const std::string& file, double seconds, FitMode fit = FitMode::None, int vw = 0, int vh = 0) {
        const int w = picture.width(), h = picture.height();
        return write_animation(host, enc, *this, file, frame_layout(w, h, vw ? vw : w, vh ? vh : h, fit),
                               seconds);
    }
};

TEST(FrameLayout, FitModesSizesAndOffsets) {
    // pw, ph, vw, vh, fit, expected
    const std::tuple<int, int, int, int, FitMode, FrameLayout> cases[] = {
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
    for (const auto& [pw, ph, vw, vh, fit, expected] : cases)
        EXPECT_EQ(fields(frame_layout(pw, ph, vw, vh, fit)), fields(expected))
            << pw << "x" << ph << " mode " << int(fit);
}

// floor(30 D) + 1 frames, as the doubles compare, each at n / 30 s; from 200 s on the loop stops (the
// frame past the cap is drawn, then refused).
TEST(ExportLoop, WritesAFrameForEveryThirtiethUpToTheDuration) {
    const std::string dir = test::temp_dir("loop-count");
    const std::tuple<double, std::size_t, std::size_t> cases[] = {
        {0.0, 1, 1},   {1.0 / 30, 2, 2}, {0.0333, 1, 1},     {0.5, 16, 16},
        {1.0, 31, 31}, {2.0, 61, 61},    {250.0, 6002, 6001}};
    for (const auto& [d, drawn, written] : cases) {
        SCOPED_TRACE(d);
        WhiteExport e(16, 16);
        const std::string file = dir + "/d" + std::to_string(d) + ".avi";
        ASSERT_EQ(e.run(file, d), 0);
        EXPECT_EQ(e.times.size(), drawn);
        for (std::size_t n = 0; n < e.times.size(); ++n) ASSERT_EQ(e.times[n], double(n) / 30);
        const test::ReadBack r = test::read_back(file);
        EXPECT_EQ(r.pts.size(), written);
        EXPECT_EQ(av_q2d(r.avg_frame_rate), 30.0);
    }
}

TEST(ExportLoop, TitlesProgressAndTheBouncingLogo) {
    WhiteExport e(16, 16);
    ASSERT_EQ(e.run(test::temp_dir("loop-titles") + "/a.avi", 10.0), 0);
    const auto titles = e.host.titles();
    ASSERT_EQ(titles.size(), 302u + 1);
    EXPECT_EQ(titles.front(), "Velquinograph (Writing a video...)");
    EXPECT_EQ(titles[1], "Velquinograph(Writing a video...Timestamp = 0.033333s)");
    EXPECT_EQ(titles[301], "Velquinograph(Writing a video...Timestamp = 10.033333s)");
    EXPECT_EQ(titles.back(), "Velquinograph");
    const auto percents = e.host.percents();
    EXPECT_EQ(percents.front(), 0);
    EXPECT_EQ(percents[1], 1);  // trunc(0.33) and trunc(0.66) are 0, already shown; 0.1 s is 1 %
    EXPECT_EQ(percents.back(), 0);
    EXPECT_EQ(percents[percents.size() - 2], 100);
    for (std::size_t i = 2; i + 1 < percents.size(); ++i) EXPECT_NE(percents[i], percents[i - 1]);
    // a sweeps 1 -> 0 in 100 frames and back; b 0 -> 1 in 200 frames, then back down.
    ASSERT_EQ(e.logo.size(), 301u);
    const std::tuple<int, double, double> logo[] = {{0, 1.0, 0.0},    {50, 0.5, 0.25}, {100, 0.0, 0.5},
                                                    {150, 0.5, 0.75}, {200, 1.0, 1.0}, {250, 0.5, 0.75}};
    for (const auto& [n, a, b] : logo) {
        EXPECT_NEAR(e.logo[n].first, a, 1e-9) << n;
        EXPECT_NEAR(e.logo[n].second, b, 1e-9) << n;
    }
}

// The picture goes where the layout puts it (641 x 427 at y 27, in a frame rounded up to 642 x 482);
// the rest of the frame stays black. Probes keep a few pixels from the edges, where compression keeps
// clean levels.
TEST(ExportLoop, PlacesThePictureInTheFrame) {
    WhiteExport e(300, 200);
    const std::string file = test::temp_dir("loop-fit") + "/fit.avi";
    ASSERT_EQ(e.run(file, 0.0, FitMode::Fit, 641, 481), 0);
    const test::ReadBack r = test::read_back(file, nullptr, true);
    ASSERT_EQ(r.frames.size(), 1u);
    const UBUFFER& f = r.frames[0];
    EXPECT_EQ(std::pair(f.width(), f.height()), std::pair(642, 482));
    auto g = [&](int x, int y) { return int(f.at(x, y, 1)); };
    EXPECT_GT(std::min({g(4, 240), g(320, 32), g(320, 240), g(636, 240), g(320, 448)}), 230);
    EXPECT_LT(std::max(g(320, 22), g(320, 458)), 30);
}

// A stopped export keeps what it wrote, playable; a frame that cannot be drawn keeps nothing.
TEST(ExportLoop, StopKeepsAPlayableFileAndFailuresKeepNothing) {
    const std::string dir = test::temp_dir("loop-stop");
    WhiteExport stopped(32, 32), failed(32, 32);
    stopped.stop_after = 5;
    ASSERT_EQ(stopped.run(dir + "/stopped.mp4", 9.0), 0);
    EXPECT_EQ(test::read_back(dir + "/stopped.mp4").pts.size(), 5u);
    failed.fail_at = 3;
    EXPECT_EQ(failed.run(dir + "/failed.mp4", 9.0), -1);
    EXPECT_EQ(test::file_names(dir), std::vector<std::string>{"stopped.mp4"});
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

// Writes one second of a 48 x 32 animation as a GIF and reads its frames back.
test::ReadBack write_gif(FrameSource& src, const std::string& name) {
    const std::string file = test::temp_dir(name) + "/clip.gif";
    test::RecordingHost host;
    GifWriter gif(host);
    EXPECT_EQ(write_animation(host, gif, src, file, frame_layout(48, 32, 48, 32, FitMode::None), 1.0), 0);
    return test::read_back(file, nullptr, true);
}

TEST(GifWriter, WritesThirtyFramesASecondWithTheAnimationsColours) {
    BandSource src;
    const test::ReadBack r = write_gif(src, "gif");
    EXPECT_EQ(src.rewinds, 1);
    EXPECT_EQ(src.frames, GifWriter::kSamples + 31);
    EXPECT_EQ(r.format, "gif");
    ASSERT_EQ(r.frames.size(), 31u);
    EXPECT_TRUE(test::frame_times_are_thirtieths(r));
    // Frame 10: band edges moved by ten pixels; colours exact, the transparent corner black.
    BandSource again;
    const UBUFFER& expected = *again.frame(10.0 / 30, 0, 0);
    int wrong = 0;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 48; ++x)
            for (int c = 0; c < 3; ++c) wrong += r.frames[10].at(x, y, c) != expected.at(x, y, c);
    EXPECT_EQ(wrong, 0);
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

// Two flat halves whose colours drift by one level a frame: the writer leaves colours on show while
// they stay within kKeepError, and every frame stays that close to the animation.
TEST(GifWriter, ColoursCloseToWhatIsShownAreLeftOnShow) {
    class Drift : public FrameSource {
    public:
        const UBUFFER* frame(double t, double, double) override {
            const std::uint32_t k = std::uint32_t(t * 30 + 0.5);
            picture_ = test::make_picture(
                48, 32, [k](int x, int) { return x < 24 ? 0xFF643232u + (k << 16) : 0xFF1414C8u - k; });
            return &picture_;
        }
        bool rewind() override { return true; }
        UBUFFER picture_;
    };
    Drift src;
    const test::ReadBack r = write_gif(src, "gif_keep");
    ASSERT_EQ(r.frames.size(), 31u);
    int kept = 0;
    for (int f = 0; f < 31; ++f) {
        const UBUFFER& want = *src.frame(f / 30.0, 0, 0);
        for (int x : {0, 47})
            for (int c = 0; c < 3; ++c) {
                const int d = std::abs(r.frames[f].at(x, 5, c) - want.at(x, 5, c));
                EXPECT_LE(d, GifWriter::kKeepError) << "frame " << f;
                kept += d != 0;
            }
    }
    EXPECT_GT(kept, 0) << "drifting colours are left on show for a while";
}

TEST(FrameScaler, MatchesThePlainAreaMeanAndInterpolation) {
    // sw, sh, dw, dh
    const std::tuple<int, int, int, int> cases[] = {{37, 29, 20, 15}, {64, 48, 64, 48}, {30, 20, 47, 33},
                                                    {50, 40, 17, 40}, {9, 7, 3, 11},    {5, 5, 1, 1}};
    for (const auto& [sw, sh, dw, dh] : cases) {
        const UBUFFER src = test::noise_picture(sw, sh, 42, false);
        UBUFFER dst;
        dst.allocate(dw, dh, 4);
        FrameScaler(sw, sh, dw, dh).scale(src, dst.data(), std::size_t(dw) * 4);
        int worst = 0;
        for (int y = 0; y < dh; ++y)
            for (int x = 0; x < dw; ++x)
                for (int ch = 0; ch < 4; ++ch) {
                    double v = 0;
                    for (int j = 0; j < sh; ++j) {
                        const double wy = ref_axis_weight(sh, dh, y, j);
                        if (wy == 0) continue;
                        for (int i = 0; i < sw; ++i)
                            v += wy * ref_axis_weight(sw, dw, x, i) * src.at(i, j, ch);
                    }
                    worst = std::max(worst, std::abs(int(dst.at(x, y, ch)) - int(std::floor(v + 0.5))));
                }
        // Floats against doubles: a rounding apart at most; same sizes copy exactly.
        EXPECT_LE(worst, (sw == dw && sh == dh) ? 0 : 1) << sw << "x" << sh << " -> " << dw << "x" << dh;
    }
}

}  // namespace
}  // namespace velq
