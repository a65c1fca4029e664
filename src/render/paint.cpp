#include "render/paint.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <thread>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "host/parallel.h"
#include "host/prefetch.h"
#include "render/shape.h"

namespace velq {

// How the exact path works (docs/design.md, "Painting"). With a whole-number tint c, k = 1 and
// t = T m / 255, the formula's value is, in exact arithmetic,
//     v = o + y d / D   with y = T m, d = s c + 255 (G - o), D = 255^3,
// so the byte is o + floor(y d / D) except where y d / D is a whole number: there the doubles of the
// formula may land just below it. Such ties are settled exactly when every step of the formula is
// exact (y = 0, or both y and s c multiples of 255) and by evaluating the formula otherwise.

namespace {

constexpr std::int64_t kD = 255LL * 255 * 255;
constexpr int kMaxExactG = 512;

int saturate(double v) {
    if (!(v > std::numeric_limits<int>::min())) return v != v ? 0 : std::numeric_limits<int>::min();
    if (v >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return int(v);
}

bool multiple_of_255(std::uint32_t x) {
    return std::uint32_t(x * 0xFEFEFEFFu) <= 0xFFFFFFFFu / 255;
}

// One channel on the exact path.
inline int blend_exact(int s, int m, int o, int ci, double c, int g, int t) {
    const int y = t * m;
    const int sc = s * ci;
    const std::int64_t p = std::int64_t(y) * (sc + 255 * (g - o));
    std::int64_t q = p / kD, r = p % kD;
    if (r < 0) {
        --q;
        r += kD;
    }
    if (r == 0 && y != 0 && !(multiple_of_255(y) && multiple_of_255(sc)))
        return blend_channel(s, m, o, c, g, t, 1.0);
    return int(std::clamp<std::int64_t>(o + q, 0, 255));
}

struct ExactTint {
    int ci[3];     // blue, green, red order (c2, c1, c0): the buffer's byte order
    double cd[3];  // the same, as doubles for the fallback
    int g, g255, t;
};

inline void blend_pixel_exact(const std::uint8_t* sm, std::uint8_t* px, const ExactTint& et) {
    const int s = sm[0], m = sm[1];
    if (m == 0) return;
    for (int ch = 0; ch < 3; ++ch)
        px[ch] = std::uint8_t(blend_exact(s, m, px[ch], et.ci[ch], et.cd[ch], et.g, et.t));
    px[3] = 255;
}

#if defined(__x86_64__)
#define VELQ_AVX2 __attribute__((target("avx2"), always_inline)) inline

// A 32-bit lane mask of the lanes that hold a multiple of 255 (x * 255^-1 mod 2^32 is small).
VELQ_AVX2 __m256i multiple_of_255(__m256i x) {
    const __m256i prod = _mm256_mullo_epi32(x, _mm256_set1_epi32(int(0xFEFEFEFFu)));
    return _mm256_cmpeq_epi32(_mm256_min_epu32(prod, _mm256_set1_epi32(16843009)), prod);
}

// Four double lanes of a 1.0 / 0.0 mask as four int32 lanes of 1 / 0.
VELQ_AVX2 __m128i lanes_of(__m256d mask) {
    return _mm256_cvttpd_epi32(_mm256_and_pd(mask, _mm256_set1_pd(1.0)));
}

// One channel of eight pixels: the new byte values, with `bad` gaining the lanes whose tie must be
// settled by the formula itself.
template <int Ch>
VELQ_AVX2 __m256i channel_avx2(__m256i px, __m256i s, __m256i y, __m256d ylo, __m256d yhi, __m256i y_exact,
                               int ci, int g255, __m256i& bad) {
    const __m256i ff = _mm256_set1_epi32(0xFF);
    const __m256i o = _mm256_and_si256(_mm256_srli_epi32(px, 8 * Ch), ff);
    const __m256i sc = _mm256_mullo_epi32(s, _mm256_set1_epi32(ci));
    const __m256i d = _mm256_sub_epi32(_mm256_add_epi32(sc, _mm256_set1_epi32(g255)),
                                       _mm256_sub_epi32(_mm256_slli_epi32(o, 8), o));
    const __m256d inv_d = _mm256_set1_pd(1.0 / double(kD));
    const __m256d elo =
        _mm256_mul_pd(_mm256_mul_pd(ylo, _mm256_cvtepi32_pd(_mm256_castsi256_si128(d))), inv_d);
    const __m256d ehi =
        _mm256_mul_pd(_mm256_mul_pd(yhi, _mm256_cvtepi32_pd(_mm256_extracti128_si256(d, 1))), inv_d);
    __m256d qlo = _mm256_floor_pd(elo), qhi = _mm256_floor_pd(ehi);
    const __m256d flo = _mm256_sub_pd(elo, qlo), fhi = _mm256_sub_pd(ehi, qhi);
    const __m256d eps = _mm256_set1_pd(1e-9), top = _mm256_set1_pd(1.0 - 1e-9);
    const __m256d tlo =
        _mm256_or_pd(_mm256_cmp_pd(flo, eps, _CMP_LT_OQ), _mm256_cmp_pd(flo, top, _CMP_GT_OQ));
    const __m256d thi =
        _mm256_or_pd(_mm256_cmp_pd(fhi, eps, _CMP_LT_OQ), _mm256_cmp_pd(fhi, top, _CMP_GT_OQ));
    if (_mm256_movemask_pd(_mm256_or_pd(tlo, thi)) != 0) {
        // Ties: a whole number reached from just below rounds up to it, and the lanes whose steps
        // are not all exact go to the formula.
        const __m256d half = _mm256_set1_pd(0.5), one = _mm256_set1_pd(1.0);
        qlo =
            _mm256_add_pd(qlo, _mm256_and_pd(_mm256_and_pd(tlo, _mm256_cmp_pd(flo, half, _CMP_GT_OQ)), one));
        qhi =
            _mm256_add_pd(qhi, _mm256_and_pd(_mm256_and_pd(thi, _mm256_cmp_pd(fhi, half, _CMP_GT_OQ)), one));
        const __m256i tie = _mm256_set_m128i(lanes_of(thi), lanes_of(tlo));
        const __m256i safe = _mm256_or_si256(_mm256_cmpeq_epi32(y, _mm256_setzero_si256()),
                                             _mm256_and_si256(y_exact, multiple_of_255(sc)));
        bad = _mm256_or_si256(bad, _mm256_andnot_si256(safe, tie));
    }
    const __m256i q = _mm256_set_m128i(_mm256_cvttpd_epi32(qhi), _mm256_cvttpd_epi32(qlo));
    __m256i r = _mm256_add_epi32(o, q);
    r = _mm256_min_epi32(_mm256_max_epi32(r, _mm256_setzero_si256()), ff);
    return _mm256_slli_epi32(r, 8 * Ch);
}

// One channel in single precision: y and d are exact in floats, and the quotient's three roundings
// stay below 1.9e-4 while |y d / D| <= 1022 (|G| <= 512), inside the 2^-11 margin kept from whole
// numbers. `near` gains the lanes too close to a whole number to decide. With Resolve, near lanes
// whose formula steps are all exact (their value is that whole number) are rounded to it, and only
// the others go into `near`.
template <int Ch, bool Resolve>
VELQ_AVX2 __m256i estimate_channel_avx2(__m256i px, __m256i s, __m256 yf, __m256i y_safe, __m256i y_exact,
                                        int ci, int g255, __m256& near) {
    const __m256i ff = _mm256_set1_epi32(0xFF);
    const __m256i o = _mm256_and_si256(_mm256_srli_epi32(px, 8 * Ch), ff);
    const __m256i sc = _mm256_mullo_epi32(s, _mm256_set1_epi32(ci));
    const __m256i d = _mm256_sub_epi32(_mm256_add_epi32(sc, _mm256_set1_epi32(g255)),
                                       _mm256_sub_epi32(_mm256_slli_epi32(o, 8), o));
    const __m256 e =
        _mm256_mul_ps(_mm256_mul_ps(yf, _mm256_cvtepi32_ps(d)), _mm256_set1_ps(float(1.0 / double(kD))));
    __m256 q = _mm256_floor_ps(e);
    const __m256 f = _mm256_sub_ps(e, q);
    const __m256 margin = _mm256_set1_ps(1.0f / 2048);
    const __m256 close = _mm256_or_ps(_mm256_cmp_ps(f, margin, _CMP_LT_OQ),
                                      _mm256_cmp_ps(f, _mm256_set1_ps(1.0f - 1.0f / 2048), _CMP_GT_OQ));
    if constexpr (Resolve) {
        const __m256 safe =
            _mm256_castsi256_ps(_mm256_or_si256(y_safe, _mm256_and_si256(y_exact, multiple_of_255(sc))));
        q = _mm256_blendv_ps(q, _mm256_round_ps(e, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC),
                             _mm256_and_ps(close, safe));
        near = _mm256_or_ps(near, _mm256_andnot_ps(safe, close));
    } else {
        near = _mm256_or_ps(near, close);
    }
    __m256i r = _mm256_add_epi32(o, _mm256_cvttps_epi32(q));
    r = _mm256_min_epi32(_mm256_max_epi32(r, _mm256_setzero_si256()), ff);
    return _mm256_slli_epi32(r, 8 * Ch);
}

template <bool Resolve>
VELQ_AVX2 __m256 estimate_pass_avx2(__m256i px, __m256i s, __m256i y, const ExactTint& et, __m256i& out) {
    const __m256 yf = _mm256_cvtepi32_ps(y);
    __m256i y_safe = _mm256_setzero_si256(), y_exact = y_safe;
    if constexpr (Resolve) {
        y_safe = _mm256_cmpeq_epi32(y, y_safe);
        y_exact = multiple_of_255(y);
    }
    __m256 near = _mm256_setzero_ps();
    out = _mm256_set1_epi32(int(0xFF000000u));
    out = _mm256_or_si256(
        out, estimate_channel_avx2<0, Resolve>(px, s, yf, y_safe, y_exact, et.ci[0], et.g255, near));
    out = _mm256_or_si256(
        out, estimate_channel_avx2<1, Resolve>(px, s, yf, y_safe, y_exact, et.ci[1], et.g255, near));
    out = _mm256_or_si256(
        out, estimate_channel_avx2<2, Resolve>(px, s, yf, y_safe, y_exact, et.ci[2], et.g255, near));
    return near;
}

// All three channels in single precision; false when some painted lane could not be decided.
VELQ_AVX2 bool estimate_block_avx2(__m256i px, __m256i s, __m256i y, __m256i nz, const ExactTint& et,
                                   __m256i& out) {
    if (_mm256_testz_si256(_mm256_castps_si256(estimate_pass_avx2<false>(px, s, y, et, out)), nz))
        return true;
    return _mm256_testz_si256(_mm256_castps_si256(estimate_pass_avx2<true>(px, s, y, et, out)), nz);
}

// Eight pixels, of which the first `count` are painted (loaded and stored under a lane mask when
// fewer than eight). y d is exact in doubles; the one rounding of its product with 1 / D is far inside
// the 1 / D that parts a non-tie from a whole number, so floor and tie are both exact.
template <bool Partial>
VELQ_AVX2 void blend_block_avx2(const std::uint8_t* sm, std::uint8_t* dst, const ExactTint& et, int count = 8,
                                bool sm_wide = true, bool px_wide = true) {
    const __m256i zero = _mm256_setzero_si256();
    __m256i wi, lanes_in = _mm256_set1_epi32(-1);
    if constexpr (Partial) {
        // Past the run the stencil may be read (its planes go on), the picture only inside the tile.
        lanes_in = _mm256_cmpgt_epi32(_mm256_set1_epi32(count), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        if (sm_wide) {
            wi = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sm)));
        } else {
            alignas(16) std::uint16_t w[8] = {};
            for (int l = 0; l < count; ++l) w[l] = std::uint16_t(sm[2 * l] | sm[2 * l + 1] << 8);
            wi = _mm256_cvtepu16_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(w)));
        }
    } else {
        wi = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sm)));
    }
    const __m256i s = _mm256_and_si256(wi, _mm256_set1_epi32(0xFF)), m = _mm256_srli_epi32(wi, 8);
    // Fully opaque texels at full transparency: t is 255, the old value drops out of the formula and
    // each channel is trunc(s c / 255) + G, clamped. The quotient is exact in integers
    // ((x * 0x8081) >> 23 equals x / 255 for every x up to 255 * 255), and a whole-number quotient
    // meets no rounding in the doubles either.
    const __m256i opaque = _mm256_or_si256(_mm256_cmpeq_epi32(m, _mm256_set1_epi32(255)),
                                           _mm256_xor_si256(lanes_in, _mm256_set1_epi32(-1)));
    if (et.t == 255 && _mm256_movemask_epi8(opaque) == -1) {
        const __m256i ff = _mm256_set1_epi32(0xFF), g = _mm256_set1_epi32(et.g);
        __m256i out = _mm256_set1_epi32(int(0xFF000000u));
        for (int ch = 0; ch < 3; ++ch) {
            const __m256i x = _mm256_mullo_epi32(s, _mm256_set1_epi32(et.ci[ch]));
            const __m256i q = _mm256_srli_epi32(_mm256_mullo_epi32(x, _mm256_set1_epi32(0x8081)), 23);
            const __m256i r = _mm256_min_epi32(_mm256_max_epi32(_mm256_add_epi32(q, g), zero), ff);
            out = _mm256_or_si256(out, _mm256_sll_epi32(r, _mm_cvtsi32_si128(8 * ch)));
        }
        auto* at = reinterpret_cast<int*>(dst);
        if constexpr (Partial) {
            if (!px_wide) {
                _mm256_maskstore_epi32(at, lanes_in, out);
                return;
            }
            out =
                _mm256_blendv_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(dst)), out, lanes_in);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), out);
        return;
    }
    const __m256i nz = _mm256_and_si256(_mm256_cmpgt_epi32(m, zero), lanes_in);
    if (_mm256_testz_si256(nz, nz)) return;
    auto* at = reinterpret_cast<int*>(dst);
    const bool masked = Partial && !px_wide;
    const __m256i px = masked ? _mm256_maskload_epi32(at, lanes_in)
                              : _mm256_loadu_si256(reinterpret_cast<const __m256i*>(dst));
    const __m256i y = _mm256_mullo_epi32(m, _mm256_set1_epi32(et.t));
    __m256i bad = zero;
    __m256i out = _mm256_set1_epi32(int(0xFF000000u));
    // First in single precision, eight lanes at a time; lanes whose quotient lies within 2^-11 of a
    // whole number (where single precision can't decide) send the block to the double-precision path.
    if (!estimate_block_avx2(px, s, y, nz, et, out)) {
        out = _mm256_set1_epi32(int(0xFF000000u));
        const __m256d ylo = _mm256_cvtepi32_pd(_mm256_castsi256_si128(y));
        const __m256d yhi = _mm256_cvtepi32_pd(_mm256_extracti128_si256(y, 1));
        const __m256i y_exact = multiple_of_255(y);
        out = _mm256_or_si256(out, channel_avx2<0>(px, s, y, ylo, yhi, y_exact, et.ci[0], et.g255, bad));
        out = _mm256_or_si256(out, channel_avx2<1>(px, s, y, ylo, yhi, y_exact, et.ci[1], et.g255, bad));
        out = _mm256_or_si256(out, channel_avx2<2>(px, s, y, ylo, yhi, y_exact, et.ci[2], et.g255, bad));
    }
    out = _mm256_blendv_epi8(px, out, nz);
    if (masked) {
        _mm256_maskstore_epi32(at, lanes_in, out);
    } else {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), out);
    }
    bad = _mm256_and_si256(bad, nz);
    if (_mm256_testz_si256(bad, bad)) return;
    alignas(32) std::int32_t lanes[8];
    alignas(32) std::uint32_t old[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), bad);
    _mm256_store_si256(reinterpret_cast<__m256i*>(old), px);
    for (int l = 0; l < count; ++l) {
        if (!lanes[l]) continue;
        std::memcpy(dst + 4 * l, &old[l], 4);
        blend_pixel_exact(sm + 2 * l, dst + 4 * l, et);
    }
}

