// The rasteriser: paints a transformed mesh into a picture with a depth buffer. Primitives go far
// to near, equal depths in the still render's order. Flat ones are painted by the ShapePainter and
// leave the depth buffer alone (nothing ever moves behind the picture plane); the others are
// perspective-correct textured quads, bilinearly sampled from the stencil at their projected size,
// blended with the renderer's formula, tested against and written into the depth buffer.
#pragma once

#include <cstdint>
#include <vector>

#include "animation/camera.h"
#include "animation/mesh.h"
#include "animation/shape_painter.h"
#include "image/buffer.h"

namespace velq {

// Half-open pixel rectangle [x0, x1) x [y0, y1).
struct PixelRect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    bool empty() const { return x0 >= x1 || y0 >= y1; }
    bool operator==(const PixelRect&) const = default;
};

// Far depth: what depth buffers hold before anything is drawn.
inline constexpr double kFarDepth = 999999999.0;

// The pixels that painting a flat placement can change (the whole square of its stencil), clipped.
PixelRect flat_rect(const Circle& placement, int width, int height);

// Working lists that a caller painting every frame keeps between calls, so that a frame with tens of
// thousands of shapes allocates nothing.
struct RasterScratch {
    struct Key {
        double depth;
        std::uint64_t order_index;  // still render order, then place in the mesh
    };
    std::vector<Key> keys, spare;
    std::vector<Circle> run;
};

// Paints `mesh` (already transformed by `camera`). The rectangle of every painted primitive is
// appended to `touched` when given, and that of every one that wrote depth to `depth_touched`.
// Returns the number of primitives that failed to paint.
int rasterise(const Mesh& mesh, const Camera& camera, ShapePainter& painter, UBUFFER& picture, DBUFFER& depth,
              std::vector<PixelRect>* touched = nullptr, std::vector<PixelRect>* depth_touched = nullptr,
              RasterScratch* scratch = nullptr);

// The blend of one channel as the renderer defines it, for stencil shade s and opacity m (m > 0).
inline int blend_value(int s, int m, int old, double tint, int global_brightness, int transparency,
                       double k) {
    const double t = transparency * double(m) / 255.0;
    double v = ((s * tint / 255.0 + global_brightness) * t + old * (255.0 - t)) * k / 255.0;
    if (!(v > 0.0)) v = 0.0;
    if (v > 255.0) v = 255.0;
    return int(v);
}

}  // namespace velq
