// How the animation paints: shapes lying flat on the picture plane go through the renderer's own
// painting of a placement, so they look exactly as in the still render; shapes seen in perspective
// are sampled from the same scaled stencils.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "image/buffer.h"
#include "segments/circle.h"

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
    // Placements that will be painted again and again as they are (shapes at rest): readied once
    // here, then painted by their place in `placements` with paint_kept().
    virtual void keep(std::span<const Circle> placements) {
        kept_.assign(placements.begin(), placements.end());
    }
    // Paints kept placements in the order given, as paint_all() would; returns the failures.
    virtual int paint_kept(std::span<const std::uint32_t> which, UBUFFER& buffer) {
        run_.clear();
        for (const std::uint32_t i : which) run_.push_back(kept_[i]);
        return paint_all(run_, buffer);
    }
    // The shape's shade and opacity planes at side x side (2 channels), or null when they can't be had.
    virtual std::shared_ptr<const UBUFFER> stencil(const SHAPE& shape, int side) = 0;
    // The global brightness added to every tinted shade.
    virtual int global_brightness() const = 0;

private:
    std::vector<Circle> kept_, run_;
};

}  // namespace velq