// The stencil rows of one placement whose columns land side by side: stencil column i goes to
// column col0 + i, for i in [i_lo, i_hi). Pixels from column `limit` on belong to other tiles.
struct RegularRows {
    const Stencil* stencil;
    double top;
    int col0, i_lo, i_hi, limit;
};

__attribute__((target("avx2"))) void paint_exact_avx2(const RegularRows& r, UBUFFER& buffer, int row0,
                                                      int row1, const ExactTint& et) {
    const Stencil& st = *r.stencil;
    const std::uint8_t* planes_end = st.planes.data() + st.planes.size();
    for (int j = 0; j < st.side; ++j) {
        const int y = saturate(r.top + j);
        if (y < row0) continue;
        if (y >= row1) break;
        const int b = std::max(st.row_begin[j], r.i_lo), e = std::min(st.row_end[j], r.i_hi);
        if (b >= e) continue;
        const std::uint8_t* sm = st.planes.row(j) + 2 * b;
        std::uint8_t* dst = buffer.row(y) + 4 * std::size_t(r.col0 + b);
        const int n = e - b, full = n & ~7;
        for (int i = 0; i < full; i += 8) blend_block_avx2<false>(sm + 2 * i, dst + 4 * i, et);
        if (full == n) continue;
        const bool sm_wide = sm + 2 * full + 16 <= planes_end;
        const bool px_wide = r.col0 + b + full + 8 <= r.limit;
        blend_block_avx2<true>(sm + 2 * full, dst + 4 * full, et, n - full, sm_wide, px_wide);
    }
}

