// A shape: the stencil painted in place of every circle, a grey shade plane and an opacity plane
// held at 1024 x 1024 and centred so that nothing opaque lies outside the disc of radius 512.
// Layers own their shapes; the renderer scales the planes down to each circle.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "render/stencil.h"

namespace velq {

class SHAPE {
public:
    static constexpr int kSide = 1024;

    // The default shape: a full disc (rim included).
    explicit SHAPE(Host& host);
    SHAPE(const SHAPE&) = delete;
    SHAPE& operator=(const SHAPE&) = delete;

    // A shape made from its two planes (a passage character): it keeps the planes and, packed, the
    // untoned planes they are toned from; its preview is made when it is shown.
    static std::unique_ptr<SHAPE> from_planes(Host& host, std::span<const std::uint8_t> shade,
                                              std::span<const std::uint8_t> opacity, std::uint16_t character);

    // Fills the shape from a picture file; 0 on success, -1 with the system's message on failure.
    int read_shape(Host& host, const std::string& path);
    // Recomputes alt_buffer and the two planes from org_buffer with the layer's brightness (percent)
    // and transparency (0..255).
    void apply_layer_tone(int brightness_percent, int transparency);
    // True when the constructor could allocate every buffer.
    bool usable() const {
        return (bool(org_buffer) || !packed_org.empty()) && bool(shade_plane) && bool(mask_plane);
    }
    // The grey picture of the Shape Detail dialog: preview_buffer, or made from the planes when the
    // shape keeps none.
    UBUFFER preview() const;

    std::string name;             // file the shape was read from; empty for the default disc
    std::uint16_t character = 0;  // passage character drawn by this shape; 0 for file shapes
    UBUFFER preview_buffer;       // 1024 x 1024 x 4, grey picture for the Shape Detail dialog
    UBUFFER org_buffer;           // 1024 x 1024 x 2: shade, opacity as read
    UBUFFER alt_buffer;           // org_buffer after the layer's tone
    UBUFFER shade_plane;          // 1024 x 1024 x 1, channel 0 of alt_buffer
    UBUFFER mask_plane;           // 1024 x 1024 x 1, channel 1 of alt_buffer
    // Shapes made from planes: the untoned shade then opacity plane, run-length packed, instead of
    // org_buffer and alt_buffer (a passage holds many shapes; this keeps each near 2 MiB).
    std::vector<std::uint8_t> packed_org;
    double radius = 512.0;
    // Bumped whenever the planes change.
    std::uint64_t generation = 0;
    // The planes at every side painted since they last changed.
    mutable StencilCache stencils;

private:
    SHAPE() = default;
};

}  // namespace velq
