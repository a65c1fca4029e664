// Stencils: a shape's shade and opacity planes brought to the side of one placement with the plane
// resize of the image code. A shape keeps the stencils of every side it has been painted at, so its
// summed-area tables are built once per tone instead of once per placement.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <unordered_map>
#include <vector>

#include "host/host.h"
#include "image/buffer.h"

namespace velq {

struct Stencil {
    int side = 0;
    UBUFFER planes;              // side x side x 2: shade, opacity
    std::vector<int> row_begin;  // per row: first column with non-zero opacity (side when none)
    std::vector<int> row_end;    // per row: one past the last such column
};

class StencilCache {
public:
    // Stencils held beyond this many bytes are built for the caller but not kept.
    static constexpr std::size_t kBudget = std::size_t(64) << 20;

    StencilCache() = default;
    StencilCache(const StencilCache&) = delete;
    StencilCache& operator=(const StencilCache&) = delete;

    // The stencil of `side` (>= 1) from the two 1024-square planes; built on first use. Null, with the
    // image code's message, when a table could not be allocated. Safe to call from several threads.
    std::shared_ptr<const Stencil> get(Host& host, const UBUFFER& shade, const UBUFFER& mask, int side);
    // Builds every listed side that is missing with a single pair of summed-area tables.
    void prepare(Host& host, const UBUFFER& shade, const UBUFFER& mask, std::span<const int> sides);
    // Forgets every stencil (the planes changed).
    void clear();
    std::size_t size() const;

private:
    std::shared_ptr<const Stencil> find_locked(int side) const;
    void keep_locked(const std::shared_ptr<const Stencil>& s);

    mutable std::mutex mutex_;
    std::unordered_map<int, std::shared_ptr<const Stencil>> stencils_;
    std::size_t bytes_ = 0;
};

// A shape's two planes resized to side x side exactly as the plane resize does it (channel 0 shade,
// channel 1 opacity), from tables of the two planes when the side shrinks them. For tests and for
// the cache.
std::shared_ptr<Stencil> build_stencil(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                       const IBUFFER* shade_table, const IBUFFER* mask_table, int side);

}  // namespace velq
