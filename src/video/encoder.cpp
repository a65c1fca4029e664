#include "video/encoder.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

namespace velq {

namespace {

constexpr AVRational kTimeBase{1, Encoder::kFps};
constexpr AVRational kFrameRate{Encoder::kFps, 1};

std::string extension_of(const std::string& file) {
    const auto dot = file.rfind('.');
    const auto slash = file.find_last_of("/\\");
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    return file.substr(dot + 1);
}

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// Codecs a container may take instead of its default one when the default refuses the picture
// size (H.263 in 3GP accepts five sizes only). Most widely played first.
constexpr AVCodecID kFallbackCodecs[] = {AV_CODEC_ID_MPEG4, AV_CODEC_ID_H264};

}  // namespace

std::string av_error_text(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {0};
    av_strerror(code, text, sizeof text);
    return text;
}

int send_and_write(AVCodecContext* enc, AVPacket* pkt, AVFormatContext* fmt, AVStream* stream,
                   AVFrame* frame) {
    int r = avcodec_send_frame(enc, frame);
    if (r < 0) {
        std::fprintf(stderr, "Could not send frame: %s\n", av_error_text(r).c_str());
        return -1;
    }
    for (;;) {
        r = avcodec_receive_packet(enc, pkt);
        if (r == AVERROR(EAGAIN)) return 0;
        if (r == AVERROR_EOF) return 1;
        if (r < 0) {
            std::fprintf(stderr, "Error encoding a frame: %s\n", av_error_text(r).c_str());
            return -1;
        }
        av_packet_rescale_ts(pkt, enc->time_base, stream->time_base);
        pkt->stream_index = stream->index;
        r = av_interleaved_write_frame(fmt, pkt);
        if (r < 0) {
            std::fprintf(stderr, "Error while writing output packet: %s\n", av_error_text(r).c_str());
            return -1;
        }
    }
}

bool wants_alpha(const std::string& file) {
    return extension_of(file) == "webm";
}

const AVOutputFormat* guess_output_format(const std::string& file) {
    if (lower(extension_of(file)) == "3gpp") return av_guess_format("3gp", nullptr, nullptr);
    return av_guess_format(nullptr, file.c_str(), nullptr);
}

Encoder::Encoder(Host& host, int threads) : host_(host), threads_(threads) {}

Encoder::~Encoder() {
    abandon();
}

void Encoder::reset_state() {
    close_video_stream();
    fmt_.reset();
    io_.reset();
    stream_ = nullptr;
    codec_ = nullptr;
    options_.clear();
    next_pts_ = 0;
    current_time_ = 0.0;
    header_written_ = false;
    drained_ = false;
    pix_fmt_ = AV_PIX_FMT_NONE;
}

int Encoder::init_video(const std::string& file, int width, int height) {
    if (open_encoder(file, width, height, wants_alpha(file)) != 0) {
        host_.message("Failed to initialize an encoder");
        return -1;
    }
    if (!source_.allocate(width, height, 4, Init::Zero)) {
        std::fputs("Could not allocate raw rgb buffer\n", stderr);
        host_.message("Failed to allocate a RGB buffer in init_video()");
        abandon();
        return -1;
    }
    return 0;
}

bool Encoder::alloc_output(const AVOutputFormat* format, const std::string& path) {
    fmt_.reset();
    AVFormatContext* ctx = nullptr;
    if (format) avformat_alloc_output_context2(&ctx, format, nullptr, path.c_str());
    fmt_.reset(ctx);
    return bool(fmt_);
}

int Encoder::open_encoder(const std::string& file, int width, int height, bool alpha) {
    if (width < 1 || height < 1) {
        std::fprintf(stderr, "Invalid encoding size! width = %d, height = %d\n", width, height);
        return -1;
    }
    av_log_set_level(AV_LOG_FATAL);
    abandon();
    reset_state();
    options_.set("fs", "100M");
    width_ = width;
    height_ = height;
    target_.emplace(file);

    // The muxer is chosen from the final name; the bytes go to the temporary one.
    const AVOutputFormat* format = guess_output_format(file);
    if (!format) format = av_guess_format("mpeg", nullptr, nullptr);
    if (!alloc_output(format, target_->temp())) {
        std::fputs("Could not deduce output format from file extension.\n", stderr);
        format = av_guess_format("mpeg", nullptr, nullptr);
        if (!alloc_output(format, target_->temp())) return -1;
    }
    if (format->video_codec == AV_CODEC_ID_NONE) return -1;

    AVCodecID codec_id = format->video_codec;
    if (!add_video_stream(codec_id, width, height, alpha)) return -1;
    if (!open_video_codec()) {
        // The default codec refused these settings: try the codecs the container also takes.
        bool opened = false;
        for (AVCodecID alt : kFallbackCodecs) {
            if (alt == codec_id || avformat_query_codec(format, alt, FF_COMPLIANCE_NORMAL) != 1) continue;
            if (!avcodec_find_encoder(alt)) continue;
            std::fprintf(stderr, "The %s encoder does not take %dx%d; encoding %s instead.\n",
                         avcodec_get_name(codec_id), width, height, avcodec_get_name(alt));
            close_video_stream();
            if (!alloc_output(format, target_->temp())) return -1;
            if (add_video_stream(alt, width, height, alpha) && open_video_codec()) {
                opened = true;
                break;
            }
        }
        if (!opened) return -1;
    }

    av_dump_format(fmt_.get(), 0, target_->temp().c_str(), 1);

    if (!(format->flags & AVFMT_NOFILE)) {
        AVIOContext* io = nullptr;
        const int r = avio_open(&io, target_->temp().c_str(), AVIO_FLAG_WRITE);
        if (r < 0) {
            std::fprintf(stderr, "Could not open MP4 file: %s\n", av_error_text(r).c_str());
            return -1;
        }
        io_.reset(io);
        fmt_->pb = io;
    }
    Dictionary opt = options_.copy();
    const int r = avformat_write_header(fmt_.get(), opt.out());
    if (r < 0) {
        std::fprintf(stderr, "Could not open MP4 file: %s\n", av_error_text(r).c_str());
        return -1;
    }
    header_written_ = true;
    return 0;
}

bool Encoder::add_video_stream(AVCodecID codec_id, int width, int height, bool alpha) {
    codec_ = avcodec_find_encoder(codec_id);
    if (!codec_) {
        std::fputs("Could not find encoder.\n", stderr);
        return false;
    }
    pkt_.reset(av_packet_alloc());
    if (!pkt_) {
        std::fputs("Could not allocate AVPacket.\n", stderr);
        return false;
    }
    stream_ = avformat_new_stream(fmt_.get(), nullptr);
    if (!stream_) {
        std::fputs("Could not allocate stream.\n", stderr);
        return false;
    }
    stream_->id = int(fmt_->nb_streams) - 1;
    enc_.reset(avcodec_alloc_context3(codec_));
    if (!enc_) {
        std::fputs("Could not alloc an encoding context.\n", stderr);
        return false;
    }
    if (codec_->type == AVMEDIA_TYPE_VIDEO) {
        AVCodecContext* c = enc_.get();
        c->codec_id = codec_id;
        c->bit_rate = kBitRate;
        c->width = width;
        c->height = height;
        stream_->time_base = kTimeBase;
        stream_->avg_frame_rate = kFrameRate;
        stream_->r_frame_rate = kFrameRate;
        c->time_base = kTimeBase;
        c->framerate = kFrameRate;
        c->gop_size = kGop;
        c->pix_fmt = alpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
        if (codec_id == AV_CODEC_ID_MPEG2VIDEO) c->max_b_frames = 2;
        if (codec_id == AV_CODEC_ID_MPEG1VIDEO) c->mb_decision = 2;
        pix_fmt_ = c->pix_fmt;
        tune_for_speed();
        keep_repeatable();
    }
    if (fmt_->oformat->flags & AVFMT_GLOBALHEADER) enc_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return true;
}

// Settings that change how fast a frame is encoded, not what the video is: a fixed thread count, and for VP9
// the realtime deadline (its defaults manage 5 frames a second at 1080p). The thread count is the
// one the encoder was made with, never the machine's cores (see kThreads). VP9's threads share a frame by
// tile columns (four at 1920 wide); its row multithreading is left off, as it makes each encoding of
// the same frames come out different.
void Encoder::tune_for_speed() {
    AVCodecContext* c = enc_.get();
    const int caps = codec_->capabilities;
    if (caps & (AV_CODEC_CAP_FRAME_THREADS | AV_CODEC_CAP_SLICE_THREADS | AV_CODEC_CAP_OTHER_THREADS))
        c->thread_count = threads_;
    if (codec_->id == AV_CODEC_ID_VP9 || codec_->id == AV_CODEC_ID_VP8) {
        av_opt_set(c->priv_data, "deadline", "realtime", 0);
        av_opt_set_int(c->priv_data, "cpu-used", 8, 0);
        av_opt_set_int(c->priv_data, "row-mt", 0, 0);
    }
}

// Settings that make a video's bytes depend on its frames alone. x264's AVX-512 routines read bytes
// of its own buffers that nothing wrote when a row is not a multiple of 32 wide, so the video carried
// whatever the process's memory held before (a job alone and the same job after others differed);
// its AVX2 routines take as long here. The WebM and Matroska muxers number tracks at random unless
// asked to be exact.
void Encoder::keep_repeatable() {
    AVCodecContext* c = enc_.get();
    if (std::strcmp(codec_->name, "libx264") == 0 && (av_get_cpu_flags() & AV_CPU_FLAG_AVX512))
        av_opt_set(c->priv_data, "x264-params", "asm=AVX2,Cache64", 0);
    const char* muxer = fmt_->oformat->name;
    if (std::strcmp(muxer, "webm") == 0 || std::strcmp(muxer, "matroska") == 0)
        fmt_->flags |= AVFMT_FLAG_BITEXACT;
}

bool Encoder::open_video_codec() {
    Dictionary opt = options_.copy();
    int r = avcodec_open2(enc_.get(), codec_, opt.out());
    if (r < 0) {
        std::fprintf(stderr, "Could not open video codec: %s\n", av_error_text(r).c_str());
        return false;
    }
    frame_ = alloc_picture(enc_->pix_fmt, enc_->width, enc_->height);
    if (!frame_) {
        std::fputs("Could not allocate video frame.\n", stderr);
        return false;
    }
    if (enc_->pix_fmt != AV_PIX_FMT_YUV420P) {
        tmp_frame_ = alloc_picture(AV_PIX_FMT_YUV420P, enc_->width, enc_->height);
        if (!tmp_frame_) {
            std::fputs("Could not allocate temporary picture.\n", stderr);
            return false;
        }
    }
    r = avcodec_parameters_from_context(stream_->codecpar, enc_.get());
    if (r < 0) {
        std::fprintf(stderr, "Could not copy the stream parameters: %s\n", av_error_text(r).c_str());
        return false;
    }
    return true;
}

FramePtr Encoder::alloc_picture(AVPixelFormat format, int width, int height) {
    FramePtr f(av_frame_alloc());
    if (!f) return f;
    f->format = format;
    f->width = width;
    f->height = height;
    const int r = av_frame_get_buffer(f.get(), 0);
    if (r < 0) {
        std::fprintf(stderr, "Could not allocate frame data: %s\n", av_error_text(r).c_str());
        f.reset();
    }
    return f;
}

int Encoder::write_video_frame(double& time_out) {
    if (!enc_ || !header_written_ || !source_) return -1;
    // The cap: pts 6000 (200 s) is the last frame encoded; after it the encoder is drained once.
    if (av_compare_ts(next_pts_, enc_->time_base, kMaxSeconds, AVRational{1, 1}) > 0) {
        int r = 1;
        if (!drained_) {
            drained_ = true;
            r = encode_and_write(nullptr) < 0 ? -1 : 1;
        }
        time_out = double(next_pts_) * enc_->time_base.num / enc_->time_base.den;
        return r;
    }
    if (av_frame_make_writable(frame_.get()) < 0) {
        std::fputs("Unable to make writable frame.\n", stderr);
        return -1;
    }
    if (!sws_) {
        sws_ = conversion_context(width_, height_, enc_->pix_fmt);
        if (!sws_) {
            std::fputs("Could not initialize the conversion context\n", stderr);
            return -1;
        }
    }
    if (convert_source() < 0) {
        std::fputs("Could not convert the picture for the encoder.\n", stderr);
        return -1;
    }
    frame_->pts = next_pts_++;
    current_time_ = double(frame_->pts) * enc_->time_base.num / enc_->time_base.den;
    const int r = encode_and_write(frame_.get());
    time_out = double(frame_->pts + 1) * enc_->time_base.num / enc_->time_base.den;
    return r < 0 ? -1 : 0;
}

// BGRA to the encoder's format at the same size, in slices on every core: at 1080p the conversion
// is a good part of a VP9 frame's time, and it runs in the encoder's thread.
SwsPtr Encoder::conversion_context(int width, int height, AVPixelFormat to) {
    SwsPtr sws(sws_alloc_context());
    if (!sws) return sws;
    SwsContext* c = sws.get();
    av_opt_set_int(c, "srcw", width, 0);
    av_opt_set_int(c, "srch", height, 0);
    av_opt_set_int(c, "src_format", AV_PIX_FMT_BGRA, 0);
    av_opt_set_int(c, "dstw", width, 0);
    av_opt_set_int(c, "dsth", height, 0);
    av_opt_set_int(c, "dst_format", to, 0);
    av_opt_set_int(c, "sws_flags", SWS_BICUBIC, 0);
    // Rows are converted alone, so the bytes do not depend on the count.
    av_opt_set_int(c, "threads", std::max(1, av_cpu_count()), 0);
    if (sws_init_context(c, nullptr, nullptr) < 0) sws.reset();
    return sws;
}

int Encoder::convert_source() {
    // The scaler keeps references to both frames while it works, so the source picture is lent to
    // it through a buffer that frees nothing.
    FramePtr src(av_frame_alloc());
    if (!src) return AVERROR(ENOMEM);
    src->format = AV_PIX_FMT_BGRA;
    src->width = width_;
    src->height = height_;
    src->buf[0] = av_buffer_create(
        source_.data(), source_.size(), [](void*, std::uint8_t*) {}, nullptr, 0);
    if (!src->buf[0]) return AVERROR(ENOMEM);
    src->data[0] = source_.data();
    src->linesize[0] = width_ * 4;
    return sws_scale_frame(sws_.get(), frame_.get(), src.get());
}

int Encoder::encode_and_write(AVFrame* frame) {
    return send_and_write(enc_.get(), pkt_.get(), fmt_.get(), stream_, frame);
}

void Encoder::close_video_stream() {
    sws_.reset();
    pkt_.reset();
    tmp_frame_.reset();
    frame_.reset();
    enc_.reset();
}

int Encoder::finish() {
    if (!target_ || !header_written_) {
        abandon();
        return -1;
    }
    int r = 0;
    if (!drained_) {
        drained_ = true;
        if (encode_and_write(nullptr) < 0) r = -1;
    }
    if (r == 0) {
        const int w = av_write_trailer(fmt_.get());
        if (w < 0) {
            std::fprintf(stderr, "Could not write the trailer: %s\n", av_error_text(w).c_str());
            r = -1;
        }
    }
    close_video_stream();
    AVIOContext* io = io_.release();
    if (io && avio_closep(&io) < 0 && r == 0) {
        std::fputs("Could not close the video file.\n", stderr);
        r = -1;
    }
    if (fmt_) fmt_->pb = nullptr;
    fmt_.reset();
    header_written_ = false;
    if (r == 0 && !target_->commit()) {
        std::fprintf(stderr, "Could not rename the video into %s\n", target_->target().c_str());
        r = -1;
    }
    target_.reset();
    source_.reset();
    return r;
}

void Encoder::abandon() {
    close_video_stream();
    if (fmt_) fmt_->pb = nullptr;
    fmt_.reset();
    io_.reset();
    header_written_ = false;
    target_.reset();  // removes the partial file
    source_.reset();
}

}  // namespace velq
