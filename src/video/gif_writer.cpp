#include "video/gif_writer.h"

#include <cstdio>
#include <cstring>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include "video/encoder.h"

namespace velq {

namespace {

constexpr AVRational kFrameTime{1, Encoder::kFps};
constexpr AVRational kGifTime{1, 100};

struct InOutFree {
    void operator()(AVFilterInOut* p) const { avfilter_inout_free(&p); }
};
using InOutPtr = std::unique_ptr<AVFilterInOut, InOutFree>;

AVFilterContext* make_source(AVFilterGraph* g, const char* name, int w, int h) {
    char args[160];
    std::snprintf(args, sizeof args, "video_size=%dx%d:pix_fmt=%d:time_base=%d/%d:pixel_aspect=1/1", w, h,
                  int(AV_PIX_FMT_BGRA), kFrameTime.num, kFrameTime.den);
    AVFilterContext* ctx = nullptr;
    if (avfilter_graph_create_filter(&ctx, avfilter_get_by_name("buffer"), name, args, nullptr, g) < 0)
        return nullptr;
    return ctx;
}

AVFilterContext* make_sink(AVFilterGraph* g) {
    AVFilterContext* ctx = nullptr;
    if (avfilter_graph_create_filter(&ctx, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, g) <
        0)
        return nullptr;
    return ctx;
}

// Links the named sources into `description` and its output into the sink, then configures.
bool link(AVFilterGraph* g, const char* description, AVFilterContext* const* sources,
          const char* const* names, int count, AVFilterContext* sink) {
    AVFilterInOut* outputs = nullptr;
    for (int i = count - 1; i >= 0; --i) {
        AVFilterInOut* o = avfilter_inout_alloc();
        if (!o) {
            avfilter_inout_free(&outputs);
            return false;
        }
        o->name = av_strdup(names[i]);
        o->filter_ctx = sources[i];
        o->pad_idx = 0;
        o->next = outputs;
        outputs = o;
    }
    InOutPtr out_list(outputs);
    InOutPtr in_list(avfilter_inout_alloc());
    if (!in_list) return false;
    in_list->name = av_strdup("out");
    in_list->filter_ctx = sink;
    in_list->pad_idx = 0;
    in_list->next = nullptr;
    AVFilterInOut* ins = in_list.release();
    AVFilterInOut* outs = out_list.release();
    const int r = avfilter_graph_parse_ptr(g, description, &ins, &outs, nullptr);
    avfilter_inout_free(&ins);
    avfilter_inout_free(&outs);
    return r >= 0 && avfilter_graph_config(g, nullptr) >= 0;
}

}  // namespace

int GifWriter::init_video(const std::string& file, int width, int height) {
    abandon();
    auto fail = [&](const char* what, int code) {
        if (what) std::fprintf(stderr, "%s%s\n", what, code < 0 ? av_error_text(code).c_str() : "");
        host_.message("Failed to initialize an encoder");
        abandon();
        return -1;
    };
    if (width < 1 || height < 1) {
        std::fprintf(stderr, "Invalid encoding size! width = %d, height = %d\n", width, height);
        return fail(nullptr, 0);
    }
    av_log_set_level(AV_LOG_FATAL);
    palette_.reset();
    width_ = width;
    height_ = height;
    target_.emplace(file);
    AVFormatContext* ctx = nullptr;
    avformat_alloc_output_context2(&ctx, av_guess_format("gif", nullptr, nullptr), nullptr,
                                   target_->temp().c_str());
    fmt_.reset(ctx);
    if (!fmt_) return fail("Could not deduce output format from file extension.", 0);
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_GIF);
    if (!codec) return fail("Could not find encoder.", 0);
    pkt_.reset(av_packet_alloc());
    frame_.reset(av_frame_alloc());
    stream_ = avformat_new_stream(fmt_.get(), nullptr);
    enc_.reset(avcodec_alloc_context3(codec));
    if (!pkt_ || !frame_ || !stream_ || !enc_) return fail("Could not alloc an encoding context.", 0);
    enc_->width = width;
    enc_->height = height;
    enc_->pix_fmt = AV_PIX_FMT_PAL8;
    enc_->time_base = kGifTime;
    enc_->framerate = AVRational{Encoder::kFps, 1};
    stream_->time_base = kGifTime;
    stream_->avg_frame_rate = AVRational{Encoder::kFps, 1};
    if (fmt_->oformat->flags & AVFMT_GLOBALHEADER) enc_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int r = avcodec_open2(enc_.get(), codec, nullptr);
    if (r < 0) return fail("Could not open video codec: ", r);
    r = avcodec_parameters_from_context(stream_->codecpar, enc_.get());
    if (r < 0) return fail("Could not copy the stream parameters: ", r);
    AVIOContext* io = nullptr;
    r = avio_open(&io, target_->temp().c_str(), AVIO_FLAG_WRITE);
    if (r < 0) return fail("Could not open the GIF file: ", r);
    io_.reset(io);
    fmt_->pb = io;
    r = avformat_write_header(fmt_.get(), nullptr);
    if (r < 0) return fail("Could not open the GIF file: ", r);
    header_written_ = true;
    if (!start_palette()) return fail("Could not set up the palette filters.", 0);
    if (!source_.allocate(width, height, 4, Init::Zero)) {
        std::fputs("Could not allocate raw rgb buffer\n", stderr);
        host_.message("Failed to allocate a RGB buffer in init_video()");
        abandon();
        return -1;
    }
    return 0;
}

