#include "reference_painter.h"

#include <algorithm>

#include "image/resample.h"

namespace velq::test {

std::shared_ptr<const UBUFFER> ReferencePainter::stencil(const SHAPE& shape, int side) {
    auto& slot = cache_[{&shape, side}];
    if (!slot) {
        auto st = std::make_shared<UBUFFER>();
        if (!st->allocate(side, side, 2)) return nullptr;
        resize_channel(host_, shape.shade_plane, 0, *st, 0);
        resize_channel(host_, shape.mask_plane, 0, *st, 1);
        slot = st;
    }
    return slot;
}

int ReferencePainter::paint(const Circle& c, UBUFFER& buffer) {
    ++paints;
    const double r = c.radius;
    const int d = int(2 * r + 0.5);
    if (d <= 0 || !c.shape) return 0;
    const double left = c.x - r, top = c.y - r, k = c.brightness / 100.0;
    const auto st = stencil(*c.shape, d);
    for (int j = 0; j < d; ++j)
        for (int i = 0; i < d; ++i) {
            const int x = int(left + i), y = int(top + j);
            if (!buffer.inside(x, y)) continue;
            const int m = st->at(i, j, 1);
            if (m == 0) continue;
            const int s = st->at(i, j, 0);
            std::uint8_t* px = &buffer.at(x, y);
            const double tint[3] = {c.paint.c2, c.paint.c1, c.paint.c0};
            const double t = c.transparency * m / 255.0;
            for (int ch = 0; ch < 3; ++ch) {
                const double v = ((s * tint[ch] / 255.0 + g_) * t + px[ch] * (255.0 - t)) * k / 255.0;
                px[ch] = std::uint8_t(std::clamp(v, 0.0, 255.0));
            }
            px[3] = 255;
        }
    return 0;
}

}  // namespace velq::test
