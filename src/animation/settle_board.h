// The settle board: a finished shape is painted into the persistent background in the frame it
// comes to rest, and the frame's shapes in the still render's order. Where a shape shares pixels
// with shapes that the still render paints after it but that came to rest in an earlier frame, those
// pixels are painted again from the base picture with every settled shape on them, in the still
// render's order. So every pixel of the background always holds its settled shapes in that order,
// and a frame at the end equals the still render whatever the scan orders and timings.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "animation/rasteriser.h"
#include "animation/shape_painter.h"
#include "image/buffer.h"
#include "segments/circle.h"

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
    // The shapes at rest in still render order (index = order), their footprints and the pairs of
    // them that share pixels; `painter` gives their stencils. Keeps only what the repair needs: which
    // shapes meet which, and for every shared pixel the stencil texels that each shape on it puts there.
    void reset(std::span<const Circle> shapes, std::span<const Footprint> prints,
               std::span<const Overlap> overlaps, ShapePainter& painter);
    // Nobody settled.
    void rewind();
    // Shape `order` comes to rest in the current frame.
    void settle(std::uint32_t order);
    bool settled(std::uint32_t order) const {
        return order < count_ && ((settled_[order >> 6] >> (order & 63)) & 1);
    }
    // The shape shares pixels with another one: its painting order matters.
    bool has_neighbours(std::uint32_t order) const {
        return order < count_ && ((has_neighbours_[order >> 6] >> (order & 63)) & 1);
    }
    // After the current frame's settled shapes were painted into `background` (over `base`): paints
    // again the pixels where they meet shapes that the still render paints after them and that came to
    // rest in an earlier frame. Then the next frame begins. Returns the number of pixels painted again.
    std::size_t repair(const UBUFFER& base, UBUFFER& background);

    std::size_t overlaps() const { return pair_pixels_.empty() ? 0 : pair_pixels_.size() - 1; }

private:
    // Shapes that share pixels with others are few; they are numbered among themselves in painting
    // order, and every table below but the bits is indexed by that number.
    std::uint32_t dense(std::uint32_t order) const {
        const std::uint64_t below = (std::uint64_t(1) << (order & 63)) - 1;
        return rank_[order >> 6] + std::uint32_t(__builtin_popcountll(has_neighbours_[order >> 6] & below));
    }
    void add_texels(const Circle& c, const UBUFFER& stencil, std::uint32_t shape, int x, int y);

    // How a shape blends: its tint (blue, green, red), transparency and brightness factor.
    struct Look {
        double tint[3];
        double k;
        int transparency;
    };
    // A stencil texel that a shape puts on a shared pixel.
    struct Texel {
        std::uint32_t shape;
        std::uint8_t s, m;
    };
    // A pixel that two shapes share, and its texels [first, last), shapes in painting order.
    struct SharedPixel {
        int y, x;
        std::uint32_t first, last;
    };

    std::size_t count_ = 0;
    int g_ = 0;  // global brightness
    // Bits per shape: it has neighbours; it has settled. With the ranks of the first, a shape's
    // number among those with neighbours.
    std::vector<std::uint64_t> has_neighbours_, settled_;
    std::vector<std::uint32_t> rank_;
    std::vector<std::uint32_t> offsets_, neighbours_;  // both directions, each list in order
    std::vector<std::uint32_t> pair_of_;               // per neighbour entry: its pair's index
    std::vector<Look> looks_;
    std::vector<std::uint32_t> pair_pixels_;  // each pair's shared pixels, [pair_pixels_[k], [k + 1])
    std::vector<SharedPixel> pixels_;
    std::vector<Texel> texels_;
    std::vector<int> frame_of_;       // frame a shape came to rest in; -1 not yet
    std::vector<std::uint32_t> now_;  // shapes come to rest in the current frame
    int frame_ = 0;
    // Shared pixels to paint again, as (y, x) and their place in pixels_, kept between frames.
    std::vector<std::pair<std::uint64_t, std::uint32_t>> found_;
};

}  // namespace velq
