// A painter for the animation tests that paints a placement with the render tests' plain blend, on
// stencils made by the plane resize and kept by shape and side.
#pragma once

#include <map>
#include <memory>
#include <utility>

#include "animation/shape_painter.h"
#include "host/host.h"
#include "render/reference.h"
#include "render/shape.h"

namespace velq::test {

class ReferencePainter : public ShapePainter {
public:
    explicit ReferencePainter(int global_brightness = 0) : g_(global_brightness) {}
    int paint(const Circle& c, UBUFFER& buffer) override {
        const int d = int(2 * c.radius + 0.5);
        if (d > 0 && c.shape) reference_blend(c, *stencil(*c.shape, d), buffer, g_);
        return 0;
    }
    std::shared_ptr<const UBUFFER> stencil(const SHAPE& shape, int side) override {
        auto& slot = cache_[{&shape, side}];
        if (!slot) slot = std::make_shared<UBUFFER>(reference_stencil(host_, shape, side));
        return slot;
    }
    int global_brightness() const override { return g_; }

private:
    QuietHost host_;
    int g_;
    std::map<std::pair<const SHAPE*, int>, std::shared_ptr<UBUFFER>> cache_;
};

}  // namespace velq::test