bool GifWriter::start_palette() {
    palette_graph_.reset(avfilter_graph_alloc());
    if (!palette_graph_) return false;
    palette_in_ = make_source(palette_graph_.get(), "in", width_, height_);
    palette_out_ = make_sink(palette_graph_.get());
    const char* names[] = {"in"};
    return palette_in_ && palette_out_ &&
           link(palette_graph_.get(),
                "[in]palettegen=max_colors=255:reserve_transparent=0:stats_mode=full[out]", &palette_in_,
                names, 1, palette_out_);
}

// Copies a picture into a new frame (opaque: the alpha byte becomes 255) and gives it to a source.
bool GifWriter::push(AVFilterContext* src, const UBUFFER& picture, std::int64_t pts) {
    FramePtr f(av_frame_alloc());
    if (!f) return false;
    f->format = AV_PIX_FMT_BGRA;
    f->width = picture.width();
    f->height = picture.height();
    if (av_frame_get_buffer(f.get(), 0) < 0) return false;
    for (int y = 0; y < picture.height(); ++y) {
        std::uint8_t* out = f->data[0] + std::size_t(y) * f->linesize[0];
        std::memcpy(out, picture.row(y), std::size_t(picture.width()) * 4);
        for (int x = 0; x < picture.width(); ++x) out[x * 4 + 3] = 255;
    }
    f->pts = pts;
    return av_buffersrc_add_frame(src, f.get()) >= 0;
}

void GifWriter::add_sample() {
    if (!palette_graph_ || map_graph_ || !source_) return;
    if (push(palette_in_, source_, samples_)) ++samples_;
}

bool GifWriter::end_palette() {
    if (samples_ == 0) add_sample();
    if (av_buffersrc_add_frame(palette_in_, nullptr) < 0) return false;
    FramePtr pal(av_frame_alloc());
    if (!pal || av_buffersink_get_frame(palette_out_, pal.get()) < 0) return false;
    if (!palette_.allocate(pal->width, pal->height, 4)) return false;
    for (int y = 0; y < pal->height; ++y)
        std::memcpy(palette_.row(y), pal->data[0] + std::size_t(y) * pal->linesize[0],
                    std::size_t(pal->width) * 4);
    palette_graph_.reset();
    palette_in_ = palette_out_ = nullptr;
    return true;
}

bool GifWriter::start_mapping() {
    map_graph_.reset(avfilter_graph_alloc());
    if (!map_graph_) return false;
    map_in_ = make_source(map_graph_.get(), "in", width_, height_);
    map_palette_ = make_source(map_graph_.get(), "pal", palette_.width(), palette_.height());
    map_out_ = make_sink(map_graph_.get());
    if (!map_in_ || !map_palette_ || !map_out_) return false;
    AVFilterContext* sources[] = {map_in_, map_palette_};
    const char* names[] = {"in", "pal"};
    // Ordered dithering keeps still parts of the picture identical from frame to frame.
    if (!link(map_graph_.get(), "[in][pal]paletteuse=dither=bayer:bayer_scale=2:diff_mode=rectangle[out]",
              sources, names, 2, map_out_))
        return false;
    return push(map_palette_, palette_, 0) && av_buffersrc_add_frame(map_palette_, nullptr) >= 0;
}

