#include "animation/settle_board.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "render/shape.h"

namespace velq {

namespace {

int side_of(const Circle& c) {
    return int(2 * c.radius + 0.5);
}

Footprint footprint(const Circle& c, ShapePainter& painter, int width, int height) {
    Footprint f;
    f.rect = flat_rect(c, width, height);
    if (f.rect.empty() || !c.shape) {
        f.rect = {};
        return f;
    }
    const double r = c.radius;
    const int d = side_of(c);
    const auto st = painter.stencil(*c.shape, d);
    const int fw = f.rect.x1 - f.rect.x0, fh = f.rect.y1 - f.rect.y0;
    f.bits.assign((std::size_t(fw) * fh + 63) / 64, 0);
    if (!st) {
        // Without the stencil the whole square counts: repainting too much is safe, too little is not.
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

std::vector<Footprint> find_footprints(std::span<const Circle> placements, ShapePainter& painter, int width,
                                       int height) {
    std::vector<Footprint> prints;
    prints.reserve(placements.size());
    for (const Circle& c : placements) prints.push_back(footprint(c, painter, width, height));
    return prints;
}

std::vector<Overlap> find_overlaps(std::span<const Footprint> prints, int width, int height) {
    std::vector<Overlap> overlaps;
    const std::size_t n = prints.size();
    if (n == 0 || width <= 0 || height <= 0) return overlaps;
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
                    if (share_pixel(e, f)) overlaps.emplace_back(earlier, later);
                }
                cell.push_back(later);
            }
    }
    return overlaps;
}

void SettleBoard::reset(std::vector<Circle> shapes, std::vector<Footprint> prints,
                        std::span<const Overlap> overlaps) {
    shapes_ = std::move(shapes);
    prints_ = std::move(prints);
    const std::size_t n = shapes_.size();
    offsets_.assign(n + 1, 0);
    for (const Overlap& o : overlaps) {
        ++offsets_[o.first + 1];
        ++offsets_[o.second + 1];
    }
    for (std::size_t i = 0; i < n; ++i) offsets_[i + 1] += offsets_[i];
    // Each list sorted by neighbour, with the pair it came from.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> entries(overlaps.size() * 2);
    std::vector<std::uint32_t> fill(offsets_.begin(), offsets_.end() - 1);
    for (std::uint32_t k = 0; k < overlaps.size(); ++k) {
        const Overlap& o = overlaps[k];
        entries[fill[o.first]++] = {o.second, k};
        entries[fill[o.second]++] = {o.first, k};
    }
    has_neighbours_.assign((n + 63) / 64, 0);
    for (std::size_t i = 0; i < n; ++i) {
        std::sort(entries.begin() + offsets_[i], entries.begin() + offsets_[i + 1]);
        if (offsets_[i + 1] > offsets_[i]) has_neighbours_[i >> 6] |= std::uint64_t(1) << (i & 63);
    }
    neighbours_.resize(entries.size());
    pair_of_.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        neighbours_[i] = entries[i].first;
        pair_of_[i] = entries[i].second;
    }
    shared_begin_.assign(1, 0);
    shared_.clear();
    for (const Overlap& o : overlaps) {
        const Footprint &a = prints_[o.first], &b = prints_[o.second];
        const int x0 = std::max(a.rect.x0, b.rect.x0), x1 = std::min(a.rect.x1, b.rect.x1);
        const int y0 = std::max(a.rect.y0, b.rect.y0), y1 = std::min(a.rect.y1, b.rect.y1);
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x)
                if (a.test(x, y) && b.test(x, y)) shared_.emplace_back(y, x);
        shared_begin_.push_back(std::uint32_t(shared_.size()));
    }
    rewind();
}

void SettleBoard::rewind() {
    frame_of_.assign(shapes_.size(), -1);
    settled_.assign((shapes_.size() + 63) / 64, 0);
    now_.clear();
    frame_ = 0;
}

void SettleBoard::settle(std::uint32_t order) {
    if (order >= shapes_.size()) return;
    std::uint64_t& word = settled_[order >> 6];
    const std::uint64_t bit = std::uint64_t(1) << (order & 63);
    if (word & bit) return;
    word |= bit;
    // Only shapes with neighbours are ever repaired or asked when they came to rest.
    if (!(has_neighbours_[order >> 6] & bit)) return;
    frame_of_[order] = frame_;
    now_.push_back(order);
}

