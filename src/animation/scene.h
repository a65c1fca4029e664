// One animated scene as a render or a video sees it: the layers' animations over a base picture,
// the persistent background into which finished shapes are painted once, and the display buffer
// that each frame shows (the background with the moving shapes over it).
#pragma once

#include <vector>

#include "animation/animation.h"
#include "animation/camera.h"
#include "animation/dirty_tiles.h"
#include "animation/mesh.h"
#include "animation/rasteriser.h"
#include "animation/settle_board.h"
#include "animation/shape_painter.h"
#include "host/host.h"
#include "image/buffer.h"

namespace velq {

class AnimationScene {
public:
    AnimationScene(Host& host, const Camera& camera, ShapePainter& painter);

    // Takes `base` (camera-sized) and allocates the background (a copy of it), the display buffer and the
    // depth buffer of the moving shapes. The background's depth is far everywhere and needs none: shapes
    // at rest lie flat on the picture. False when any can't be had.
    bool allocate(UBUFFER base);
    // The animations of the layers that are drawn, in layer order (the first layer is never one).
    void add(ANIMATION& animation) { animations_.push_back(&animation); }
    // Works out which shapes wait for which before settling (from every added layer's items), and
    // has the painter ready every shape at rest.
    void build_board();

    // Renders the frame at t into display(): gather(t), draw_fixed(), draw_moving(). False when the
    // stop flag ended it.
    bool render(double t) { return gather(t) && draw_fixed() && draw_moving(); }
    // The three steps. gather: the layers' fixed meshes (settling what may settle) and then their
    // moving meshes at t. draw_fixed: the fixed mesh into the background. draw_moving: the display
    // brought back to the background where the last frame drew over it, then the moving mesh on it.
    bool gather(double t);
    bool draw_fixed();
    bool draw_moving();
    // Back to the state before the first frame: every shape unsettled, the background the base.
    bool rewind();

    // The frame just rendered. While nothing moves it is the background itself, so a frame that only
    // settles shapes copies nothing.
    const UBUFFER& frame() const { return shows_background_ ? background_ : display_; }
    // The frame as a buffer of its own, to draw over (the logo) or to keep: brought up to date with
    // the background first when the frame was the background.
    UBUFFER& display();
    const UBUFFER& background() const { return background_; }
    // Something else was drawn on the display (the logo): the next frame restores it too.
    void drew_over(const PixelRect& r) { display_dirty_.mark(r); }
    // Copy the whole background into the display every frame instead of the parts that changed, and
    // never show the background itself (for checking).
    void set_full_copies(bool on) { full_copies_ = on; }

    std::size_t fixed_count() const { return fixed_.size(); }
    std::size_t moving_count() const { return moving_.size(); }
    const SettleBoard& board() const { return board_; }

private:
    void mark(std::vector<PixelRect>& rects, DirtyTiles& tiles);
    // Brings the display back to the background where they differ.
    void restore_display();

    Host& host_;
    Camera camera_;
    ShapePainter& painter_;
    std::vector<ANIMATION*> animations_;
    SettleBoard board_;
    UBUFFER base_, background_, display_;
    DBUFFER moving_depth_;  // far depth where nothing moving was drawn (the background is far everywhere)
    FixedMesh fixed_, sharing_, spare_;  // sharing_: the frame's shapes that share pixels with others
    Mesh moving_;
    // Every animation's items at rest, one after another: where each animation's start, and the
    // pixels each one covers. The painter keeps them readied in the same order.
    std::vector<std::uint32_t> first_rest_;
    std::vector<PixelRect> rest_rects_;
    std::vector<std::uint32_t>
        which_;                 // a frame's settling shapes, those that share pixels in painting order
    DirtyTiles display_dirty_;  // display pixels to bring back before the next frame
    DirtyTiles depth_dirty_;    // moving depth to bring back (only quads write depth)
    std::vector<PixelRect> touched_, depth_touched_;
    RasterScratch scratch_;
    bool full_copies_ = false;
    bool fresh_ = true;              // the display has not been filled yet
    bool depth_stale_ = true;        // the moving depth has not been reset since the display was filled
    bool shows_background_ = false;  // the last frame had nothing moving: frame() is the background
};

}  // namespace velq
