#include "render/blend_avx2.h"

#include <algorithm>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "host/saturate.h"

namespace velq::exact_path {

#if defined(__x86_64__)
namespace {

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

}  // namespace

__attribute__((target("avx2"))) void paint_exact_avx2(const RegularRows& r, UBUFFER& buffer, int row0,
                                                      int row1, const ExactTint& et) {
    const Stencil& st = *r.stencil;
    const std::uint8_t* planes_end = st.planes.data() + st.planes.size();
    for (int j = 0; j < st.side; ++j) {
        const int y = saturate_int(r.top + j);
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

}  // namespace velq::exact_path
