#include "support/video_read_back.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include "video/av_ptr.h"

namespace velq::test {

namespace {

struct InputClose {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};

void keep_as_bgra(const AVFrame* f, ReadBack& out) {
    UBUFFER b;
    if (!b.allocate(f->width, f->height, 4)) return;
    SwsPtr sws(sws_getContext(f->width, f->height, AVPixelFormat(f->format), f->width, f->height,
                              AV_PIX_FMT_BGRA, SWS_POINT, nullptr, nullptr, nullptr));
    if (!sws) return;
    std::uint8_t* planes[4] = {b.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {f->width * 4, 0, 0, 0};
    sws_scale(sws.get(), f->data, f->linesize, 0, f->height, planes, strides);
    out.frames.push_back(std::move(b));
}

void take_frames(AVCodecContext* dec, AVFrame* f, bool keep, ReadBack& out) {
    while (avcodec_receive_frame(dec, f) >= 0) {
        out.pts.push_back(f->best_effort_timestamp);
        out.decoded_format = AVPixelFormat(f->format);
        if (keep) keep_as_bgra(f, out);
        av_frame_unref(f);
    }
}

}  // namespace

ReadBack read_back(const std::string& path, const char* decoder_name, bool keep_frames) {
    ReadBack out;
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.c_str(), nullptr, nullptr) < 0) return out;
    std::unique_ptr<AVFormatContext, InputClose> in(raw);
    if (avformat_find_stream_info(in.get(), nullptr) < 0) return out;
    const int si = av_find_best_stream(in.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (si < 0) return out;
    const AVStream* st = in->streams[si];
    out.format = in->iformat->name;
    out.codec = avcodec_get_name(st->codecpar->codec_id);
    out.width = st->codecpar->width;
    out.height = st->codecpar->height;
    out.time_base = st->time_base;
    out.avg_frame_rate = st->avg_frame_rate;
    if (const AVDictionaryEntry* e = av_dict_get(st->metadata, "alpha_mode", nullptr, 0))
        out.alpha_mode = e->value;

    const AVCodec* codec = decoder_name ? avcodec_find_decoder_by_name(decoder_name)
                                        : avcodec_find_decoder(st->codecpar->codec_id);
    if (!codec) return out;
    CodecContextPtr dec(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(dec.get(), st->codecpar);
    dec->thread_count = 1;
    if (avcodec_open2(dec.get(), codec, nullptr) < 0) return out;
    PacketPtr pkt(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    while (av_read_frame(in.get(), pkt.get()) >= 0) {
        if (pkt->stream_index == si) {
            if (avcodec_send_packet(dec.get(), pkt.get()) < 0) ++out.decode_errors;
            take_frames(dec.get(), frame.get(), keep_frames, out);
        }
        av_packet_unref(pkt.get());
    }
    avcodec_send_packet(dec.get(), nullptr);
    take_frames(dec.get(), frame.get(), keep_frames, out);
    return out;
}

bool frame_times_are_thirtieths(const ReadBack& r) {
    if (r.pts.empty()) return false;
    for (std::size_t n = 0; n < r.pts.size(); ++n) {
        // n / 30 s expressed in the container's time base (rounded where it counts milliseconds).
        if (r.pts[n] - r.pts[0] != av_rescale_q(std::int64_t(n), AVRational{1, 30}, r.time_base))
            return false;
    }
    return true;
}

}  // namespace velq::test
