// Stencils: a shape's shade and opacity planes brought to the side of one placement with the plane
// resize of the image code. A shape keeps the stencils of every side it has been painted at, so its
// summed-area table is built once per tone instead of once per placement; the shapes of a layer
// share one budget for what they keep.
#pragma once

#include <atomic>
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

// The box that holds every non-zero pixel of a shape's two planes (x1 < x0 when there is none).
struct InkBox {
    int x0 = 0, y0 = 0, x1 = -1, y1 = -1;
};
InkBox find_ink(const UBUFFER& shade, const UBUFFER& mask);

// Both planes of a shape as one summed-area table over the smallest box that holds every non-zero
// pixel of either (outside it every sum is a sum of zeros). An entry holds the shade sum in its low
// 32 bits and the opacity sum in its high 32 bits: neither reaches 2^32 (255 x 2^20), so a box's
// four-term sum taken in 64 bits is the two planes' box sums side by side, and one pass and one
// lookup serve both planes. A caller building many shapes keeps one table and so reuses its memory.
class PlaneTable {
public:
    // From two one-channel planes of one size whose ink lies in `ink`; false when the table cannot be
    // allocated.
    bool build(const UBUFFER& shade, const UBUFFER& mask, const InkBox& ink);
    // The planes shrunk to side x side (side below both plane sides) into channels 0 and 1 of `out`,
    // which must start zeroed: byte for byte what the plane resize gives.
    void shrink(int side, UBUFFER& out) const;

private:
    int width_ = 0, height_ = 0;  // the planes'
    int x0_ = 0, y0_ = 0;         // the box of non-zero pixels: from (x0_, y0_), w_ x h_ (0 when none)
    int w_ = 0, h_ = 0;
    std::vector<std::uint64_t> sums_;  // (w_ + 1) x (h_ + 1); row 0 and column 0 are zero
};

// Bytes of stencils that a group of caches (the shapes of one layer) keeps together.
class StencilBudget {
public:
    explicit StencilBudget(std::size_t limit) : limit_(limit) {}
    // Counts `bytes` in when they fit under the limit; false (nothing counted) otherwise.
    bool take(std::size_t bytes);
    void give(std::size_t bytes) { used_ -= bytes; }
    std::size_t used() const { return used_; }
    std::size_t limit() const { return limit_; }

private:
    const std::size_t limit_;
    std::atomic<std::size_t> used_{0};
};

class StencilCache {
public:
    // What a shape keeps on its own budget until it joins a layer's.
    static constexpr std::size_t kBudget = std::size_t(64) << 20;

    StencilCache() : budget_(std::make_shared<StencilBudget>(kBudget)) {}
    ~StencilCache();
    StencilCache(const StencilCache&) = delete;
    StencilCache& operator=(const StencilCache&) = delete;

    // Counts what this cache keeps against `budget` from now on (the stencils already kept move over
    // when they fit, and are forgotten otherwise).
    void share(const std::shared_ptr<StencilBudget>& budget);
    // The stencil of `side` (>= 1) from the two 1024-square planes; built on first use (and, when the
    // budget is full, found again only while someone holds it). Null, with the image code's message,
    // when a table could not be allocated. Safe to call from several threads.
    std::shared_ptr<const Stencil> get(Host& host, const UBUFFER& shade, const UBUFFER& mask, int side);
    // Builds every listed side that is missing with one table (`scratch`, whose memory is reused).
    // When the budget cannot hold them, stencils of sides not listed are forgotten first; those that
    // still do not fit go to `held`, and get() finds them while the caller holds them.
    void prepare(Host& host, const UBUFFER& shade, const UBUFFER& mask, std::span<const int> sides,
                 PlaneTable& scratch, std::vector<std::shared_ptr<const Stencil>>& held);
    // Forgets every stencil: the planes changed and their ink now lies in `ink` (clear: found from
    // the planes when next needed).
    void planes_changed(const InkBox& ink);
    void clear();
    // Forgets every stencil of planes that stay as they are (keeping where their ink lies).
    void release();
    std::size_t size() const;
    std::size_t bytes() const;

private:
    std::shared_ptr<const Stencil> find_locked(int side) const;
    // Counts the stencil in and keeps it; false when the budget is full.
    bool keep_locked(const std::shared_ptr<const Stencil>& s);
    void forget_locked();
    const InkBox& ink_locked(const UBUFFER& shade, const UBUFFER& mask);

    mutable std::mutex mutex_;
    std::unordered_map<int, std::shared_ptr<const Stencil>> stencils_;
    std::unordered_map<int, std::weak_ptr<const Stencil>> lent_;  // built, not kept
    std::size_t bytes_ = 0;
    std::shared_ptr<StencilBudget> budget_;
    InkBox ink_;
    bool ink_known_ = false;
};

// A shape's two planes resized to side x side exactly as the plane resize does it (channel 0 shade,
// channel 1 opacity), from the planes' table when the side shrinks them.
std::shared_ptr<Stencil> build_stencil(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                       const PlaneTable* table, int side);

}  // namespace velq
