#include "render/shape.h"

#include <algorithm>

namespace velq {

namespace {
// Channel 0 of alt_buffer into the shade plane, channel 1 into the mask plane.
void extract_planes(SHAPE& s) {
    const std::size_t n = std::size_t(SHAPE::kSide) * SHAPE::kSide;
    const std::uint8_t* a = s.alt_buffer.data();
    std::uint8_t* sh = s.shade_plane.data();
    std::uint8_t* m = s.mask_plane.data();
    for (std::size_t i = 0; i < n; ++i) {
        sh[i] = a[2 * i];
        m[i] = a[2 * i + 1];
    }
    ++s.generation;
}

bool allocate_buffers(SHAPE& s) {
    constexpr int n = SHAPE::kSide;
    return s.preview_buffer.allocate(n, n, 4) && s.org_buffer.allocate(n, n, 2) &&
           s.alt_buffer.allocate(n, n, 2) && s.shade_plane.allocate(n, n, 1) && s.mask_plane.allocate(n, n, 1);
}
}  // namespace

SHAPE::SHAPE(Host& host) {
    if (!allocate_buffers(*this)) {
        host.message("Failed to allocate org_buffer, alt_buffer, int SHAPE()");
        return;
    }
    constexpr int n = kSide, c = kSide / 2;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            if ((x - c) * (x - c) + (y - c) * (y - c) > c * c) continue;
            org_buffer.at(x, y, 0) = 255;
            org_buffer.at(x, y, 1) = 255;
            for (int k = 0; k < 4; ++k) preview_buffer.at(x, y, k) = 255;
        }
    }
    copy_to(host, org_buffer, alt_buffer);
    extract_planes(*this);
}

void SHAPE::apply_layer_tone(int brightness_percent, int transparency) {
    if (!usable()) return;
    const std::size_t n = std::size_t(kSide) * kSide;
    const std::uint8_t* o = org_buffer.data();
    std::uint8_t* a = alt_buffer.data();
    std::copy(o, o + 2 * n, a);
    for (std::size_t i = 0; i < n; ++i) {
        if (o[2 * i + 1] == 0) continue;
        const double shade = double(o[2 * i]) * brightness_percent / 100;
        const double opacity = double(o[2 * i + 1]) * transparency / 255;
        a[2 * i] = std::uint8_t(std::clamp(shade, 0.0, 255.0));
        a[2 * i + 1] = std::uint8_t(std::clamp(opacity, 0.0, 255.0));
    }
    extract_planes(*this);
}

}  // namespace velq
