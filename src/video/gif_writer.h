// The GIF export: 30 frames a second (delays of 3 or 4 hundredths that keep the frames on their
// thirtieths), one 256-colour palette for the whole animation computed from pictures spread over it,
// ordered dithering that stays put from frame to frame, and the same temporary-file rule and
// 200-second cap as the videos. Transparent pixels are written black, as the videos show them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "video/av_ptr.h"
#include "video/temp_target.h"
#include "video/video_sink.h"

namespace velq {

class GifWriter : public VideoSink {
public:
    static constexpr int kSamples = 16;
    // Largest difference per channel between a pixel's colour and the one left on show for it.
    static constexpr int kKeepError = 10;

    explicit GifWriter(Host& host) : host_(host) {}
    ~GifWriter() override { abandon(); }
    GifWriter(const GifWriter&) = delete;
    GifWriter& operator=(const GifWriter&) = delete;

    int init_video(const std::string& file, int width, int height) override;
    UBUFFER& source() override { return source_; }
    int write_video_frame(double& time_out) override;
    int finish() override;
    void abandon() override;
    int samples_wanted() const override { return kSamples; }
    // Adds the current picture to the palette's statistics.
    void add_sample() override;

    // The palette in use (256 entries of BGRA); empty before the first frame.
    const UBUFFER& palette() const { return palette_; }

private:
    bool start_palette();
    bool end_palette();
    bool start_mapping();
    bool push(AVFilterContext* src, const UBUFFER& picture, std::int64_t pts);
    int encode(AVFrame* frame);
    // Pixels whose colour is within kKeepError of what is already on show keep the index on show,
    // so the encoder leaves them out of the frame (it marks pixels equal to the last frame
    // transparent, with a palette entry the frame does not use: the palette has 255 colours).
    void keep_shown(AVFrame* frame);

    Host& host_;
    std::optional<TempTarget> target_;
    IoContextPtr io_;
    FormatContextPtr fmt_;
    AVStream* stream_ = nullptr;
    CodecContextPtr enc_;
    PacketPtr pkt_;
    FramePtr frame_;
    FilterGraphPtr palette_graph_, map_graph_;
    AVFilterContext *palette_in_ = nullptr, *palette_out_ = nullptr;
    AVFilterContext *map_in_ = nullptr, *map_palette_ = nullptr, *map_out_ = nullptr;
    UBUFFER source_, palette_;
    int width_ = 0, height_ = 0;
    int samples_ = 0;
    std::int64_t next_pts_ = 0;
    std::vector<std::uint8_t> shown_;  // palette index on show at each pixel
    bool header_written_ = false;
};

}  // namespace velq
