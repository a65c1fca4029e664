// The settle board: which finished shapes may be painted into the persistent background. A shape
// waits for every shape that the still render paints before it and that shares a pixel with it,
// so each pixel of the background receives its shapes in the still render's order and a frame at
// the end equals the still render, whatever the scan orders and timings of the layers.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "animation/shape_painter.h"
#include "transform/circle.h"

namespace velq {

using Wait = std::pair<std::uint32_t, std::uint32_t>;  // (earlier, later): later waits for earlier

class SettleBoard {
public:
    // `count` shapes numbered by their still render order; each pair makes its later shape wait.
    void reset(std::size_t count, std::span<const Wait> waits);
    bool ready(std::uint32_t order) const { return order >= pending_.size() || pending_[order] == 0; }
    // Shape `order` is in the background now: the shapes waiting for it need one fewer.
    void settle(std::uint32_t order);

    std::size_t waits() const { return held_.size(); }
    // The shapes that wait for `order`.
    std::span<const std::uint32_t> held_by(std::uint32_t order) const;

private:
    std::vector<std::uint32_t> pending_;  // per shape: earlier shapes not settled yet
    std::vector<std::uint32_t> offsets_;  // per shape: where its waiting shapes start in held_
    std::vector<std::uint32_t> held_;
};

// The waits between placements given in still render order (index = order): a pair for every two
// whose painting at rest changes a common pixel (non-zero stencil opacity) of a width x height frame.
std::vector<Wait> find_waits(std::span<const Circle> placements, ShapePainter& painter, int width,
                             int height);

}  // namespace velq
