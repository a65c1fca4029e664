// One owner for every FFmpeg object the encoder and the GIF writer hold: each lives in a unique_ptr
// whose deleter is the matching FFmpeg free function, so every way out releases it exactly once.
#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libswscale/swscale.h>
}

namespace velq {

struct FormatContextFree {
    void operator()(AVFormatContext* c) const { avformat_free_context(c); }
};
struct IoContextClose {
    void operator()(AVIOContext* io) const { avio_closep(&io); }
};
struct CodecContextFree {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwsFree {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};
struct FilterGraphFree {
    void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
};

using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextFree>;
using IoContextPtr = std::unique_ptr<AVIOContext, IoContextClose>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextFree>;
using FramePtr = std::unique_ptr<AVFrame, FrameFree>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;
using SwsPtr = std::unique_ptr<SwsContext, SwsFree>;
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FilterGraphFree>;

// A dictionary is filled through a pointer-to-pointer, so it is held by value and freed here.
class Dictionary {
public:
    Dictionary() = default;
    ~Dictionary() { av_dict_free(&d_); }
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    Dictionary(Dictionary&& o) noexcept : d_(o.d_) { o.d_ = nullptr; }

    void set(const char* key, const char* value) { av_dict_set(&d_, key, value, 0); }
    // A copy that the caller hands to an FFmpeg call that consumes entries; freed by the copy.
    Dictionary copy() const {
        Dictionary c;
        av_dict_copy(&c.d_, d_, 0);
        return c;
    }
    AVDictionary** out() { return &d_; }
    const AVDictionary* get() const { return d_; }
    void clear() { av_dict_free(&d_); }

private:
    AVDictionary* d_ = nullptr;
};

// FFmpeg's text for an error code, at most 64 characters as the diagnostics print it.
std::string av_error_text(int code);

// Sends a frame (nullptr drains) to the encoder and writes every packet it gives back to the
// stream, with the time stamps moved to the stream's time base. 0 when the encoder wants more, 1
// when it is drained, -1 after a diagnostic on stderr.
int send_and_write(AVCodecContext* enc, AVPacket* pkt, AVFormatContext* fmt, AVStream* stream,
                   AVFrame* frame);

}  // namespace velq
