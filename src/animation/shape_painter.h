// How the animation paints: shapes lying flat on the picture plane go through the renderer's own
// painting of a placement, so they look exactly as in the still render; shapes seen in perspective
// are sampled from the same scaled stencils.
#pragma once

#include <memory>
#include <span>

#include "image/buffer.h"
#include "transform/circle.h"

namespace velq {

class SHAPE;

class ShapePainter {
public:
    virtual ~ShapePainter() = default;
    // Paints one placement (pixel centre and radius) as the still render does; 0, or -1 on failure.
    virtual int paint(const Circle& placement, UBUFFER& buffer) = 0;
    // Paints placements in order, as painting them one by one would; returns the failures.
    virtual int paint_all(std::span<const Circle> placements, UBUFFER& buffer) {
        int failures = 0;
        for (const Circle& c : placements) failures += paint(c, buffer) != 0;
        return failures;
    }
    // The shape's shade and opacity planes at side x side (2 channels), or null when they can't be had.
    virtual std::shared_ptr<const UBUFFER> stencil(const SHAPE& shape, int side) = 0;
    // The global brightness added to every tinted shade.
    virtual int global_brightness() const = 0;
};

}  // namespace velq
