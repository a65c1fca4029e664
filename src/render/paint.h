// Painting one placement: its shape's stencil at the placement's side, tinted and blended into the
// picture. The blend gives the bytes of the renderer's formula written out in doubles, without its
// per-pixel divisions, so that tens of thousands of placements paint in milliseconds.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "render/blend.h"
#include "render/placement.h"
#include "render/stencil.h"
#include "segments/colour.h"

namespace velq {

// A placement made ready to paint.
struct PaintJob {
    // The stencil, held by the Painter that readied the job (or by `keep` when the Painter does not
    // hold stencils of its side): a job is painted while its Painter lives.
    const Stencil* stencil = nullptr;
    std::shared_ptr<const Stencil> keep;
    double left = 0, top = 0;          // x - r, y - r
    double k = 1.0;                    // brightness / 100
    const double* shade_term[3] = {};  // other tints: per shade value, s * c / 255 + G
    const double* tone = nullptr;      // other tints: per opacity, t = T m / 255, then 255 - t
    int transparency = 255;
    // Whole-number tint (red, green, blue), k = 1, moderate G: the integer path applies.
    std::uint8_t tint[3] = {255, 255, 255};
    bool exact = false;
};

class Painter {
public:
    // `straight_alpha`: the layer mode, painting into a picture of its own that starts transparent.
    // Each stencil pixel maps what lies beneath, o, to A + B o (the renderer's formula); the layer
    // keeps that map as a colour with straight alpha, a = 1 - B and c = A / a, laid over its own
    // pixels with "over". Laying the layer over a picture with "over" then gives the renderer's
    // result on that picture (to 8-bit rounding, and exactly where the layer is opaque).
    Painter(Host& host, int global_brightness, bool straight_alpha = false);

    // Readies a placement with the given tint: 0 ready, 1 nothing to paint (no shape or a side below
    // 1), -1 when its stencil could not be had ("Failed to allocate rz_buffer in fill_shape()").
    int prepare(const Circle& p, const ColourRecord& tint, PaintJob& job);
    // Paints the job's pixels that fall on rows [row0, row1) and columns [col0, col1) of a 4-channel
    // buffer, in the order of the stencil's rows and columns.
    void paint_area(const PaintJob& job, UBUFFER& buffer, int row0, int row1, int col0, int col1) const;
    // The rows and columns a job can touch, [row0, row1) x [col0, col1), not clipped to a picture.
    static void reach(const PaintJob& job, int& row0, int& row1, int& col0, int& col1);
    int global_brightness() const { return g_; }
    bool straight_alpha() const { return straight_; }

private:
    const double* shade_table(double c);
    const double* tone_table(int transparency);
    const Stencil* stencil_of(const SHAPE& shape, int side);

    // Stencils already asked for, by shape and side (up to kKeptSides): an animation's painter asks
    // for the same few hundred every frame, and the shape's own cache takes a lock each time. The
    // jobs point into these. A painter lives no longer than one job over shapes that do not change.
    struct ShapeStencils {
        const SHAPE* shape;
        std::vector<std::shared_ptr<const Stencil>> by_side;
    };
    static constexpr int kKeptSides = 4096;

    void paint_straight(const PaintJob& job, const std::uint8_t* sm, std::uint8_t* row, const int* cols,
                        int b, int e) const;

    Host& host_;
    int g_;
    bool straight_;
    std::vector<ShapeStencils> stencils_;
    std::size_t last_shape_ = 0;
    std::unordered_map<std::uint64_t, std::unique_ptr<std::array<double, 256>>> shade_tables_;
    std::unordered_map<int, std::unique_ptr<std::array<double, 512>>> tone_tables_;
};

}  // namespace velq
