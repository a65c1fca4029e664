// A uniform grid of cells over the packing area, each holding (id, stamp) entries: the packer's index
// of outline edges and of the areas that cached corner results depend on. Entries are deleted
// lazily: an entry counts only while its stamp matches the owner's current stamp.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "transform/pack_geometry.h"

namespace velq::pack {

// The float next to f towards -inf / +inf, as std::nextafter gives it, without a library call for
// finite values.
inline float float_below(float f) {
    if (!(std::fabs(f) <= std::numeric_limits<float>::max())) return std::nextafter(f, -HUGE_VALF);
    if (f == 0) return -std::numeric_limits<float>::denorm_min();
    const std::uint32_t b = std::bit_cast<std::uint32_t>(f);
    return std::bit_cast<float>(f > 0 ? b - 1 : b + 1);
}
inline float float_above(float f) {
    if (!(std::fabs(f) <= std::numeric_limits<float>::max())) return std::nextafter(f, HUGE_VALF);
    if (f == 0) return std::numeric_limits<float>::denorm_min();
    const std::uint32_t b = std::bit_cast<std::uint32_t>(f);
    return std::bit_cast<float>(f > 0 ? b + 1 : b - 1);
}

struct GridEntry {
    int id;
    std::uint32_t stamp;
    float x0, y0, x1, y1;  // the entry's box, rounded outwards

    static GridEntry make(int id, std::uint32_t stamp, const Box& b) {
        return {id,
                stamp,
                float_below(float(b.x0)),
                float_below(float(b.y0)),
                float_above(float(b.x1)),
                float_above(float(b.y1))};
    }
    bool meets(const Box& b) const { return x0 <= b.x1 && b.x0 <= x1 && y0 <= b.y1 && b.y0 <= y1; }
};

// A query box in floats, rounded inwards: a float compares with a double exactly as it compares with
// the double rounded to a float towards it, so meets() answers as GridEntry::meets(Box) does, without
// a conversion per entry.
struct FloatQuery {
    float x0, y0, x1, y1;

    explicit FloatQuery(const Box& b) : x0(up(b.x0)), y0(up(b.y0)), x1(down(b.x1)), y1(down(b.y1)) {
#if defined(__SSE2__)
        hi_ = _mm_setr_ps(x1, y1, HUGE_VALF, HUGE_VALF);
        lo_ = _mm_setr_ps(-HUGE_VALF, -HUGE_VALF, x0, y0);
#endif
    }
    // Without branches: most entries of a cell fail one test or another, unpredictably.
    bool meets(const GridEntry& e) const {
#if defined(__SSE2__)
        // (x0, y0, x1, y1) of the entry: x0 <= q.x1, y0 <= q.y1, x1 >= q.x0, y1 >= q.y0.
        const __m128 box = _mm_loadu_ps(&e.x0);
        return _mm_movemask_ps(_mm_and_ps(_mm_cmple_ps(box, hi_), _mm_cmpge_ps(box, lo_))) == 0xF;
#else
        return bool(int(e.x0 <= x1) & int(x0 <= e.x1) & int(e.y0 <= y1) & int(y0 <= e.y1));
#endif
    }

private:
#if defined(__SSE2__)
    __m128 hi_, lo_;
#endif
    static float down(double d) {
        const float f = float(d);
        return double(f) > d ? float_below(f) : f;
    }
    static float up(double d) {
        const float f = float(d);
        return double(f) < d ? float_above(f) : f;
    }
};

class CellGrid {
public:
    void init(const Box& extent, double cell) {
        cell_ = cell;
        x0_ = extent.x0;
        y0_ = extent.y0;
        nx_ = std::max(1, int(std::ceil((extent.x1 - extent.x0) / cell)) + 1);
        ny_ = std::max(1, int(std::ceil((extent.y1 - extent.y0) / cell)) + 1);
        cells_.assign(std::size_t(nx_) * std::size_t(ny_), {});
    }

    double cell_size() const { return cell_; }

    // Calls fn(cell) for every cell that the box overlaps (boxes beyond the grid use its border cells).
    template <class Fn>
    void for_cells(const Box& b, Fn&& fn) {
        const int i0 = cx(b.x0), i1 = cx(b.x1), j0 = cy(b.y0), j1 = cy(b.y1);
        for (int j = j0; j <= j1; ++j)
            for (int i = i0; i <= i1; ++i) fn(cells_[std::size_t(j) * std::size_t(nx_) + std::size_t(i)]);
    }

    // The same, until fn(cell) returns true.
    template <class Fn>
    void for_cells_until(const Box& b, Fn&& fn) {
        const int i0 = cx(b.x0), i1 = cx(b.x1), j0 = cy(b.y0), j1 = cy(b.y1);
        for (int j = j0; j <= j1; ++j)
            for (int i = i0; i <= i1; ++i)
                if (fn(cells_[std::size_t(j) * std::size_t(nx_) + std::size_t(i)])) return;
    }

    void insert(const Box& b, int id, std::uint32_t stamp) {
        const GridEntry e = GridEntry::make(id, stamp, b);
        for_cells(b, [&](std::vector<GridEntry>& c) { c.push_back(e); });
    }

private:
    // Clamped in doubles first, so that far or infinite coordinates land on the border cells.
    int cx(double x) const { return int(std::clamp(std::floor((x - x0_) / cell_), 0.0, double(nx_ - 1))); }
    int cy(double y) const { return int(std::clamp(std::floor((y - y0_) / cell_), 0.0, double(ny_ - 1))); }

    double cell_ = 1, x0_ = 0, y0_ = 0;
    int nx_ = 1, ny_ = 1;
    std::vector<std::vector<GridEntry>> cells_;
};

}  // namespace velq::pack
