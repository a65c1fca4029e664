#include "render/stencil.h"

#include <algorithm>
#include <new>

#include "image/resample.h"

namespace velq {

namespace {

bool shrinks(const UBUFFER& plane, int side) {
    return side < plane.width() && side < plane.height();
}

bool build_table(Host& host, const UBUFFER& plane, IBUFFER& table) {
    if (!table.allocate(plane.width(), plane.height(), 1, Init::Uninitialised)) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return false;
    }
    summed_area_table(plane, 0, table);
    return true;
}

std::size_t stencil_bytes(const Stencil& s) {
    return s.planes.size() + 2 * s.row_begin.size() * sizeof(int);
}

}  // namespace

std::shared_ptr<Stencil> build_stencil(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                       const IBUFFER* shade_table, const IBUFFER* mask_table, int side) {
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
    if (shrinks(shade, side) && shade_table && mask_table) {
        shrink_channel_from_table(*shade_table, shade.width(), shade.height(), s->planes, 0);
        shrink_channel_from_table(*mask_table, mask.width(), mask.height(), s->planes, 1);
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

std::shared_ptr<const Stencil> StencilCache::find_locked(int side) const {
    const auto it = stencils_.find(side);
    return it == stencils_.end() ? nullptr : it->second;
}

void StencilCache::keep_locked(const std::shared_ptr<const Stencil>& s) {
    const std::size_t b = stencil_bytes(*s);
    if (bytes_ + b > kBudget) return;
    stencils_.emplace(s->side, s);
    bytes_ += b;
}

std::shared_ptr<const Stencil> StencilCache::get(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                                                 int side) {
    std::lock_guard lock(mutex_);
    if (auto s = find_locked(side)) return s;
    std::shared_ptr<const Stencil> built;
    if (shrinks(shade, side)) {
        IBUFFER st, mt;
        if (!build_table(host, shade, st) || !build_table(host, mask, mt)) return nullptr;
        built = build_stencil(host, shade, mask, &st, &mt, side);
    } else {
        built = build_stencil(host, shade, mask, nullptr, nullptr, side);
    }
    if (built) keep_locked(built);
    return built;
}

void StencilCache::prepare(Host& host, const UBUFFER& shade, const UBUFFER& mask,
                           std::span<const int> sides) {
    std::lock_guard lock(mutex_);
    std::vector<int> missing;
    for (int d : sides)
        if (d >= 1 && !find_locked(d) && std::find(missing.begin(), missing.end(), d) == missing.end())
            missing.push_back(d);
    if (missing.empty()) return;
    IBUFFER st, mt;
    const bool need_tables =
        std::any_of(missing.begin(), missing.end(), [&](int d) { return shrinks(shade, d); });
    if (need_tables && (!build_table(host, shade, st) || !build_table(host, mask, mt))) return;
    for (int d : missing) {
        if (bytes_ >= kBudget) break;
        if (auto s =
                build_stencil(host, shade, mask, need_tables ? &st : nullptr, need_tables ? &mt : nullptr, d))
            keep_locked(s);
    }
}

void StencilCache::clear() {
    std::lock_guard lock(mutex_);
    stencils_.clear();
    bytes_ = 0;
}

std::size_t StencilCache::size() const {
    std::lock_guard lock(mutex_);
    return stencils_.size();
}

}  // namespace velq
