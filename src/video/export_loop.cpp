#include "video/export_loop.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "host/low_priority_thread.h"
#include "host/progress.h"
#include "video/frame_scaler.h"

namespace velq {

void LogoBounce::advance() {
    a += step_a;
    b += step_b;
    if (a <= 0 || a >= 1) step_a = -step_a;
    if (b <= 0 || b >= 1) step_b = -step_b;
}

LogoBounce logo_at_frame(int n) {
    LogoBounce logo;
    for (int i = 0; i < n; ++i) logo.advance();
    return logo;
}

bool place_frame(const UBUFFER& picture, const FrameLayout& l, std::unique_ptr<FrameScaler>& scaler,
                 UBUFFER& frame) {
    // The scaled picture, clipped to the frame (it always fits when the layout came from
    // frame_layout; the clip keeps a hand-made layout from writing outside).
    const int sw = std::min(l.sw, frame.width() - l.x0), sh = std::min(l.sh, frame.height() - l.y0);
    if (sw <= 0 || sh <= 0 || l.x0 < 0 || l.y0 < 0 || !picture) return true;
    try {
        if (!scaler || !scaler->fits(picture.width(), picture.height(), sw, sh))
            scaler = std::make_unique<FrameScaler>(picture.width(), picture.height(), sw, sh);
        std::uint8_t* origin = frame.data() + (std::size_t(l.y0) * frame.width() + l.x0) * 4;
        scaler->scale(picture, origin, std::size_t(frame.width()) * 4);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

int write_animation(Host& host, VideoSink& sink, FrameSource& source, const std::string& file,
                    const FrameLayout& layout, double duration) {
    Progress progress(host, "Writing a video");
    if (sink.init_video(file, layout.ow, layout.oh) != 0) return -1;

    // Frames are drawn on a thread of lower priority, made after the sink so that the encoder's own
    // threads keep the usual one: the encoder never waits for the drawing, which takes what is left.
    LowPriorityThread drawer;
    std::unique_ptr<FrameScaler> scaler;
    // The picture at t with the logo at (a, b), scaled into the sink's frame; false when that failed
    // for want of memory, with `picture` null when the source stopped or failed.
    auto draw = [&](double t, const LogoBounce& at, const UBUFFER*& picture) {
        bool placed = true;
        drawer.call([&] {
            picture = source.frame(t, at.a, at.b);
            if (picture) placed = place_frame(*picture, layout, scaler, sink.source());
        });
        return placed;
    };
    // A sink that wants to see the animation first (a GIF's palette) gets frames spread over it.
    if (const int k = sink.samples_wanted(); k > 0) {
        LogoBounce logo;
        int frame_index = 0;
        for (int i = 0; i < k && !host.stopped(); ++i) {
            const double t = k > 1 ? duration * i / (k - 1) : 0.0;
            for (const int n = int(t * 30); frame_index < n; ++frame_index) logo.advance();
            const UBUFFER* picture = nullptr;
            const bool placed = draw(t, logo, picture);
            if (!picture) break;
            if (!placed) {
                host.message("Failed to allocate final_buf in render_anim_video");
                sink.abandon();
                return -1;
            }
            sink.add_sample();
        }
        bool rewound = false;
        drawer.call([&] { rewound = source.rewind(); });
        if (!rewound) {
            sink.abandon();
            return -1;
        }
    }

    LogoBounce logo;
    auto last_preview = std::chrono::steady_clock::now() - std::chrono::seconds(1);
    double t = 0.0;
    while (duration >= t && !host.stopped()) {
        const UBUFFER* picture = nullptr;
        const bool placed = draw(t, logo, picture);
        if (!picture) {
            if (host.stopped()) break;
            sink.abandon();
            return -1;
        }
        logo.advance();
        if (!placed) {
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
