// The Document's picture as an animation: every shown layer's placements made once, each layer's
// animation object built and prepared for the frame size, the first layer painted into the base
// picture, and the scene that draws frames from it. The Render frame command and the video export
// both draw through it.
#pragma once

#include <memory>
#include <vector>

#include "animation/camera.h"
#include "animation/scene.h"
#include "animation/shape_painter.h"
#include "app/document.h"
#include "render/placement.h"
#include "video/export_loop.h"

namespace velq {

class DocumentAnimation : public FrameSource {
public:
    DocumentAnimation(Document& doc, Host& host);
    ~DocumentAnimation() override;

    // Builds everything for width x height frames. 0; 1 when there is nothing to animate (no
    // transform: "Please complete the transform first"); -1 when the buffers could not be had, after
    // `alloc_message`.
    int prepare(int width, int height, const char* alloc_message);
    // The same, but the scene draws layer `layer` (above the first) alone over `base` (width x
    // height, copied): the layered frame export draws each layer so. Everything else (colour draws,
    // timing, the duration) is as for the whole animation. 1 also when that layer is not animated.
    int prepare_alone(int width, int height, int layer, const UBUFFER& base, const char* alloc_message);
    // The same with the layers up to `layer` over the usual base: the frame as it is without the
    // layers above.
    int prepare_up_to(int width, int height, int layer, const char* alloc_message);
    // The animation's length in seconds.
    double duration() const { return duration_; }

    // The frame at t with the logo at (fx, fy) over it; null when stopped.
    const UBUFFER* frame(double t, double fx, double fy) override;
    bool rewind() override { return scene_ && scene_->rewind(); }

    AnimationScene& scene() { return *scene_; }

private:
    int prepare(int width, int height, const char* alloc_message, int first, int last,
                const UBUFFER* base_picture);

    Document& doc_;
    Host& host_;
    std::unique_ptr<ShapePainter> painter_;
    // One object per layer (null for layers without one); the scene draws from them, so they
    // outlive it.
    std::vector<std::unique_ptr<ANIMATION>> animations_;
    std::unique_ptr<AnimationScene> scene_;
    double duration_ = 0.0;
};

// The painting of the still render, for the animation: placements through the renderer's own
// painting, stencils from the shapes' caches.
std::unique_ptr<ShapePainter> make_renderer_painter(Host& host, int global_brightness);

}  // namespace velq