void GifWriter::keep_shown(AVFrame* f) {
    const auto* palette = reinterpret_cast<const std::uint32_t*>(f->data[1]);
    const bool first = shown_.empty();
    if (first) shown_.assign(std::size_t(width_) * height_, 0);
    auto close = [&](std::uint32_t a, std::uint32_t b) {
        for (int shift = 0; shift < 24; shift += 8) {
            const int d = int((a >> shift) & 255) - int((b >> shift) & 255);
            if (d > kKeepError || d < -kKeepError) return false;
        }
        return true;
    };
    for (int y = 0; y < height_; ++y) {
        std::uint8_t* row = f->data[0] + std::size_t(y) * f->linesize[0];
        std::uint8_t* shown = &shown_[std::size_t(y) * width_];
        for (int x = 0; x < width_; ++x) {
            if (!first && close(palette[row[x]], palette[shown[x]])) {
                row[x] = shown[x];
            } else {
                shown[x] = row[x];
            }
        }
    }
}

int GifWriter::encode(AVFrame* frame) {
    return send_and_write(enc_.get(), pkt_.get(), fmt_.get(), stream_, frame) < 0 ? -1 : 0;
}

int GifWriter::write_video_frame(double& time_out) {
    if (!header_written_ || !source_) return -1;
    if (av_compare_ts(next_pts_, kFrameTime, Encoder::kMaxSeconds, AVRational{1, 1}) > 0) {
        time_out = double(next_pts_) / Encoder::kFps;
        return 1;
    }
    if (!map_graph_ && (!end_palette() || !start_mapping())) {
        std::fputs("Could not compute the palette.\n", stderr);
        return -1;
    }
    if (!push(map_in_, source_, next_pts_)) return -1;
    while (av_buffersink_get_frame(map_out_, frame_.get()) >= 0) {
        frame_->pts = av_rescale_q(frame_->pts, kFrameTime, kGifTime);
        if (av_frame_make_writable(frame_.get()) < 0) return -1;
        keep_shown(frame_.get());
        const int r = encode(frame_.get());
        av_frame_unref(frame_.get());
        if (r < 0) return -1;
    }
    ++next_pts_;
    time_out = double(next_pts_) / Encoder::kFps;
    return 0;
}

int GifWriter::finish() {
    if (!header_written_ || !target_) {
        abandon();
        return -1;
    }
    int r = 0;
    if (map_graph_) {
        if (av_buffersrc_add_frame(map_in_, nullptr) < 0) r = -1;
        while (r == 0 && av_buffersink_get_frame(map_out_, frame_.get()) >= 0) {
            frame_->pts = av_rescale_q(frame_->pts, kFrameTime, kGifTime);
            r = av_frame_make_writable(frame_.get()) < 0 ? -1 : 0;
            if (r == 0) keep_shown(frame_.get());
            if (r == 0) r = encode(frame_.get());
            av_frame_unref(frame_.get());
        }
    }
    if (r == 0) r = encode(nullptr);
    if (r == 0 && av_write_trailer(fmt_.get()) < 0) r = -1;
    AVIOContext* io = io_.release();
    if (io && avio_closep(&io) < 0) r = -1;
    fmt_->pb = nullptr;
    if (r == 0 && !target_->commit()) r = -1;
    abandon();
    return r;
}

void GifWriter::abandon() {
    map_graph_.reset();
    palette_graph_.reset();
    palette_in_ = palette_out_ = map_in_ = map_palette_ = map_out_ = nullptr;
    enc_.reset();
    frame_.reset();
    pkt_.reset();
    if (fmt_) fmt_->pb = nullptr;
    fmt_.reset();
    io_.reset();
    stream_ = nullptr;
    header_written_ = false;
    target_.reset();
    source_.reset();
    samples_ = 0;
    next_pts_ = 0;
    shown_.clear();
}

}  // namespace velq
