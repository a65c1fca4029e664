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

// The blend written as the formula reads: stencil st (shade, opacity) of side d placed at the
// circle's left and top edges.
inline void reference_blend(const Circle& p, const UBUFFER& st, UBUFFER& buffer, int g) {
    const double left = p.x - p.radius, top = p.y - p.radius, k = p.brightness / 100;
    const double tint[3] = {p.paint.c2, p.paint.c1, p.paint.c0};  // blue, green, red bytes
    for (int j = 0; j < st.height(); ++j)
        for (int i = 0; i < st.width(); ++i) {
            const int tx = int(left + i), ty = int(top + j);
            const int m = st.at(i, j, 1), s = st.at(i, j, 0);
            if (!buffer.inside(tx, ty) || m == 0) continue;
            const double t = p.transparency * m / 255.0;
            for (int ch = 0; ch < 3; ++ch) {
                const int o = buffer.at(tx, ty, ch);
                const double v = ((s * tint[ch] / 255 + g) * t + o * (255 - t)) * k / 255;
                buffer.at(tx, ty, ch) = std::uint8_t(std::clamp(v, 0.0, 255.0));
            }
            buffer.at(tx, ty, 3) = 255;
        }
}

// The shape's planes resized to side d by the image code's plane resize.
inline UBUFFER reference_stencil(Host& host, const SHAPE& shape, int d) {
    UBUFFER st;
    st.allocate(d, d, 2);
    resize_channel(host, shape.shade_plane, 0, st, 0);
    resize_channel(host, shape.mask_plane, 0, st, 1);
    return st;
}

// fill_shape done the direct way.
inline void reference_fill_shape(Host& host, const Circle& p, UBUFFER& buffer, int g) {
    const int d = int(2 * p.radius + 0.5);
    if (d > 0) reference_blend(p, reference_stencil(host, *p.shape, d), buffer, g);
}

// A shape whose shade and opacity at (x, y) are given (before the tone), toned with B and T.
inline std::unique_ptr<SHAPE> make_shape(Host& host, const std::function<std::pair<int, int>(int, int)>& fn,
                                         int brightness = 100, int transparency = 255) {
    auto s = std::make_unique<SHAPE>(host);
    for (int y = 0; y < SHAPE::kSide; ++y)
        for (int x = 0; x < SHAPE::kSide; ++x) {
            const auto [shade, opacity] = fn(x, y);
            s->org_buffer.at(x, y, 0) = std::uint8_t(shade);
            s->org_buffer.at(x, y, 1) = std::uint8_t(opacity);
        }
    s->apply_layer_tone(brightness, transparency);
    return s;
}

}  // namespace velq::test
