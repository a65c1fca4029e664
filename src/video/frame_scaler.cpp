#include "video/frame_scaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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
        // Fixed point: rounded, with the rounding error given to the heaviest tap.
        const int f0 = a.first[a.first.size() - 2], f1 = a.first.back();
        int sum = 0, heaviest = f0;
        for (int t = f0; t < f1; ++t) {
            const int q = int(std::lround(a.taps[t] * (1 << kBits)));
            a.fixed.push_back(std::uint32_t(q));
            sum += q;
            if (a.taps[t] > a.taps[heaviest]) heaviest = t;
        }
        a.fixed[heaviest] = std::uint32_t(int(a.fixed[heaviest]) + (1 << kBits) - sum);
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

void FrameScaler::scale(const UBUFFER& src, std::uint8_t* dst, std::size_t dst_stride) const {
    if (!src || src.width() != src_w_ || src.height() != src_h_ || src.channels() != 4 || dst_w_ <= 0 ||
        dst_h_ <= 0)
        return;
    if (src_w_ == dst_w_ && src_h_ == dst_h_) {
        for (int y = 0; y < dst_h_; ++y)
            std::memcpy(dst + y * dst_stride, src.row(y), std::size_t(dst_w_) * 4);
        return;
    }
    // Two fixed-point passes: rows into a line of 2^11-scaled sums, then columns into 2^22-scaled
    // sums (at most 2^22 * 255, inside 32 bits), rounded back to bytes.
    parallel_rows(
        0, dst_h_,
        [&](int y0, int y1) {
            std::vector<std::uint32_t> line(std::size_t(src_w_) * 4);
            const std::size_t n = line.size();
            for (int y = y0; y < y1; ++y) {
                std::uint32_t* l = line.data();
                {
                    const int t0 = y_.first[y];
                    const std::uint32_t w = y_.fixed[t0];
                    const std::uint8_t* s = src.row(y_.start[y]);
                    for (std::size_t i = 0; i < n; ++i) l[i] = w * s[i];
                }
                for (int t = y_.first[y] + 1; t < y_.first[y + 1]; ++t) {
                    const std::uint32_t w = y_.fixed[t];
                    const std::uint8_t* s = src.row(y_.start[y] + (t - y_.first[y]));
                    for (std::size_t i = 0; i < n; ++i) l[i] += w * s[i];
                }
                std::uint8_t* out = dst + std::size_t(y) * dst_stride;
                for (int x = 0; x < dst_w_; ++x) {
                    std::uint32_t acc[4] = {1u << (2 * kBits - 1), 1u << (2 * kBits - 1),
                                            1u << (2 * kBits - 1), 1u << (2 * kBits - 1)};
                    const std::uint32_t* p = l + std::size_t(x_.start[x]) * 4;
                    for (int t = x_.first[x]; t < x_.first[x + 1]; ++t, p += 4) {
                        const std::uint32_t w = x_.fixed[t];
                        acc[0] += w * p[0];
                        acc[1] += w * p[1];
                        acc[2] += w * p[2];
                        acc[3] += w * p[3];
                    }
                    for (int c = 0; c < 4; ++c)
                        out[x * 4 + c] = std::uint8_t(std::min<std::uint32_t>(acc[c] >> (2 * kBits), 255));
                }
            }
        },
        32);
}

}  // namespace velq
