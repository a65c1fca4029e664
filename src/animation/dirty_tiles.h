// Which parts of a picture a frame changed, kept as 8 x 8 tiles: marking a rectangle costs its tile
// count however many rectangles overlap, and the marked parts are visited as runs of whole tiles along
// each tile row, so bringing them back copies every changed pixel once.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "animation/rasteriser.h"

namespace velq {

class DirtyTiles {
public:
    static constexpr int kTile = 8;

    void reset(int width, int height) {
        width_ = width;
        height_ = height;
        cols_ = (width + kTile - 1) / kTile;
        rows_ = (height + kTile - 1) / kTile;
        tiles_.assign(std::size_t(cols_) * rows_, 0);
        any_ = false;
    }
    void mark(const PixelRect& r) {
        if (r.empty()) return;
        const int c0 = std::max(0, r.x0 / kTile), c1 = std::min(cols_ - 1, (r.x1 - 1) / kTile);
        const int r0 = std::max(0, r.y0 / kTile), r1 = std::min(rows_ - 1, (r.y1 - 1) / kTile);
        for (int ty = r0; ty <= r1; ++ty)
            std::fill(&tiles_[std::size_t(ty) * cols_ + c0], &tiles_[std::size_t(ty) * cols_ + c1] + 1, 1);
        any_ = true;
    }
    bool any() const { return any_; }
    void clear() {
        if (any_) std::fill(tiles_.begin(), tiles_.end(), 0);
        any_ = false;
    }
    // Calls fn(rect) for every run of marked tiles in a tile row, clipped to the picture.
    template <class Fn>
    void for_each_run(Fn&& fn) const {
        if (!any_) return;
        for (int ty = 0; ty < rows_; ++ty) {
            const std::uint8_t* row = &tiles_[std::size_t(ty) * cols_];
            for (int tx = 0; tx < cols_;) {
                if (!row[tx]) {
                    ++tx;
                    continue;
                }
                int end = tx;
                while (end < cols_ && row[end]) ++end;
                fn(PixelRect{tx * kTile, ty * kTile, std::min(width_, end * kTile),
                             std::min(height_, (ty + 1) * kTile)});
                tx = end;
            }
        }
    }

private:
    int width_ = 0, height_ = 0, cols_ = 0, rows_ = 0;
    std::vector<std::uint8_t> tiles_;
    bool any_ = false;
};

}  // namespace velq