// Paints one pixel of a settled shape as the renderer paints the whole shape: every texel that falls
// on the pixel (two at the picture's left or top edge), rows first, with the renderer's blend.
void SettleBoard::paint_pixel(std::uint32_t shape, const UBUFFER& stencil, int x, int y, int g,
                              std::uint8_t* px) const {
    const Circle& c = shapes_[shape];
    const int d = side_of(c);
    const UBUFFER* st = &stencil;
    const double left = c.x - c.radius, top = c.y - c.radius, k = c.brightness / 100.0;
    const double tint[3] = {c.paint.c2, c.paint.c1, c.paint.c0};
    const int j0 = std::max(0, int(std::floor(y - top)) - 1),
              j1 = std::min(d - 1, int(std::ceil(y - top)) + 1);
    const int i0 = std::max(0, int(std::floor(x - left)) - 1),
              i1 = std::min(d - 1, int(std::ceil(x - left)) + 1);
    for (int j = j0; j <= j1; ++j) {
        if (int(top + j) != y) continue;
        for (int i = i0; i <= i1; ++i) {
            if (int(left + i) != x) continue;
            const int m = st->at(i, j, 1);
            if (m == 0) continue;
            const int s = st->at(i, j, 0);
            for (int ch = 0; ch < 3; ++ch)
                px[ch] = std::uint8_t(blend_value(s, m, px[ch], tint[ch], g, c.transparency, k));
            px[3] = 255;
        }
    }
}

std::size_t SettleBoard::repair(const UBUFFER& base, UBUFFER& background, ShapePainter& painter) {
    // Pixels to paint again, each with the shape that found it.
    auto& found = found_;
    found.clear();
    for (std::uint32_t s : now_) {
        for (std::uint32_t i = offsets_[s]; i < offsets_[s + 1]; ++i) {
            const std::uint32_t t = neighbours_[i];
            if (t < s || frame_of_[t] < 0 || frame_of_[t] >= frame_) continue;
            const std::uint32_t pair = pair_of_[i];
            for (std::uint32_t k = shared_begin_[pair]; k < shared_begin_[pair + 1]; ++k)
                found.push_back({shared_[k].first, shared_[k].second, s});
        }
    }
    now_.clear();
    ++frame_;
    if (found.empty()) return 0;
    // Each pixel once: every shape on it shares it with the shape that found it, so that shape's
    // neighbours (and itself) are all the candidates.
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
        return a.y != b.y ? a.y < b.y : a.x != b.x ? a.x < b.x : a.finder < b.finder;
    });
    // Stencils looked up once per shape for the whole repair (a few dozen shapes).
    auto& stencils = stencils_;
    stencils.clear();
    auto stencil_of = [&](std::uint32_t u) -> const UBUFFER* {
        for (const auto& [shape, st] : stencils)
            if (shape == u) return st.get();
        std::shared_ptr<const UBUFFER> st;
        if (shapes_[u].shape) st = painter.stencil(*shapes_[u].shape, side_of(shapes_[u]));
        stencils.emplace_back(u, st);
        return st.get();
    };
    const int g = painter.global_brightness();
    std::size_t repaired = 0;
    auto& on_pixel = on_pixel_;
    for (std::size_t k = 0; k < found.size(); ++k) {
        if (k > 0 && found[k].y == found[k - 1].y && found[k].x == found[k - 1].x) continue;
        const int y = found[k].y, x = found[k].x;
        const std::uint32_t s = found[k].finder;
        on_pixel.clear();
        on_pixel.push_back(s);
        for (std::uint32_t i = offsets_[s]; i < offsets_[s + 1]; ++i) on_pixel.push_back(neighbours_[i]);
        std::sort(on_pixel.begin(), on_pixel.end());
        std::uint8_t px[4];
        std::copy_n(&base.at(x, y), 4, px);
        for (std::uint32_t u : on_pixel)
            if (frame_of_[u] >= 0 && prints_[u].test(x, y))
                if (const UBUFFER* st = stencil_of(u)) paint_pixel(u, *st, x, y, g, px);
        std::copy_n(px, 4, &background.at(x, y));
        ++repaired;
    }
    stencils.clear();
    return repaired;
}

}  // namespace velq
