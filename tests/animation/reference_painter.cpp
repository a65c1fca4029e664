#include "reference_painter.h"

#include "render/reference.h"

namespace velq::test {

std::shared_ptr<const UBUFFER> ReferencePainter::stencil(const SHAPE& shape, int side) {
    auto& slot = cache_[{&shape, side}];
    if (!slot) slot = std::make_shared<UBUFFER>(reference_stencil(host_, shape, side));
    return slot;
}

int ReferencePainter::paint(const Circle& c, UBUFFER& buffer) {
    const int d = int(2 * c.radius + 0.5);
    if (d > 0 && c.shape) reference_blend(c, *stencil(*c.shape, d), buffer, g_);
    return 0;
}

}  // namespace velq::test
