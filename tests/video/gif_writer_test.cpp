#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/export_loop.h"
#include "video/gif_writer.h"

namespace velq {
namespace {

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
    const std::string file = test::temp_dir("gif_keep") + "/drift.gif";
    test::RecordingHost host;
    GifWriter gif(host);
    Drift src;
    ASSERT_EQ(write_animation(host, gif, src, file, frame_layout(48, 32, 48, 32, FitMode::None), 1.0), 0);
    const test::ReadBack r = test::read_back(file, nullptr, true);
    ASSERT_EQ(r.frames.size(), 31u);
    int kept = 0;
    for (int f = 0; f < 31; ++f) {
        const UBUFFER& want = *src.frame(f / 30.0, 0, 0);
        for (int x : {0, 47}) {
            for (int c = 0; c < 3; ++c) {
                const int d = std::abs(r.frames[f].at(x, 5, c) - want.at(x, 5, c));
                EXPECT_LE(d, GifWriter::kKeepError) << "frame " << f;
                kept += d != 0;
            }
        }
    }
    EXPECT_GT(kept, 0) << "drifting colours are left on show for a while";
}

}  // namespace
}  // namespace velq
