// What the six motion kinds share: the pre-operation that puts the items in scan order and times
// them, the walk over the items that are moving or finished at a timestamp, and settling. A kind
// adds only its own random state and the pose of a shape in motion.
#pragma once

#include "animation/animation.h"
#include "host/random.h"

namespace velq {

class MotionAnimation : public ANIMATION {
public:
    using ANIMATION::ANIMATION;

    // Title "Velquinograph (Snow animation Pre_operation...)", scan order, times, then prepare().
    void pre_operation(Host& host, const AnimationContext& ctx) override;
    void moving_mesh(const Camera& camera, double t, bool finished, Mesh& out) const override;
    void fixed_mesh(const Camera& camera, double t, SettleBoard& board, FixedMesh& out) override;
    void rewind() override;
    bool settled(std::size_t i) const override { return i < settled_.size() && settled_[i]; }

    // The shape at rest: flat, at its placement, exactly as the still render paints it.
    static Primitive rest(const AnimationItem& item);

protected:
    // The kind's own state, drawn after the scan order (which seeds the generator).
    virtual void prepare(Random& rng, const AnimationContext& ctx) {}
    // The shape of item i in motion at t, with the remaining fraction r = (e - t) / (e - s) in (0, 1].
    virtual Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const = 0;

    int width_ = 0, height_ = 0;

private:
    // When each item moves and its painting order, taken from the items when they are timed. Items
    // are large and a frame settles a few hundred of them: the walk reads these alone.
    struct Timing {
        double start, end;
        std::uint32_t order;
    };
    void take_times();

    std::vector<Timing> times_;
    std::size_t first_unsettled_ = 0;  // every item before it is settled
    // The settled flags, apart from the items: settling a frame's shapes writes no item.
    std::vector<std::uint8_t> settled_;
};

}  // namespace velq
