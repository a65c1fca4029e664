#include "render/paint.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/saturate.h"
#include "render/blend_avx2.h"
#include "render/shape.h"

namespace velq {

using namespace exact_path;

Painter::Painter(Host& host, int global_brightness, bool straight_alpha)
    : host_(host), g_(global_brightness), straight_(straight_alpha) {}

const double* Painter::shade_table(double c) {
    std::uint64_t key;
    std::memcpy(&key, &c, sizeof key);
    auto& slot = shade_tables_[key];
    if (!slot) {
        slot = std::make_unique<std::array<double, 256>>();
        for (int s = 0; s < 256; ++s) (*slot)[s] = s * c / 255 + g_;
    }
    return slot->data();
}

const double* Painter::tone_table(int transparency) {
    auto& slot = tone_tables_[transparency];
    if (!slot) {
        slot = std::make_unique<std::array<double, 512>>();
        for (int m = 0; m < 256; ++m) {
            const double t = double(transparency) * m / 255;
            (*slot)[m] = t;
            (*slot)[256 + m] = 255 - t;
        }
    }
    return slot->data();
}

const Stencil* Painter::stencil_of(const SHAPE& shape, int side) {
    if (last_shape_ >= stencils_.size() || stencils_[last_shape_].shape != &shape) {
        last_shape_ = 0;
        while (last_shape_ < stencils_.size() && stencils_[last_shape_].shape != &shape) ++last_shape_;
        if (last_shape_ == stencils_.size()) stencils_.push_back({&shape, {}});
    }
    auto& by_side = stencils_[last_shape_].by_side;
    if (std::size_t(side) >= by_side.size()) by_side.resize(std::size_t(side) + 1);
    auto& slot = by_side[std::size_t(side)];
    if (!slot) slot = shape.stencils.get(host_, shape.shade_plane, shape.mask_plane, side);
    return slot.get();
}

int Painter::prepare(const Circle& p, const ColourRecord& tint, PaintJob& job) {
    job.stencil = nullptr;
    job.keep.reset();
    if (!p.shape || !p.shape->usable()) return 1;
    const double r = p.radius;
    const int side = saturate_int(2 * r + 0.5);
    if (side < 1) return 1;
    if (side > kKeptSides) {
        job.keep = p.shape->stencils.get(host_, p.shape->shade_plane, p.shape->mask_plane, side);
        job.stencil = job.keep.get();
    } else {
        job.stencil = stencil_of(*p.shape, side);
    }
    if (!job.stencil) {
        host_.message("Failed to allocate rz_buffer in fill_shape()");
        return -1;
    }
    job.left = p.x - r;
    job.top = p.y - r;
    const double c[3] = {tint.c0, tint.c1, tint.c2};
    job.k = p.brightness / 100;
    job.transparency = p.transparency;
    bool whole = true;
    for (int ch = 0; ch < 3; ++ch) {
        whole = whole && c[ch] >= 0 && c[ch] <= 255 && c[ch] == std::trunc(c[ch]);
        job.tint[ch] = whole ? std::uint8_t(c[ch]) : 0;
    }
    job.exact = !straight_ && whole && job.k == 1.0 && std::abs(g_) <= kMaxExactG && p.transparency >= 0 &&
                p.transparency <= 255;
    if (!job.exact) {
        for (int ch = 0; ch < 3; ++ch) job.shade_term[ch] = shade_table(c[ch]);
        job.tone = tone_table(p.transparency);
    }
    return 0;
}

void Painter::reach(const PaintJob& job, int& row0, int& row1, int& col0, int& col1) {
    const int d = job.stencil->side;
    row0 = saturate_int(job.top);
    row1 = saturate_int(job.top + (d - 1)) + 1;
    col0 = saturate_int(job.left);
    col1 = saturate_int(job.left + (d - 1)) + 1;
}

void Painter::paint_area(const PaintJob& job, UBUFFER& buffer, int row0, int row1, int col0, int col1) const {
    const Stencil& st = *job.stencil;
    const int d = st.side;
    row0 = std::max(row0, 0);
    row1 = std::min(row1, buffer.height());
    col0 = std::max(col0, 0);
    col1 = std::min(col1, buffer.width());
    if (row0 >= row1 || col0 >= col1 || buffer.channels() != 4) return;

    // Target columns trunc(left + i); they never decrease with i. With left = m + f, 0 <= m < 2^20 and
    // f below 1 - 2^-20, left + i rounds within [m + i, m + i + 1), so column i is m + i; otherwise
    // (left negative, huge, or a hair below a whole number) every column is computed as written.
    thread_local std::vector<int> cols;
    cols.resize(d);
    int i_lo = 0, i_hi = 0;
    bool regular = true;
    const double left_floor = std::floor(job.left);
    if (job.left >= 0 && job.left + d < double(1 << 20) && job.left - left_floor < 1.0 - 1.0 / (1 << 20)) {
        const int m = int(left_floor);
        i_lo = std::clamp(col0 - m, 0, d);
        i_hi = std::clamp(col1 - m, 0, d);
        if (i_lo < i_hi) cols[i_lo] = m + i_lo;
    } else {
        for (int i = 0; i < d; ++i) cols[i] = saturate_int(job.left + i);
        i_lo = int(std::lower_bound(cols.begin(), cols.end(), col0) - cols.begin());
        i_hi = int(std::lower_bound(cols.begin(), cols.end(), col1) - cols.begin());
        for (int i = i_lo + 1; i < i_hi && regular; ++i) regular = cols[i] == cols[i - 1] + 1;
    }
    if (i_lo >= i_hi) return;

    ExactTint et{};
    if (job.exact) {
        for (int ch = 0; ch < 3; ++ch) {
            et.ci[ch] = job.tint[2 - ch];
            et.cd[ch] = job.tint[2 - ch];
        }
        et.g = g_;
        et.g255 = 255 * g_;
        et.t = job.transparency;
#if defined(__x86_64__)
        if (regular && have_avx2()) {
            paint_exact_avx2(RegularRows{&st, job.top, cols[i_lo] - i_lo, i_lo, i_hi, col1}, buffer, row0,
                             row1, et);
            return;
        }
#endif
    }
    if (regular)
        for (int i = i_lo + 1; i < i_hi; ++i) cols[i] = cols[i_lo] + (i - i_lo);
    const double* tone_t = job.tone;
    const double* tone_u = job.tone ? job.tone + 256 : nullptr;

    for (int j = 0; j < d; ++j) {
        const int y = saturate_int(job.top + j);
        if (y < row0) continue;
        if (y >= row1) break;
        const int b = std::max(st.row_begin[j], i_lo), e = std::min(st.row_end[j], i_hi);
        if (b >= e) continue;
        const std::uint8_t* sm = st.planes.row(j);
        std::uint8_t* row = buffer.row(y);
        if (straight_) {
            paint_straight(job, sm, row, cols.data(), b, e);
            continue;
        }
        if (job.exact) {
            for (int i = b; i < e; ++i) blend_pixel_exact(sm + 2 * i, row + 4 * std::size_t(cols[i]), et);
            continue;
        }
        for (int i = b; i < e; ++i) {
            const int s = sm[2 * i], m = sm[2 * i + 1];
            if (m == 0) continue;
            std::uint8_t* px = row + 4 * std::size_t(cols[i]);
            const double t = tone_t[m], u = tone_u[m];
            // Red, green, blue are bytes 2, 1, 0 of the pixel.
            for (int ch = 0; ch < 3; ++ch) {
                double v = job.shade_term[ch][s] * t + px[2 - ch] * u;
                if (job.k != 1.0) v = v * job.k;
                px[2 - ch] = std::uint8_t(floor_div255(v));
            }
            px[3] = 255;
        }
    }
}

void Painter::paint_straight(const PaintJob& job, const std::uint8_t* sm, std::uint8_t* row, const int* cols,
                             int b, int e) const {
    for (int i = b; i < e; ++i) {
        const int s = sm[2 * i], m = sm[2 * i + 1];
        if (m == 0) continue;
        std::uint8_t* px = row + 4 * std::size_t(cols[i]);
        const double t = job.tone[m] / 255;  // the stencil pixel's opacity, 0..1
        // Beneath o becomes k (t S + (1 - t) o): opacity 1 - B with B = k (1 - t), colour A / (1 - B).
        const double under = std::clamp(job.k * (1 - t), 0.0, 1.0);
        const double alpha = 1 - under;
        if (alpha <= 0) continue;
        if (under == 0) {  // opaque: the renderer's own bytes, whatever lies beneath
            for (int ch = 0; ch < 3; ++ch)
                px[2 - ch] = std::uint8_t(floor_div255(job.shade_term[ch][s] * job.tone[m] * job.k));
            px[3] = 255;
            continue;
        }
        const double old_alpha = px[3] / 255.0;
        const double kept = old_alpha * under;  // the layer's own pixel as it shows through
        const double new_alpha = alpha + kept;
        for (int ch = 0; ch < 3; ++ch) {
            const double colour = std::clamp(job.k * t * job.shade_term[ch][s] / alpha, 0.0, 255.0);
            // The sum is what the renderer gives over black; it floors there, and so does this, so
            // the layer keeps the renderer's rounding as well as its colour.
            const double v = std::floor(colour * alpha + px[2 - ch] * kept + 1e-9) / new_alpha;
            px[2 - ch] = std::uint8_t(std::clamp(v + 0.5, 0.0, 255.0));
        }
        px[3] = std::uint8_t(std::clamp(new_alpha * 255 + 0.5, 0.0, 255.0));
    }
}

}  // namespace velq
