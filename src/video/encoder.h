// The video encoder: turns a sequence of BGRA frames of one fixed size into a video file at exactly
// 30 frames per second. The container comes from the file name and the codec is the container's
// default one; the file is written under a temporary name and renamed into place when finished.
// One Encoder is one video; its FFmpeg objects are owned by its members.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/host.h"
#include "image/buffer.h"
#include "video/av_ptr.h"
#include "video/temp_target.h"
#include "video/video_sink.h"

namespace velq {

class Encoder : public VideoSink {
public:
    static constexpr int kFps = 30;
    static constexpr std::int64_t kBitRate = 10000000;
    static constexpr int kGop = 15;
    static constexpr int kMaxSeconds = 200;  // frames with pts 0..6000 at most
    // The codec's threads, fixed rather than the machine's cores: the bytes of H.264 and MPEG-4
    // depend on the count, so a fixed one makes the same file on any machine. Eight for a video
    // encoded alone (as fast as two on two cores, and more cores are used where there are more);
    // two where many encoders run side by side, which fill the cores among them and would each
    // hold another 150 MB at 1080p with eight.
    static constexpr int kThreads = 8;
    static constexpr int kSideBySideThreads = 2;

    explicit Encoder(Host& host, int threads = kThreads);
    // A video that was neither finished nor abandoned is abandoned: its partial file is removed.
    ~Encoder() override;
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    // Opens the encoder for `file` (alpha only when the extension is exactly "webm") and allocates
    // the BGRA source buffer. 0, or -1 after telling the user "Failed to initialize an encoder" or
    // "Failed to allocate a RGB buffer in init_video()".
    int init_video(const std::string& file, int width, int height) override;
    // Muxer, stream, codec and header; 0 or -1. Diagnostics go to stderr only.
    int open_encoder(const std::string& file, int width, int height, bool alpha);
    bool add_video_stream(AVCodecID codec_id, int width, int height, bool alpha);
    bool open_video_codec();
    // A frame with its own buffer, or none after "Could not allocate frame data: %s\n".
    static FramePtr alloc_picture(AVPixelFormat format, int width, int height);

    // Converts the source buffer into the next frame and encodes it; `time_out` becomes the time of
    // the frame after it, in seconds. 0 when the frame was written; 1 when the video had already
    // reached its 200-second cap, in which case nothing is encoded and the encoder is drained;
    // -1 on failure.
    int write_video_frame(double& time_out) override;
    // Sends a frame (none drains) and writes every packet that comes out: 0 when the encoder wants
    // more input, 1 at the end of the stream, -1 on failure.
    int encode_and_write(AVFrame* frame);
    // Frees the codec context, the frames, the packet and the scaler.
    void close_video_stream();

    // Drains the encoder (unless the cap already did), writes the trailer, closes the file and
    // renames it into place. 0, or -1 with the partial file removed.
    int finish() override;
    // Ends the video without keeping anything: the partial file is removed.
    void abandon() override;

    // The BGRA picture that the caller fills before each write_video_frame(): width x height x 4,
    // rows without padding, cleared once when allocated.
    UBUFFER& source() override { return source_; }

    int width() const { return width_; }
    int height() const { return height_; }
    bool alpha() const { return pix_fmt_ == AV_PIX_FMT_YUVA420P; }
    AVPixelFormat pixel_format() const { return pix_fmt_; }
    const char* codec_name() const { return codec_ ? codec_->name : ""; }
    const char* format_name() const { return fmt_ ? fmt_->oformat->name : ""; }
    const AVCodecContext* context() const { return enc_.get(); }
    std::int64_t next_pts() const { return next_pts_; }
    double current_time() const { return current_time_; }

private:
    bool alloc_output(const AVOutputFormat* format, const std::string& path);
    void tune_for_speed();
    void keep_repeatable();
    void reset_state();
    static SwsPtr conversion_context(int width, int height, AVPixelFormat to);
    int convert_source();

    Host& host_;
    int threads_;
    std::optional<TempTarget> target_;
    // Destroyed in reverse order: the scaler, frames and codec go before the muxer and its file.
    IoContextPtr io_;
    FormatContextPtr fmt_;
    AVStream* stream_ = nullptr;      // owned by fmt_
    const AVCodec* codec_ = nullptr;  // static FFmpeg table entry
    CodecContextPtr enc_;
    FramePtr frame_;
    FramePtr tmp_frame_;  // YUV 4:2:0 when the codec's format differs; never written
    PacketPtr pkt_;
    SwsPtr sws_;
    Dictionary options_;  // "fs" = "100M", copied into the codec open and the header write
    UBUFFER source_;
    int width_ = 0, height_ = 0;
    AVPixelFormat pix_fmt_ = AV_PIX_FMT_NONE;
    std::int64_t next_pts_ = 0;
    double current_time_ = 0.0;
    bool header_written_ = false;
    bool drained_ = false;
};

// The alpha rule of init_video: true only when the text after the last dot is exactly "webm".
bool wants_alpha(const std::string& file);
// The muxer for a file name: FFmpeg's guess, or "3gp" for ".3gpp" (which FFmpeg does not guess);
// none when neither fits.
const AVOutputFormat* guess_output_format(const std::string& file);

}  // namespace velq
