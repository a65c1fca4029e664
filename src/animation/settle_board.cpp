#include "animation/settle_board.h"

#include <algorithm>

#include "animation/rasteriser.h"
#include "render/shape.h"

namespace velq {

void SettleBoard::reset(std::size_t count, std::span<const Wait> waits) {
    pending_.assign(count, 0);
    offsets_.assign(count + 1, 0);
    for (const Wait& w : waits) {
        ++offsets_[w.first + 1];
        ++pending_[w.second];
    }
    for (std::size_t i = 0; i < count; ++i) offsets_[i + 1] += offsets_[i];
    held_.assign(waits.size(), 0);
    std::vector<std::uint32_t> fill(offsets_.begin(), offsets_.end() - 1);
    for (const Wait& w : waits) held_[fill[w.first]++] = w.second;
}

void SettleBoard::settle(std::uint32_t order) {
    if (order >= pending_.size()) return;
    for (std::uint32_t later : held_by(order))
        if (pending_[later] > 0) --pending_[later];
}

std::span<const std::uint32_t> SettleBoard::held_by(std::uint32_t order) const {
    if (order + 1 >= offsets_.size()) return {};
    return std::span<const std::uint32_t>(held_).subspan(offsets_[order],
                                                         offsets_[order + 1] - offsets_[order]);
}

namespace {

// The pixels one placement changes, as a bit per pixel of its clipped square.
struct Footprint {
    PixelRect rect;
    std::vector<std::uint64_t> bits;
    bool test(int x, int y) const {
        const std::size_t i =
            std::size_t(y - rect.y0) * std::size_t(rect.x1 - rect.x0) + std::size_t(x - rect.x0);
        return (bits[i >> 6] >> (i & 63)) & 1u;
    }
};

Footprint footprint(const Circle& c, ShapePainter& painter, int width, int height) {
    Footprint f;
    f.rect = flat_rect(c, width, height);
    if (f.rect.empty() || !c.shape) {
        f.rect = {};
        return f;
    }
    const double r = c.radius;
    const int d = int(2 * r + 0.5);
    const auto st = painter.stencil(*c.shape, d);
    const int fw = f.rect.x1 - f.rect.x0, fh = f.rect.y1 - f.rect.y0;
    f.bits.assign((std::size_t(fw) * fh + 63) / 64, 0);
    if (!st) {
        // Without the stencil the whole square counts: waiting too long is safe, too little is not.
        for (std::size_t i = 0; i < std::size_t(fw) * fh; ++i) f.bits[i >> 6] |= std::uint64_t(1) << (i & 63);
        return f;
    }
    const double left = c.x - r, top = c.y - r;
    for (int j = 0; j < d; ++j) {
        const int y = int(top + j);
        if (y < f.rect.y0 || y >= f.rect.y1) continue;
        for (int i = 0; i < d; ++i) {
            if (st->at(i, j, 1) == 0) continue;
            const int x = int(left + i);
            if (x < f.rect.x0 || x >= f.rect.x1) continue;
            const std::size_t k = std::size_t(y - f.rect.y0) * fw + std::size_t(x - f.rect.x0);
            f.bits[k >> 6] |= std::uint64_t(1) << (k & 63);
        }
    }
    return f;
}

bool share_pixel(const Footprint& a, const Footprint& b) {
    const int x0 = std::max(a.rect.x0, b.rect.x0), x1 = std::min(a.rect.x1, b.rect.x1);
    const int y0 = std::max(a.rect.y0, b.rect.y0), y1 = std::min(a.rect.y1, b.rect.y1);
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            if (a.test(x, y) && b.test(x, y)) return true;
    return false;
}

}  // namespace

std::vector<Wait> find_waits(std::span<const Circle> placements, ShapePainter& painter, int width,
                             int height) {
    std::vector<Wait> waits;
    const std::size_t n = placements.size();
    if (n == 0 || width <= 0 || height <= 0) return waits;
    std::vector<Footprint> prints;
    prints.reserve(n);
    for (const Circle& c : placements) prints.push_back(footprint(c, painter, width, height));

    // A grid of 64-pixel cells listing the shapes whose square meets each cell, in order.
    constexpr int kCell = 64;
    const int gw = (width + kCell - 1) / kCell, gh = (height + kCell - 1) / kCell;
    std::vector<std::vector<std::uint32_t>> cells(std::size_t(gw) * gh);
    std::vector<std::uint32_t> seen(n, UINT32_MAX);
    for (std::uint32_t later = 0; later < n; ++later) {
        const Footprint& f = prints[later];
        if (f.rect.empty()) continue;
        const int cx0 = f.rect.x0 / kCell, cx1 = (f.rect.x1 - 1) / kCell;
        const int cy0 = f.rect.y0 / kCell, cy1 = (f.rect.y1 - 1) / kCell;
        for (int cy = cy0; cy <= cy1; ++cy)
            for (int cx = cx0; cx <= cx1; ++cx) {
                auto& cell = cells[std::size_t(cy) * gw + cx];
                for (std::uint32_t earlier : cell) {
                    if (seen[earlier] == later) continue;
                    seen[earlier] = later;
                    const Footprint& e = prints[earlier];
                    if (e.rect.x1 <= f.rect.x0 || f.rect.x1 <= e.rect.x0 || e.rect.y1 <= f.rect.y0 ||
                        f.rect.y1 <= e.rect.y0)
                        continue;
                    if (share_pixel(e, f)) waits.emplace_back(earlier, later);
                }
                cell.push_back(later);
            }
    }
    return waits;
}

}  // namespace velq
