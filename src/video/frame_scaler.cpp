#include "video/frame_scaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#define VELQ_SCALER_SSE2 1
#endif

#include "host/parallel.h"

namespace velq {

FrameScaler::Axis FrameScaler::axis(int src, int dst) {
    Axis a;
    a.start.resize(std::size_t(std::max(dst, 0)));
    a.first.assign(1, 0);
    if (dst <= 0 || src <= 0) return a;
    const double s = double(src) / dst;
    for (int i = 0; i < dst; ++i) {
        if (src == dst) {
            a.start[i] = i;
            a.taps.push_back(1.0f);
        } else if (src > dst) {
            // The source interval [i s, (i + 1) s), each pixel weighed by how much of it lies inside.
            const double lo = i * s, hi = std::min(double(src), (i + 1) * s);
            const int k0 = int(std::floor(lo)), k1 = std::min(src, int(std::ceil(hi)));
            a.start[i] = k0;
            for (int k = k0; k < k1; ++k) {
                const double cover = std::min(hi, k + 1.0) - std::max(lo, double(k));
                a.taps.push_back(float(cover / (hi - lo)));
            }
        } else {
            // Pixel centres mapped back, two neighbours weighed by distance, held at the edges.
            const double x = std::clamp((i + 0.5) * s - 0.5, 0.0, double(src - 1));
            const int k = std::min(int(x), src - 1);
            const double f = x - k;
            a.start[i] = k;
            a.taps.push_back(float(1 - f));
            if (k + 1 < src) a.taps.push_back(float(f));
        }
        a.first.push_back(int(a.taps.size()));
    }
    return a;
}

FrameScaler::FrameScaler(int src_w, int src_h, int dst_w, int dst_h)
    : src_w_(src_w),
      src_h_(src_h),
      dst_w_(dst_w),
      dst_h_(dst_h),
      x_(axis(src_w, dst_w)),
      y_(axis(src_h, dst_h)) {}

namespace {

// Output rows [y0, y1): source rows weighed into a line of floats, then each output pixel's four
// channels weighed together from the line and rounded back to bytes. Built for AVX2 as well, picked
// at load time where the processor has it.
#if VELQ_SCALER_SSE2
__attribute__((target_clones("avx2", "default")))
#endif
void scale_rows(
    const std::uint8_t* src, std::size_t src_stride, int src_w, const FrameScaler::Axis& xa,
    const FrameScaler::Axis& ya, int dst_w, std::uint8_t* dst, std::size_t dst_stride, int y0, int y1) {
    std::vector<float> line(std::size_t(src_w) * 4);
    const std::size_t n = line.size();
    float* l = line.data();
    for (int y = y0; y < y1; ++y) {
        const int t0 = ya.first[y], taps = ya.first[y + 1] - t0;
        const std::uint8_t* s0 = src + std::size_t(ya.start[y]) * src_stride;
        const float w0 = ya.taps[t0];
        // Two or three rows (the usual counts) are summed in one pass, in the same order as the
        // general loop below, so the line is written once.
        if (taps == 2) {
            const std::uint8_t* s1 = s0 + src_stride;
            const float w1 = ya.taps[t0 + 1];
            for (std::size_t i = 0; i < n; ++i) l[i] = w0 * float(s0[i]) + w1 * float(s1[i]);
        } else if (taps == 3) {
            const std::uint8_t *s1 = s0 + src_stride, *s2 = s1 + src_stride;
            const float w1 = ya.taps[t0 + 1], w2 = ya.taps[t0 + 2];
            for (std::size_t i = 0; i < n; ++i)
                l[i] = w0 * float(s0[i]) + w1 * float(s1[i]) + w2 * float(s2[i]);
        } else {
            for (std::size_t i = 0; i < n; ++i) l[i] = w0 * float(s0[i]);
            for (int t = 1; t < taps; ++t) {
                const float w = ya.taps[t0 + t];
                const std::uint8_t* s = s0 + std::size_t(t) * src_stride;
                for (std::size_t i = 0; i < n; ++i) l[i] += w * float(s[i]);
            }
        }
        std::uint8_t* out = dst + std::size_t(y) * dst_stride;
#if VELQ_SCALER_SSE2
        // Sums start at 0.5 and weigh values 0..255 with weights adding up to one, so they lie in
        // [0.5, 255.5] and truncate into a byte; the saturating packs change nothing.
        const __m128 half = _mm_set1_ps(0.5f);
        auto pixel = [&](int x) {
            __m128 acc = half;
            const float* p = l + std::size_t(xa.start[x]) * 4;
            for (int t = xa.first[x]; t < xa.first[x + 1]; ++t, p += 4)
                acc = _mm_add_ps(acc, _mm_mul_ps(_mm_set1_ps(xa.taps[t]), _mm_loadu_ps(p)));
            return _mm_cvttps_epi32(acc);
        };
        int x = 0;
        for (; x + 4 <= dst_w; x += 4) {
            const __m128i a = pixel(x), b = pixel(x + 1), c = pixel(x + 2), d = pixel(x + 3);
            const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + std::size_t(x) * 4), bytes);
        }
        for (; x < dst_w; ++x) {
            const __m128i i16 = _mm_packs_epi32(pixel(x), pixel(x));
            const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(i16, i16));
            std::memcpy(out + std::size_t(x) * 4, &bytes, 4);
        }
#else
        for (int x = 0; x < dst_w; ++x) {
            float acc[4] = {0.5f, 0.5f, 0.5f, 0.5f};
            const float* p = l + std::size_t(xa.start[x]) * 4;
            for (int t = xa.first[x]; t < xa.first[x + 1]; ++t, p += 4)
                for (int c = 0; c < 4; ++c) acc[c] += xa.taps[t] * p[c];
            for (int c = 0; c < 4; ++c) out[x * 4 + c] = std::uint8_t(std::clamp(acc[c], 0.0f, 255.0f));
        }
#endif
    }
}

}  // namespace

void FrameScaler::scale(const UBUFFER& src, std::uint8_t* dst, std::size_t dst_stride) const {
    if (!src || src.width() != src_w_ || src.height() != src_h_ || src.channels() != 4 || dst_w_ <= 0 ||
        dst_h_ <= 0)
        return;
    if (src_w_ == dst_w_ && src_h_ == dst_h_) {
        for (int y = 0; y < dst_h_; ++y)
            std::memcpy(dst + y * dst_stride, src.row(y), std::size_t(dst_w_) * 4);
        return;
    }
    parallel_rows(
        0, dst_h_,
        [&](int y0, int y1) {
            scale_rows(src.data(), src.row_samples(), src_w_, x_, y_, dst_w_, dst, dst_stride, y0, y1);
        },
        32);
}

}  // namespace velq
