// Plain implementations for the render tests to compare against: the blend written as the formula
// reads, one summed-area table per placement through the image code's plane resize.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>

#include "image/resample.h"
#include "render/placement.h"
#include "render/shape.h"

namespace velq::test {

// fill_shape done the direct way.
inline void reference_fill_shape(Host& host, const Placement& p, UBUFFER& buffer, int g) {
    const double r = p.radius;
    const int d = int(2 * r + 0.5);
    if (d <= 0) return;
    const double left = p.x - r, top = p.y - r, k = p.brightness / 100;
    UBUFFER rz;
    rz.allocate(d, d, 4);
    resize_channel(host, p.shape->shade_plane, 0, rz, 0);
    resize_channel(host, p.shape->mask_plane, 0, rz, 3);
    const double tint[3] = {p.paint.c2, p.paint.c1, p.paint.c0};  // blue, green, red bytes
    for (int j = 0; j < d; ++j) {
        for (int i = 0; i < d; ++i) {
            const int tx = int(left + i), ty = int(top + j);
            if (!buffer.inside(tx, ty)) continue;
            const int m = rz.at(i, j, 3), s = rz.at(i, j, 0);
            if (m == 0) continue;
            const double t = p.transparency * m / 255.0;
            for (int ch = 0; ch < 3; ++ch) {
                const int o = buffer.at(tx, ty, ch);
                const double v = ((s * tint[ch] / 255 + g) * t + o * (255 - t)) * k / 255;
                buffer.at(tx, ty, ch) = std::uint8_t(std::clamp(v, 0.0, 255.0));
            }
            buffer.at(tx, ty, 3) = 255;
        }
    }
}

// A shape whose shade and opacity at (x, y) are given (before the tone), toned with B and T.
inline std::unique_ptr<SHAPE> make_shape(Host& host, const std::function<std::pair<int, int>(int, int)>& fn,
                                         int brightness = 100, int transparency = 255) {
    auto s = std::make_unique<SHAPE>(host);
    for (int y = 0; y < SHAPE::kSide; ++y) {
        for (int x = 0; x < SHAPE::kSide; ++x) {
            const auto [shade, opacity] = fn(x, y);
            s->org_buffer.at(x, y, 0) = std::uint8_t(shade);
            s->org_buffer.at(x, y, 1) = std::uint8_t(opacity);
        }
    }
    s->apply_layer_tone(brightness, transparency);
    return s;
}

}  // namespace velq::test
