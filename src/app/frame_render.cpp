#include "app/frame_render.h"

#include <cstdio>

#include "app/document_animation.h"
#include "host/progress.h"
#include "render/logo.h"
#include "video/encoder.h"
#include "video/export_loop.h"

namespace velq {

int render_frame_at(Document& doc, Host& host, int width, int height, double t) {
    Progress progress(host, "Rendering a frame");
    DocumentAnimation animation(doc, host);
    if (animation.prepare(width, height, "Failed to allocate background in render_snow_anim") != 0) return -1;
    progress.retitle(stage_title("Rendering a frame"));
    const double d = animation.duration();
    if (t < 0.0 || t > d) {
        char text[96];
        std::snprintf(text, sizeof text, "Invalid timestamp (must be between 0.0 and %f", d);
        host.message(text);
        return -1;
    }
    AnimationScene& scene = animation.scene();
    if (!scene.gather(t)) return -1;
    progress.retitle(stage_title("Rendering fixed mesh"));
    if (!scene.draw_fixed()) return -1;
    progress.retitle(stage_title("Rendering moving mesh"));
    if (!scene.draw_moving()) return -1;
    if (doc.logo) {
        const LogoBounce at = logo_at_frame(int(t * Encoder::kFps));
        if (render_logo(host, scene.display(), doc.logo, doc.logo_transparency, at.a, at.b) != 0) return -1;
    }
    doc.frame_buffer = std::move(scene.display());
    host.preview(doc.frame_buffer.data(), doc.frame_buffer.width(), doc.frame_buffer.height());
    return 0;
}

}  // namespace velq
