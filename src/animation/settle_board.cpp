#include "animation/settle_board.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>

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

void SettleBoard::reset(std::span<const Circle> shapes, std::span<const Footprint> prints,
                        std::span<const Overlap> overlaps, ShapePainter& painter) {
    count_ = shapes.size();
    g_ = painter.global_brightness();
    const std::size_t words = (count_ + 63) / 64;
    has_neighbours_.assign(words, 0);
    for (const Overlap& o : overlaps)
        for (const std::uint32_t i : {o.first, o.second})
            has_neighbours_[i >> 6] |= std::uint64_t(1) << (i & 63);
    rank_.assign(words + 1, 0);
    for (std::size_t w = 0; w < words; ++w)
        rank_[w + 1] = rank_[w] + std::uint32_t(__builtin_popcountll(has_neighbours_[w]));
    const std::size_t m = rank_[words];
    std::vector<std::uint32_t> order_of(m);
    for (std::uint32_t i = 0; i < count_; ++i)
        if ((has_neighbours_[i >> 6] >> (i & 63)) & 1) order_of[dense(i)] = i;

    // Neighbour lists, each sorted, with the pair each entry came from.
    offsets_.assign(m + 1, 0);
    for (const Overlap& o : overlaps) {
        ++offsets_[dense(o.first) + 1];
        ++offsets_[dense(o.second) + 1];
    }
    for (std::size_t i = 0; i < m; ++i) offsets_[i + 1] += offsets_[i];
    std::vector<std::pair<std::uint32_t, std::uint32_t>> entries(overlaps.size() * 2);
    std::vector<std::uint32_t> fill(offsets_.begin(), offsets_.end() - 1);
    for (std::uint32_t k = 0; k < overlaps.size(); ++k) {
        const std::uint32_t a = dense(overlaps[k].first), b = dense(overlaps[k].second);
        entries[fill[a]++] = {b, k};
        entries[fill[b]++] = {a, k};
    }
    for (std::size_t i = 0; i < m; ++i)
        std::sort(entries.begin() + offsets_[i], entries.begin() + offsets_[i + 1]);
    neighbours_.resize(entries.size());
    pair_of_.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        neighbours_[i] = entries[i].first;
        pair_of_[i] = entries[i].second;
    }

    looks_.resize(m);
    for (std::size_t u = 0; u < m; ++u) {
        const Circle& c = shapes[order_of[u]];
        looks_[u] = {{c.paint.c2, c.paint.c1, c.paint.c0}, c.brightness / 100.0, c.transparency};
    }

    // Every shared pixel with the texels of every shape on it. Each such shape shares the pixel with
    // the pair's first shape, so that shape and its neighbours are all the candidates.
    std::vector<std::shared_ptr<const UBUFFER>> stencils(m);
    std::vector<std::uint8_t> looked_up(m, 0);
    auto stencil_of = [&](std::uint32_t u) -> const UBUFFER* {
        if (!looked_up[u]) {
            looked_up[u] = 1;
            const Circle& c = shapes[order_of[u]];
            if (c.shape) stencils[u] = painter.stencil(*c.shape, side_of(c));
        }
        return stencils[u].get();
    };
    pair_pixels_.assign(1, 0);
    pixels_.clear();
    texels_.clear();
    for (const Overlap& o : overlaps) {
        const Footprint &a = prints[o.first], &b = prints[o.second];
        const std::uint32_t da = dense(o.first);
        const int x0 = std::max(a.rect.x0, b.rect.x0), x1 = std::min(a.rect.x1, b.rect.x1);
        const int y0 = std::max(a.rect.y0, b.rect.y0), y1 = std::min(a.rect.y1, b.rect.y1);
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) {
                if (!a.test(x, y) || !b.test(x, y)) continue;
                SharedPixel p{y, x, std::uint32_t(texels_.size()), 0};
                auto visit = [&](std::uint32_t u) {
                    if (!prints[order_of[u]].test(x, y)) return;
                    if (const UBUFFER* st = stencil_of(u)) add_texels(shapes[order_of[u]], *st, u, x, y);
                };
                bool first_done = false;
                for (std::uint32_t i = offsets_[da]; i < offsets_[da + 1]; ++i) {
                    if (!first_done && neighbours_[i] > da) {
                        visit(da);
                        first_done = true;
                    }
                    visit(neighbours_[i]);
                }
                if (!first_done) visit(da);
                p.last = std::uint32_t(texels_.size());
                pixels_.push_back(p);
            }
        pair_pixels_.push_back(std::uint32_t(pixels_.size()));
    }
    rewind();
}

