#include "video/export_loop.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "host/progress.h"

namespace velq {

void LogoBounce::advance() {
    a += step_a;
    b += step_b;
    if (a <= 0 || a >= 1) step_a = -step_a;
    if (b <= 0 || b >= 1) step_b = -step_b;
}

bool place_frame(const UBUFFER& picture, const FrameLayout& l, UBUFFER& frame) {
    // The scaled picture, clipped to the frame (it always fits when the layout came from
    // frame_layout; the clip keeps a hand-made layout from writing outside).
    const int sw = std::min(l.sw, frame.width() - l.x0), sh = std::min(l.sh, frame.height() - l.y0);
    if (sw <= 0 || sh <= 0 || l.x0 < 0 || l.y0 < 0 || !picture) return true;
    std::uint8_t* origin = frame.data() + (std::size_t(l.y0) * frame.width() + l.x0) * 4;
    const std::size_t stride = std::size_t(frame.width()) * 4;
    if (sw == picture.width() && sh == picture.height()) {
        for (int y = 0; y < sh; ++y) std::memcpy(origin + y * stride, picture.row(y), std::size_t(sw) * 4);
        return true;
    }
    try {
        const cv::Mat src(picture.height(), picture.width(), CV_8UC4,
                          const_cast<std::uint8_t*>(picture.data()));
        cv::Mat dst(sh, sw, CV_8UC4, origin, stride);
        cv::resize(src, dst, dst.size(), 0, 0, cv::INTER_AREA);
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

int write_animation(Host& host, VideoSink& sink, FrameSource& source, const std::string& file,
                    const FrameLayout& layout, double duration) {
    Progress progress(host, "Writing a video");
    if (sink.init_video(file, layout.ow, layout.oh) != 0) return -1;

    // A sink that wants to see the animation first (a GIF's palette) gets frames spread over it.
    if (const int k = sink.samples_wanted(); k > 0) {
        LogoBounce logo;
        int frame_index = 0;
        for (int i = 0; i < k && !host.stopped(); ++i) {
            const double t = k > 1 ? duration * i / (k - 1) : 0.0;
            for (const int n = int(t * 30); frame_index < n; ++frame_index) logo.advance();
            const UBUFFER* picture = source.frame(t, logo.a, logo.b);
            if (!picture) break;
            if (!place_frame(*picture, layout, sink.source())) {
                host.message("Failed to allocate final_buf in render_anim_video");
                sink.abandon();
                return -1;
            }
            sink.add_sample();
        }
        if (!source.rewind()) {
            sink.abandon();
            return -1;
        }
    }

    LogoBounce logo;
    auto last_preview = std::chrono::steady_clock::now() - std::chrono::seconds(1);
    double t = 0.0;
    while (duration >= t && !host.stopped()) {
        const UBUFFER* picture = source.frame(t, logo.a, logo.b);
        if (!picture) {
            if (host.stopped()) break;
            sink.abandon();
            return -1;
        }
        logo.advance();
        if (!place_frame(*picture, layout, sink.source())) {
            host.message("Failed to allocate final_buf in render_anim_video");
            sink.abandon();
            return -1;
        }
        const int r = sink.write_video_frame(t);
        if (r < 0) {
            sink.abandon();
            return -1;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now - last_preview >= std::chrono::milliseconds(200) || !(duration >= t)) {
            host.preview(picture->data(), picture->width(), picture->height());
            last_preview = now;
        }
        char title[128];
        std::snprintf(title, sizeof title, "Velquinograph(Writing a video...Timestamp = %fs)", t);
        progress.retitle(title);
        // trunc(t * 100 / D); the last frame's t lies past D, and a bar takes nothing above 100.
        progress.set(duration > 0 ? int(std::min(t * 100 / duration, 100.0)) : 100);
        if (r == 1) break;
    }
    return sink.finish() == 0 ? 0 : -1;
}

}  // namespace velq
