// The settle board: a finished shape is painted into the persistent background in the frame it
// comes to rest, and the frame's shapes in the still render's order. Where a shape shares pixels
// with shapes that the still render paints after it but that came to rest in an earlier frame, those
// pixels are painted again from the base picture with every settled shape on them, in the still
// render's order. So every pixel of the background always holds its settled shapes in that order,
// and a frame at the end equals the still render whatever the scan orders and timings.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "animation/rasteriser.h"
#include "animation/shape_painter.h"
#include "image/buffer.h"
#include "transform/circle.h"

namespace velq {

// The pixels that painting one placement at rest changes (its stencil's non-zero opacity), a bit per
// pixel of its clipped square.
struct Footprint {
    PixelRect rect;
    std::vector<std::uint64_t> bits;
    bool test(int x, int y) const {
        if (x < rect.x0 || y < rect.y0 || x >= rect.x1 || y >= rect.y1) return false;
        const std::size_t i =
            std::size_t(y - rect.y0) * std::size_t(rect.x1 - rect.x0) + std::size_t(x - rect.x0);
        return (bits[i >> 6] >> (i & 63)) & 1u;
    }
};

using Overlap = std::pair<std::uint32_t, std::uint32_t>;  // (earlier, later) share a pixel

std::vector<Footprint> find_footprints(std::span<const Circle> placements, ShapePainter& painter, int width,
                                       int height);
// Every pair of footprints (given in still render order) that share a pixel.
std::vector<Overlap> find_overlaps(std::span<const Footprint> prints, int width, int height);

class SettleBoard {
public:
    // The shapes at rest in still render order (index = order), their footprints and overlaps.
    void reset(std::vector<Circle> shapes, std::vector<Footprint> prints, std::span<const Overlap> overlaps);
    // Nobody settled.
    void rewind();
    // Shape `order` comes to rest in the current frame.
    void settle(std::uint32_t order);
    bool settled(std::uint32_t order) const {
        return order < shapes_.size() && ((settled_[order >> 6] >> (order & 63)) & 1);
    }
    // After the current frame's settled shapes were painted into `background` (over `base`): paints
    // again the pixels where they meet shapes that the still render paints after them and that came to
    // rest in an earlier frame. Then the next frame begins. Returns the number of pixels painted again.
    std::size_t repair(const UBUFFER& base, UBUFFER& background, ShapePainter& painter);

    std::size_t overlaps() const { return neighbours_.size() / 2; }

private:
    void paint_pixel(std::uint32_t shape, const UBUFFER& stencil, int x, int y, int global_brightness,
                     std::uint8_t* px) const;

    std::vector<Circle> shapes_;
    std::vector<Footprint> prints_;
    std::vector<std::uint32_t> offsets_, neighbours_;  // both directions, each list in order
    std::vector<std::uint32_t> pair_of_;               // per neighbour entry: its pair's index
    // The pixels each pair shares, as (y, x), pair by pair.
    std::vector<std::uint32_t> shared_begin_;
    std::vector<std::pair<int, int>> shared_;
    // Bits per shape: it has neighbours; it has settled. Few shapes have neighbours, and these small
    // tables spare settling and repairing a miss on the larger ones for every other shape.
    std::vector<std::uint64_t> has_neighbours_, settled_;
    std::vector<int> frame_of_;       // frame a shape with neighbours came to rest in; -1 not yet
    std::vector<std::uint32_t> now_;  // shapes come to rest in the current frame
    int frame_ = 0;
    // The repair's working lists, kept between frames.
    struct Found {
        int y, x;
        std::uint32_t finder;
    };
    std::vector<Found> found_;
    std::vector<std::uint32_t> on_pixel_;
    std::vector<std::pair<std::uint32_t, std::shared_ptr<const UBUFFER>>> stencils_;
};

}  // namespace velq