void SettleBoard::rewind() {
    frame_of_.assign(looks_.size(), -1);
    settled_.assign((count_ + 63) / 64, 0);
    now_.clear();
    frame_ = 0;
}

void SettleBoard::settle(std::uint32_t order) {
    if (order >= count_) return;
    std::uint64_t& word = settled_[order >> 6];
    const std::uint64_t bit = std::uint64_t(1) << (order & 63);
    if (word & bit) return;
    word |= bit;
    // Only shapes with neighbours are ever repaired or asked when they came to rest.
    if (!(has_neighbours_[order >> 6] & bit)) return;
    const std::uint32_t u = dense(order);
    frame_of_[u] = frame_;
    now_.push_back(u);
}

// The texels of a shape at rest that fall on pixel (x, y) as the renderer paints the whole shape:
// one, or two at the picture's left or top edge, rows first.
void SettleBoard::add_texels(const Circle& c, const UBUFFER& stencil, std::uint32_t shape, int x, int y) {
    const int d = side_of(c);
    const double left = c.x - c.radius, top = c.y - c.radius;
    const int j0 = std::max(0, int(std::floor(y - top)) - 1),
              j1 = std::min(d - 1, int(std::ceil(y - top)) + 1);
    const int i0 = std::max(0, int(std::floor(x - left)) - 1),
              i1 = std::min(d - 1, int(std::ceil(x - left)) + 1);
    for (int j = j0; j <= j1; ++j) {
        if (int(top + j) != y) continue;
        for (int i = i0; i <= i1; ++i) {
            if (int(left + i) != x) continue;
            const int m = stencil.at(i, j, 1);
            if (m != 0) texels_.push_back({shape, std::uint8_t(stencil.at(i, j, 0)), std::uint8_t(m)});
        }
    }
}

std::size_t SettleBoard::repair(const UBUFFER& base, UBUFFER& background) {
    found_.clear();
    for (const std::uint32_t s : now_) {
        for (std::uint32_t i = offsets_[s]; i < offsets_[s + 1]; ++i) {
            const std::uint32_t t = neighbours_[i];
            if (t < s || frame_of_[t] < 0 || frame_of_[t] >= frame_) continue;
            const std::uint32_t pair = pair_of_[i];
            for (std::uint32_t k = pair_pixels_[pair]; k < pair_pixels_[pair + 1]; ++k)
                found_.emplace_back(std::uint64_t(pixels_[k].y) << 32 | std::uint32_t(pixels_[k].x), k);
        }
    }
    now_.clear();
    ++frame_;
    if (found_.empty()) return 0;
    // Each pixel once: every pair that shares it lists every shape on it.
    std::sort(found_.begin(), found_.end());
    std::size_t repaired = 0;
    for (std::size_t k = 0; k < found_.size(); ++k) {
        if (k > 0 && found_[k].first == found_[k - 1].first) continue;
        const SharedPixel& p = pixels_[found_[k].second];
        std::uint8_t px[4];
        std::copy_n(&base.at(p.x, p.y), 4, px);
        for (std::uint32_t i = p.first; i < p.last; ++i) {
            const Texel& tx = texels_[i];
            if (frame_of_[tx.shape] < 0) continue;
            const Look& l = looks_[tx.shape];
            for (int ch = 0; ch < 3; ++ch)
                px[ch] = std::uint8_t(blend_value(tx.s, tx.m, px[ch], l.tint[ch], g_, l.transparency, l.k));
            px[3] = 255;
        }
        std::copy_n(px, 4, &background.at(p.x, p.y));
        ++repaired;
    }
    return repaired;
}

}  // namespace velq
