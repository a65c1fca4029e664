// Reads a written video back with FFmpeg's demuxers and decoders, so tests check what a player
// would see: container, codec, size, time stamps and, when asked, the decoded pictures as BGRA.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
}

#include "image/buffer.h"

namespace velq::test {

struct ReadBack {
    std::string format;  // demuxer name, e.g. "mov,mp4,m4a,3gp,3g2,mj2"
    std::string codec;   // codec name of the video stream, e.g. "h264"
    int width = 0, height = 0;
    AVRational time_base{0, 1};
    AVRational avg_frame_rate{0, 1};
    std::string alpha_mode;         // the stream's "alpha_mode" tag (WebM), empty when absent
    std::vector<std::int64_t> pts;  // presentation time of every decoded frame, in time_base, in order
    AVPixelFormat decoded_format = AV_PIX_FMT_NONE;
    std::vector<UBUFFER> frames;  // decoded pictures as BGRA, when asked for
    int decode_errors = 0;
};

// Opens `path`, decodes every frame of its video stream (with the named decoder when given) and,
// when `keep_frames` is set, converts each to BGRA.
ReadBack read_back(const std::string& path, const char* decoder = nullptr, bool keep_frames = false);

// True when the presentation time of frame n is n / 30 s after the first one, exactly as far as the
// container's time base can say it (WebM and FLV count milliseconds).
bool frame_times_are_thirtieths(const ReadBack& r);

}  // namespace velq::test
