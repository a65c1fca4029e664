#include "render/stencil.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "image/resample.h"

namespace velq {

namespace {

bool shrinks(const UBUFFER& plane, int side) {
    return side < plane.width() && side < plane.height();
}

std::size_t stencil_bytes(int side) {
    return std::size_t(side) * side * 2 + 2 * std::size_t(side) * sizeof(int);
}

// The resize's rounding of a box sum over `area` pixels.
std::uint8_t box_mean(std::uint32_t sum, int area) {
    return std::uint8_t(std::min(255.0, std::trunc(double(sum) / area + 0.5)));
}

}  // namespace

InkBox find_ink(const UBUFFER& shade, const UBUFFER& mask) {
    // Every row's bytes ORed, and every column's.
    InkBox box;
    const int width = shade.width();
    std::vector<std::uint8_t> columns(std::size_t(width), 0);
    int top = -1, bottom = -1;
    for (int y = 0; y < shade.height(); ++y) {
        const std::uint8_t *a = shade.row(y), *b = mask.row(y);
        std::uint8_t any = 0;
        for (int x = 0; x < width; ++x) {
            const std::uint8_t v = a[x] | b[x];
            columns[std::size_t(x)] |= v;
            any |= v;
        }
        if (!any) continue;
        if (top < 0) top = y;
        bottom = y;
    }
    if (top < 0) return box;
    box.y0 = top;
    box.y1 = bottom;
    const auto ink = [](std::uint8_t v) { return v != 0; };
    box.x0 = int(std::find_if(columns.begin(), columns.end(), ink) - columns.begin());
    box.x1 = width - 1 - int(std::find_if(columns.rbegin(), columns.rend(), ink) - columns.rbegin());
    return box;
}

bool PlaneTable::build(const UBUFFER& shade, const UBUFFER& mask, const InkBox& ink) {
    width_ = shade.width();
    height_ = shade.height();
    w_ = h_ = 0;
    if (ink.x1 < ink.x0) return true;
    x0_ = ink.x0;
    y0_ = ink.y0;
    const int w = ink.x1 - ink.x0 + 1, h = ink.y1 - ink.y0 + 1;
    const std::size_t stride = std::size_t(w) + 1;
    std::vector<std::uint64_t> words;
    try {
        sums_.resize(stride * (std::size_t(h) + 1));
        words.resize(std::size_t(w) * 2);
    } catch (const std::bad_alloc&) {
        return false;
    }
    w_ = w;
    h_ = h;
    std::fill_n(sums_.begin(), stride, 0);
    // Two rows at a time: their planes are first joined into words (a loop the compiler vectorises),
    // then the running sums, which cannot be, share the reads of the row above.
    auto join = [&](int j, std::uint64_t* out) {
        const std::uint8_t *a = shade.row(y0_ + j) + x0_, *b = mask.row(y0_ + j) + x0_;
        for (int i = 0; i < w; ++i) out[i] = a[i] | std::uint64_t(b[i]) << 32;
    };
    std::uint64_t *first = words.data(), *second = first + w;
    int j = 0;
    for (; j + 1 < h; j += 2) {
        join(j, first);
        join(j + 1, second);
        std::uint64_t* t = sums_.data() + (std::size_t(j) + 1) * stride;
        std::uint64_t* u = t + stride;
        const std::uint64_t* above = t - stride;
        std::uint64_t run = 0, run2 = 0;
        t[0] = u[0] = 0;
        for (int i = 0; i < w; ++i) {
            run += first[i];
            run2 += second[i];
            const std::uint64_t v = above[i + 1] + run;
            t[i + 1] = v;
            u[i + 1] = v + run2;
        }
    }
    if (j < h) {
        join(j, first);
        std::uint64_t* t = sums_.data() + (std::size_t(j) + 1) * stride;
        const std::uint64_t* above = t - stride;
        std::uint64_t run = 0;
        t[0] = 0;
        for (int i = 0; i < w; ++i) {
            run += first[i];
            t[i + 1] = above[i + 1] + run;
        }
    }
    return true;
}

void PlaneTable::shrink(int side, UBUFFER& out) const {
    if (w_ == 0) return;
    std::vector<int> x_lo, x_hi, y_lo, y_hi;
    shrink_edges(width_, side, x_lo, x_hi);
    shrink_edges(height_, side, y_lo, y_hi);
    // Where each box edge falls in the table: a sum up to column x is entry x - x0_ + 1, 0 before
    // the box of non-zero pixels and w_ after it.
    std::vector<int> ca(static_cast<std::size_t>(side)), cb(static_cast<std::size_t>(side));
    for (int c = 0; c < side; ++c) {
        ca[c] = std::clamp(x_lo[c] - x0_ + 1, 0, w_);
        cb[c] = std::clamp(x_hi[c] - x0_ + 1, 0, w_);
    }
    const std::size_t stride = std::size_t(w_) + 1;
    for (int r = 0; r < side; ++r) {
        const int ra = std::clamp(y_lo[r] - y0_ + 1, 0, h_), rb = std::clamp(y_hi[r] - y0_ + 1, 0, h_);
        if (ra == rb) continue;  // the rows hold nothing (or none at all): the sums are 0
        const std::uint64_t *above = sums_.data() + std::size_t(ra) * stride,
                            *below = sums_.data() + std::size_t(rb) * stride;
        const int box_h = y_hi[r] - y_lo[r];
        std::uint8_t* d = out.row(r);
        for (int c = 0; c < side; ++c) {
            if (ca[c] == cb[c]) continue;
            const std::uint64_t sum = below[cb[c]] - below[ca[c]] - above[cb[c]] + above[ca[c]];
            if (sum == 0) continue;
            const int area = (x_hi[c] - x_lo[c]) * box_h;
            d[2 * c] = box_mean(std::uint32_t(sum), area);
            d[2 * c + 1] = box_mean(std::uint32_t(sum >> 32), area);
        }
    }
}

bool StencilBudget::take(std::size_t bytes) {
    std::size_t used = used_.load();
    do {
        if (bytes > limit_ || used > limit_ - bytes) return false;
    } while (!used_.compare_exchange_weak(used, used + bytes));
    return true;
}

std::shared_ptr<Stencil> build_stencil(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                       const PlaneTable* table, int side) {
    if (side < 1 || !shade || !mask) return nullptr;
    std::shared_ptr<Stencil> s;
    try {
        s = std::make_shared<Stencil>();
        s->side = side;
        if (!s->planes.allocate(side, side, 2)) return nullptr;
        s->row_begin.assign(side, side);
        s->row_end.assign(side, 0);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    if (shrinks(shade, side) && table) {
        table->shrink(side, s->planes);
    } else if (resize_channel(host, shade, 0, s->planes, 0) != 0 ||
               resize_channel(host, mask, 0, s->planes, 1) != 0) {
        return nullptr;
    }
    for (int j = 0; j < side; ++j) {
        const std::uint8_t* row = s->planes.row(j);
        int b = 0, e = side;
        while (b < side && row[2 * b + 1] == 0) ++b;
        while (e > b && row[2 * (e - 1) + 1] == 0) --e;
        if (b < e) {
            s->row_begin[j] = b;
            s->row_end[j] = e;
        }
    }
    return s;
}

StencilCache::~StencilCache() {
    budget_->give(bytes_);
}

void StencilCache::share(const std::shared_ptr<StencilBudget>& budget) {
    std::lock_guard lock(mutex_);
    if (!budget || budget == budget_) return;
    budget_->give(bytes_);
    budget_ = budget;
    if (!budget_->take(bytes_)) {
        stencils_.clear();
        bytes_ = 0;
    }
}

std::shared_ptr<const Stencil> StencilCache::find_locked(int side) const {
    const auto it = stencils_.find(side);
    return it == stencils_.end() ? nullptr : it->second;
}

bool StencilCache::keep_locked(const std::shared_ptr<const Stencil>& s) {
    const std::size_t b = stencil_bytes(s->side);
    if (!budget_->take(b)) return false;
    stencils_.emplace(s->side, s);
    bytes_ += b;
    return true;
}

void StencilCache::forget_locked() {
    stencils_.clear();
    lent_.clear();
    budget_->give(bytes_);
    bytes_ = 0;
}

std::shared_ptr<const Stencil> StencilCache::get(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                                 int side) {
    std::lock_guard lock(mutex_);
    if (auto s = find_locked(side)) return s;
    if (const auto it = lent_.find(side); it != lent_.end())
        if (auto s = it->second.lock()) return s;
    PlaneTable table;
    if (shrinks(shade, side) && !table.build(shade, mask, ink_locked(shade, mask))) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return nullptr;
    }
    std::shared_ptr<const Stencil> built = build_stencil(host, shade, mask, &table, side);
    if (built && !keep_locked(built)) lent_[side] = built;  // found again while the caller holds it
    return built;
}

void StencilCache::prepare(Host& host, const UBUFFER& shade, const UBUFFER& mask, std::span<const int> sides,
                           PlaneTable& scratch, std::vector<std::shared_ptr<const Stencil>>& held) {
    std::lock_guard lock(mutex_);
    std::erase_if(lent_, [](const auto& entry) { return entry.second.expired(); });
    std::vector<int> missing;
    std::size_t need = 0;
    for (int d : sides)
        if (d >= 1 && !find_locked(d) && std::find(missing.begin(), missing.end(), d) == missing.end()) {
            missing.push_back(d);
            need += stencil_bytes(d);
        }
    if (missing.empty()) return;
    if (budget_->used() + need > budget_->limit()) {
        // Sides of earlier renders make room for this one's.
        for (auto it = stencils_.begin(); it != stencils_.end();) {
            if (std::find(sides.begin(), sides.end(), it->first) != sides.end()) {
                ++it;
                continue;
            }
            const std::size_t b = stencil_bytes(it->first);
            budget_->give(b);
            bytes_ -= b;
            it = stencils_.erase(it);
        }
    }
    const bool need_table =
        std::any_of(missing.begin(), missing.end(), [&](int d) { return shrinks(shade, d); });
    if (need_table && !scratch.build(shade, mask, ink_locked(shade, mask))) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return;
    }
    for (int d : missing) {
        auto s = build_stencil(host, shade, mask, need_table ? &scratch : nullptr, d);
        if (!s || keep_locked(s)) continue;
        lent_[d] = s;
        held.push_back(std::move(s));
    }
}

const InkBox& StencilCache::ink_locked(const UBUFFER& shade, const UBUFFER& mask) {
    if (!ink_known_) {
        ink_ = find_ink(shade, mask);
        ink_known_ = true;
    }
    return ink_;
}

void StencilCache::planes_changed(const InkBox& ink) {
    std::lock_guard lock(mutex_);
    forget_locked();
    ink_ = ink;
    ink_known_ = true;
}

void StencilCache::clear() {
    std::lock_guard lock(mutex_);
    forget_locked();
    ink_known_ = false;
}

void StencilCache::release() {
    std::lock_guard lock(mutex_);
    forget_locked();
}

std::size_t StencilCache::size() const {
    std::lock_guard lock(mutex_);
    return stencils_.size();
}

std::size_t StencilCache::bytes() const {
    std::lock_guard lock(mutex_);
    return bytes_;
}

}  // namespace velq