bool have_avx2() {
    static const bool avx2 = (__builtin_cpu_init(), __builtin_cpu_supports("avx2"));
    return avx2;
}
#else
bool have_avx2() {
    return false;
}
#endif

}  // namespace

int blend_channel(int s, int m, int o, double c, int global_brightness, int transparency, double k) {
    const double t = double(transparency) * m / 255;
    const double v = ((s * c / 255 + global_brightness) * t + o * (255 - t)) * k / 255;
    return int(std::clamp(v, 0.0, 255.0));
}

Painter::Painter(Host& host, int global_brightness) : host_(host), g_(global_brightness) {}

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
    const int side = saturate(2 * r + 0.5);
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
    job.exact =
        whole && job.k == 1.0 && std::abs(g_) <= kMaxExactG && p.transparency >= 0 && p.transparency <= 255;
    if (!job.exact) {
        for (int ch = 0; ch < 3; ++ch) job.shade_term[ch] = shade_table(c[ch]);
        job.tone = tone_table(p.transparency);
    }
    return 0;
}

void Painter::reach(const PaintJob& job, int& row0, int& row1, int& col0, int& col1) {
    const int d = job.stencil->side;
    row0 = saturate(job.top);
    row1 = saturate(job.top + (d - 1)) + 1;
    col0 = saturate(job.left);
    col1 = saturate(job.left + (d - 1)) + 1;
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
        for (int i = 0; i < d; ++i) cols[i] = saturate(job.left + i);
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
        const int y = saturate(job.top + j);
        if (y < row0) continue;
        if (y >= row1) break;
        const int b = std::max(st.row_begin[j], i_lo), e = std::min(st.row_end[j], i_hi);
        if (b >= e) continue;
        const std::uint8_t* sm = st.planes.row(j);
        std::uint8_t* row = buffer.row(y);
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

namespace {
template <class T>
void prepare_stencils_of(Host& host, std::span<const T> placements) {
    std::map<const SHAPE*, std::vector<int>> sides;
    for (const Circle& p : placements) {
        if (!p.shape || !p.shape->usable()) continue;
        const int side = saturate(2 * p.radius + 0.5);
        if (side >= 1) sides[p.shape].push_back(side);
    }
    for (auto& [shape, list] : sides) {
        std::sort(list.begin(), list.end());
        list.erase(std::unique(list.begin(), list.end()), list.end());
        shape->stencils.prepare(host, shape->shade_plane, shape->mask_plane, list);
    }
}
}  // namespace

void prepare_stencils(Host& host, std::span<const Placement> placements) {
    prepare_stencils_of(host, placements);
}
void prepare_stencils(Host& host, std::span<const Circle> circles) {
    prepare_stencils_of(host, circles);
}

bool paint_jobs(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                const std::function<void(std::int64_t, std::int64_t)>& progress, int threads) {
    // Tiles small enough that a tile's pixels and its pages stay close to the processor while the
    // jobs that reach it are painted.
    constexpr int kTileW = 256, kTileH = 64;
    const int w = buffer.width(), h = buffer.height();
    if (w < 1 || h < 1) return !host.stopped();
    const int tx = (w + kTileW - 1) / kTileW, ty = (h + kTileH - 1) / kTileH;
    std::vector<std::vector<std::uint32_t>> tiles(std::size_t(tx) * ty);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (!jobs[i].stencil) continue;
        int r0, r1, c0, c1;
        Painter::reach(jobs[i], r0, r1, c0, c1);
        r0 = std::max(r0, 0);
        c0 = std::max(c0, 0);
        r1 = std::min(r1, h);
        c1 = std::min(c1, w);
        if (r0 >= r1 || c0 >= c1) continue;
        for (int y = r0 / kTileH; y <= (r1 - 1) / kTileH; ++y)
            for (int x = c0 / kTileW; x <= (c1 - 1) / kTileW; ++x)
                tiles[std::size_t(y) * tx + x].push_back(std::uint32_t(i));
    }
    const auto total = std::int64_t(tiles.size());
    if (threads <= 0) threads = worker_count();
    threads = std::clamp(threads, 1, int(std::min<std::int64_t>(total, 64)));
    if (jobs.size() < 64) threads = 1;
    // Most pixels are painted about once, so a tile's rows are asked for all at once when the tile
    // starts rather than met one miss at a time by the placements.
    auto fetch = [&](int r0, int c0) {
        const int r1 = std::min(r0 + kTileH, h), c1 = std::min(c0 + kTileW, w);
        for (int y = r0; y < r1; ++y) {
            const std::uint8_t* row = buffer.row(y);
            for (int x = c0; x < c1; x += 16) prefetch<true>(row + 4 * std::size_t(x));
        }
    };
    std::atomic<std::int64_t> next{0}, done{0};
    std::atomic<bool> stopped{false};
    auto work = [&](bool reporting) {
        for (;;) {
            const std::int64_t t = next++;
            if (t >= total || stopped) return;
            const int r0 = int(t / tx) * kTileH, c0 = int(t % tx) * kTileW;
            fetch(r0, c0);
            for (const std::uint32_t i : tiles[t]) {
                if (host.stopped()) {
                    stopped = true;
                    return;
                }
                painter.paint_area(jobs[i], buffer, r0, r0 + kTileH, c0, c0 + kTileW);
            }
            const std::int64_t finished = ++done;
            if (reporting && progress) progress(finished, total);
        }
    };
    std::vector<std::thread> pool;
    pool.reserve(threads - 1);
    for (int k = 1; k < threads; ++k) pool.emplace_back(work, false);
    work(true);
    for (auto& t : pool) t.join();
    if (!stopped && progress) progress(total, total);
    return !stopped;
}

}  // namespace velq
