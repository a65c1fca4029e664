#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "recording_sink.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"
#include "support/video_read_back.h"
#include "video/encoder.h"
#include "video/gif_writer.h"
#include "video/pipelined_sink.h"

extern "C" {
#include <libavutil/cpu.h>
}

namespace velq {
namespace {

namespace fs = std::filesystem;

// Fills the encoder's source with a picture that changes from frame to frame.
void paint_frame(Encoder& enc, int n) {
    UBUFFER& s = enc.source();
    const UBUFFER pic = test::make_picture(s.width(), s.height(), [n](int x, int y) {
        return 0xFF000000u | std::uint32_t((x + y + n) * 2 & 255) << 16 | std::uint32_t(y * 4 & 255) << 8 |
               std::uint32_t((x * 4 + n * 8) & 255);
    });
    std::memcpy(s.data(), pic.data(), pic.size());
}

// Writes `frames` frames and finishes; the out-times seen after each frame are returned.
std::vector<double> encode(Host& host, const std::string& file, int w, int h, int frames) {
    Encoder enc(host);
    std::vector<double> times;
    if (enc.init_video(file, w, h) != 0) return times;
    for (int n = 0; n < frames; ++n) {
        paint_frame(enc, n);
        double t = -1;
        if (enc.write_video_frame(t) < 0) return {};
        times.push_back(t);
    }
    if (enc.finish() != 0) return {};
    return times;
}

// The final name picks the muxer (nothing guessed: the MPEG program stream), and only a lower-case
// .webm name gets an alpha channel. Every container the export offers plays, frame n carrying n / 30 s
// with the out-time that of the next frame.
TEST(Encoder, TheFinalNameChoosesTheMuxerAndTheAlphaChannel) {
    const std::string dir = test::temp_dir("enc-mux");
    // name, muxer, codec, says_fallback, alpha; codec: the codec read back
    const std::tuple<const char*, const char*, const char*, bool, bool> cases[] = {
        {"a.xyz", "mpeg", "mpeg1video", false, false}, {"a", "mpeg", "mpeg1video", false, false},
        {"b.3GPP", "3gp", "mpeg4", true, false},  // H.263 refuses 640 x 480
        {"c.3gpp", "3gp", "h263", false, false},  // 176 x 144 is one of H.263's sizes
        {"a.wmv", "asf", "msmpeg4v3", false, false},   {"a.mpeg", "mpeg", "mpeg1video", false, false},
        {"d.webm", "webm", "vp9", false, true},        {"d.WEBM", "webm", "vp9", false, false},
        {"d.webm.mp4", "mp4", "h264", false, false},   {"webm", "mpeg", "mpeg1video", false, false},
        {"e.mov", "mov", "h264", false, false},        {"e.avi", "avi", "mpeg4", false, false},
        {"e.flv", "flv", "flv1", false, false},
    };
    for (const auto& [name, muxer, codec, says_fallback, alpha] : cases) {
        SCOPED_TRACE(name);
        test::RecordingHost host;
        const bool large = std::string(name) == "b.3GPP";
        const int w = large ? 640 : 176, h = large ? 480 : 144;
        const std::string file = dir + "/" + name;
        Encoder enc(host);
        testing::internal::CaptureStderr();
        const int r = enc.init_video(file, w, h);
        const std::string err = testing::internal::GetCapturedStderr();
        ASSERT_EQ(r, 0);
        EXPECT_STREQ(enc.format_name(), muxer);
        EXPECT_EQ(err.find("does not take") != std::string::npos, says_fallback) << err;
        EXPECT_EQ(enc.alpha(), alpha);
        // Left half fully transparent, right half opaque.
        const UBUFFER half =
            test::make_picture(w, h, [w](int x, int) { return x < w / 2 ? 0x003264C8u : 0xFF3264C8u; });
        for (int n = 0; n < 3; ++n) {
            std::memcpy(enc.source().data(), half.data(), half.size());
            double t = -1;
            ASSERT_EQ(enc.write_video_frame(t), 0);
            EXPECT_EQ(t, double(n + 1) / 30);
        }
        ASSERT_EQ(enc.finish(), 0);
        // FFmpeg's own VP9 decoder drops the alpha plane; libvpx keeps it.
        const bool vp9 = std::string(codec) == "vp9";
        const test::ReadBack back = test::read_back(file, vp9 ? "libvpx-vp9" : nullptr, vp9);
        EXPECT_EQ(back.codec, codec);
        ASSERT_EQ(back.pts.size(), 3u);
        EXPECT_EQ(back.decode_errors, 0);
        // The MPEG program stream stamps only its first frame.
        EXPECT_TRUE(std::string(muxer) == "mpeg" || test::frame_times_are_thirtieths(back));
        if (!vp9) continue;
        EXPECT_EQ(back.decoded_format == AV_PIX_FMT_YUVA420P, alpha);
        EXPECT_EQ(back.alpha_mode == "1", alpha);
        EXPECT_EQ(back.frames[2].at(w / 4, h / 2, 3) <= 8, alpha);
        EXPECT_GE(back.frames[2].at(3 * w / 4, h / 2, 3), 247);
    }
}

// Both sinks refuse empty sizes with the message; a sink leaves only its finished file, or nothing.
TEST(Encoder, LeavesOnlyTheFinishedFileOrNothing) {
    const std::string dir = test::temp_dir("enc-files");
    const std::pair<int, int> sizes[] = {{0, 480}, {640, 0}, {-4, -2}};
    for (const char* name : {"/a.mp4", "/a.gif"})
        for (const auto& [w, h] : sizes) {
            test::RecordingHost host;
            Encoder enc(host);
            GifWriter gif(host);
            VideoSink& sink = std::string(name).ends_with(".gif") ? static_cast<VideoSink&>(gif) : enc;
            testing::internal::CaptureStderr();
            EXPECT_EQ(sink.init_video(dir + name, w, h), -1) << name;
            testing::internal::GetCapturedStderr();
            EXPECT_EQ(host.messages(), std::vector<std::string>{"Failed to initialize an encoder"}) << name;
            ASSERT_EQ(sink.init_video(dir + name, 16, 16), 0) << name;
            sink.abandon();
        }
    // Finished: renamed into place.
    test::RecordingHost host;
    ASSERT_EQ(encode(host, dir + "/done.mp4", 32, 32, 2).size(), 2u);
    const auto before = fs::file_size(dir + "/done.mp4");
    {
        // Abandoned half way (by the destructor) over an existing result, which stays as it was.
        Encoder enc(host);
        ASSERT_EQ(enc.init_video(dir + "/done.mp4", 320, 240), 0);
        double t;
        ASSERT_EQ(enc.write_video_frame(t), 0);
    }
    // No temporary name is left, from the refusals, the finished file or the abandoned one.
    EXPECT_EQ(test::file_names(dir), std::vector<std::string>{"done.mp4"});
    EXPECT_EQ(fs::file_size(dir + "/done.mp4"), before);
    // A folder that does not exist: the encoder cannot open its file.
    testing::internal::CaptureStderr();
    Encoder enc(host);
    EXPECT_EQ(enc.init_video(dir + "/missing/x.mp4", 32, 32), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Could not open MP4 file: "), std::string::npos);
    EXPECT_TRUE(host.said("Failed to initialize an encoder"));
}

// A video's bytes depend on its frames alone: not on what the memory the codecs are given held before
// (every allocation is filled with one pattern for the first encoding and another for the second),
// nor on how many cores the process is told it has (H.264 and MPEG-4 split their work by their thread
// count), nor on how VP9's threads share a frame. 720 wide, not a multiple of 32, leaves rows with
// padding; 120 high is not a multiple of 16, and the video still plays at its size.
TEST(Encoder, BytesDependOnTheFramesAlone) {
    const std::string dir = test::temp_dir("enc-repeat");
    for (const std::string name : {"a.mp4", "b.webm", "c.avi"}) {
        std::vector<std::uint8_t> bytes[2];
        for (int k = 0; k < 2; ++k) {
            test::RecordingHost host;
            mallopt(M_PERTURB, k == 0 ? 0x55 : 0xAA);
            av_cpu_force_count(k == 0 ? 1 : 7);
            const std::size_t frames = encode(host, dir + "/" + name, 720, 120, 8).size();
            av_cpu_force_count(0);
            mallopt(M_PERTURB, 0);
            ASSERT_EQ(frames, 8u) << name;
            bytes[k] = test::file_content(dir + "/" + name);
        }
        const test::ReadBack r = test::read_back(dir + "/" + name);
        EXPECT_EQ(std::tuple(r.width, r.height, r.pts.size(), r.decode_errors), std::tuple(720, 120, 8u, 0));
        EXPECT_TRUE(bytes[0] == bytes[1]) << name;
    }
}

TEST(PipelinedSink, HandsOverEveryFrameInOrderAndPassesRefusalsOn) {
    // cap, fail, answer, first, finish; answer: what the pipeline says once the inner sink has refused or
    // failed a frame; first: the first frame that the inner sink refuses or fails (6: none)
    const std::tuple<int, int, int, int, int> cases[] = {
        {1000, -1, 0, 6, 0},
        {3, -1, 1, 3, 0},
        {1000, 2, -1, 2, -1},
    };
    for (const int depth : {1, 3})
        for (const auto& [cap, fail, answer, first, finish] : cases) {
            test::RecordingSink inner;
            inner.cap = cap;
            inner.fail = fail;
            PipelinedSink pipe(inner, depth);
            ASSERT_EQ(pipe.init_video("", 4, 4), 0);
            std::vector<int> results;
            for (int n = 0; n < 6; ++n) {
                pipe.source().data()[pipe.source().size() - 1] = std::uint8_t(10 + n);
                double t = -1;
                results.push_back(pipe.write_video_frame(t));
                EXPECT_TRUE(results.back() != 0 || t == double(n + 1) / 30) << n;
            }
            // A refusal comes back with a later call (how much later depends on the worker; with one
            // frame in flight, by the second call after), and from then on every call gives it.
            const auto answered = std::find_if(results.begin(), results.end(), [](int r) { return r != 0; });
            EXPECT_GE(answered - results.begin(), std::min(first + 1, 6))
                << depth << " " << cap << " " << fail;
            EXPECT_TRUE(depth != 1 || answered - results.begin() <= first + 2) << cap << " " << fail;
            EXPECT_TRUE(std::all_of(answered, results.end(), [&](int r) { return r == answer; }));
            EXPECT_EQ(pipe.finish(), finish);
            std::vector<int> expected;
            for (int n = 0; n < first; ++n) expected.push_back(10 + n);
            EXPECT_EQ(inner.seen, expected) << depth << " " << cap << " " << fail;
            EXPECT_EQ(inner.abandoned, fail >= 0);
            EXPECT_EQ(inner.finished, fail < 0);
        }
}

}  // namespace
}  // namespace velq
