// ANIMATION: the motion object that every shape layer owns. The kinds derive from it; the framework
// asks each for the meshes of its moving and settled shapes at a timestamp. The layer's animation
// items (one per placement) live in the object, so they go with it when the layer drops it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "render/animation_settings.h"
#include "animation/camera.h"
#include "animation/mesh.h"
#include "host/host.h"
#include "segments/circle.h"

namespace velq {

class SettleBoard;

// One entry of a fixed mesh: a shape that came to rest, by its place in the still render's painting
// order and in its animation's items. At rest a shape lies flat at its placement, so nothing more is
// needed to paint it (MotionAnimation::rest gives its primitive).
struct RestEntry {
    std::uint32_t order = 0;
    std::uint32_t item = 0;
};
using FixedMesh = std::vector<RestEntry>;

// One shape of a layer in the animation.
struct AnimationItem {
    double x = 0, y = 0, z = 0;  // rest position, frame pixels (z = 0: on the picture)
    double p = 0;                // rest magnitude: the placement's radius, the half side at rest
    double start = 0, end = 0;   // seconds: in motion while start <= t < end, at rest from end on
    std::uint32_t order = 0;     // place in the still render's painting order, over all layers
    Circle look;                 // the placement: shape, paint colour, brightness, transparency
};

// What the kinds are prepared for: the frame size, the main window's Max (v) and the seed that
// stands for "the current time".
struct AnimationContext {
    int width = 0, height = 0;
    double max_size = 0.02;
    std::uint32_t seed = 0;
};

class ANIMATION {
public:
    // `motion` is the motion value handed to the factory (the Max field, v); `mode` the layer's scan
    // order index.
    ANIMATION(const AnimationSettings& settings, double motion, int mode)
        : settings_(settings), motion_(motion), mode_(mode) {}
    virtual ~ANIMATION() = default;
    ANIMATION(const ANIMATION&) = delete;
    ANIMATION& operator=(const ANIMATION&) = delete;

    // Prepares the kind's own state for the frame size. The base does nothing.
    virtual void pre_operation(Host& host, const AnimationContext& ctx) {}
    // Appends the shapes in motion at t; with `finished` also the settled ones, at rest. The base
    // appends nothing.
    virtual void moving_mesh(const Camera& camera, double t, bool finished, Mesh& out) const {}
    // Appends the shapes whose motion has ended by t and that are not settled yet, and marks them
    // settled, here and on the board. The base appends nothing.
    virtual void fixed_mesh(const Camera& camera, double t, SettleBoard& board, FixedMesh& out) {}
    // Every shape back to unsettled, for another pass over the same animation. The base has none.
    virtual void rewind() {}
    // Item i is settled: painted into the persistent background. The base settles none.
    virtual bool settled(std::size_t i) const { return false; }

    // One per placement, in placement order until pre_operation puts them in scan order.
    std::vector<AnimationItem> items;

    const AnimationSettings& settings() const { return settings_; }
    double motion_value() const { return motion_; }
    int mode() const { return mode_; }
    // The largest end time of the items; 0.0 when there are none.
    double last_end() const;

protected:
    AnimationSettings settings_;
    double motion_;
    int mode_;
};

// A new object of motion kind `kind` (0..5); none for any other index.
std::unique_ptr<ANIMATION> make_animation(int kind, const AnimationSettings& settings, double motion,
                                          int mode);

}  // namespace velq
