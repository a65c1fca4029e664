// Brush sizes from square min/max tables instead of ring scans.
//
// A pixel's size is the last ring k that passes, and rings pass or fail monotonically (the walk stops
// at the first failure). So the size is the largest k for which the annulus between the squares of
// half-width minpx and k holds only colours within THR of the centre: a question about per-channel
// minima and maxima over that annulus. When the inner square itself passes (always for minpx 0), the
// annulus test is the test of the whole square of half-width k. Each level j of a table holds the
// minimum over every 2^j x 2^j tile; any rectangle is covered by a few tiles of one level. The search
// for k starts from the neighbour's answer and gallops, so a pixel costs a handful of tile lookups
// whatever maxpx is.
//
// A pixel's eight samples are kept as (b, g, r, a, 255 - b, 255 - g, 255 - r, 255 - a): one bytewise
// minimum then gives both the channel minima and (inverted) maxima, and a test is one bytewise
// comparison against the centre's bounds (lo, 255 - hi).
#include "transform/brush_size.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "host/parallel.h"
#include "host/progress.h"

namespace velq {
namespace {

// Bytes of tables one band may use; the band height follows from it.
constexpr std::size_t kBandBudget = std::size_t(24) << 20;

inline std::uint64_t load8(const std::uint8_t* p) {
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}

// True when every byte of a is at least the byte of b at the same place.
inline bool bytes_at_least(std::uint64_t a, std::uint64_t b) {
#if defined(__SSE2__)
    const __m128i va = _mm_cvtsi64_si128(static_cast<long long>(a));
    const __m128i vb = _mm_cvtsi64_si128(static_cast<long long>(b));
    return (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(va, vb), va)) & 0xFF) == 0xFF;
#else
    constexpr std::uint64_t kLow = 0x00FF00FF00FF00FFull, kNine = 0x0100010001000100ull;
    const std::uint64_t even = ((a & kLow) | kNine) - (b & kLow);
    const std::uint64_t odd = (((a >> 8) & kLow) | kNine) - ((b >> 8) & kLow);
    return (even & odd & kNine) == kNine;
#endif
}

inline int floor_log2(int n) {
    int j = 0;
    while ((2 << j) <= n) ++j;
    return j;
}

// Tile tables of one band of rows [r0, r1): level j at (x, r) holds the bytewise minimum of the
// 2^j x 2^j tile whose top-left pixel is (x, r).
class TileTables {
public:
    bool build(const UBUFFER& picture, int r0, int r1, int levels, std::vector<std::uint8_t>& storage) {
        width_ = picture.width();
        r0_ = r0;
        rows_ = r1 - r0;
        stride_ = std::size_t(width_) * 8;
        level_bytes_ = stride_ * std::size_t(rows_);
        try {
            storage.resize(level_bytes_ * std::size_t(levels));
        } catch (const std::bad_alloc&) {
            return false;
        }
        base_ = storage.data();
        for (int r = 0; r < rows_; ++r) {
            const std::uint8_t* src = picture.row(r0 + r);
            std::uint8_t* dst = base_ + std::size_t(r) * stride_;
            for (int x = 0; x < width_; ++x) {
                for (int c = 0; c < 4; ++c) {
                    dst[x * 8 + c] = src[x * 4 + c];
                    dst[x * 8 + 4 + c] = std::uint8_t(255 - src[x * 4 + c]);
                }
            }
        }
        for (int j = 1; j < levels; ++j) {
            const int h = 1 << (j - 1), side = 1 << j;
            const std::size_t n = std::size_t(std::max(0, width_ - side + 1)) * 8, off = std::size_t(h) * 8;
            for (int r = 0; r + side <= rows_; ++r) {
                const std::uint8_t* a = level(j - 1) + std::size_t(r) * stride_;
                const std::uint8_t* b = level(j - 1) + std::size_t(r + h) * stride_;
                std::uint8_t* out = level(j) + std::size_t(r) * stride_;
                for (std::size_t i = 0; i < n; ++i)
                    out[i] = std::min(std::min(a[i], a[i + off]), std::min(b[i], b[i + off]));
            }
        }
        return true;
    }

    // Minimum of the tile of level j at picture position (x, y).
    std::uint64_t tile(int j, int x, int y) const {
        return load8(level(j) + std::size_t(y - r0_) * stride_ + std::size_t(x) * 8);
    }

    // True when every pixel of the inclusive rectangle passes the bounds `lim`.
    bool rect_ok(int x0, int y0, int x1, int y1, std::uint64_t lim) const {
        const int w = x1 - x0 + 1, h = y1 - y0 + 1;
        const int j = floor_log2(std::min(w, h)), side = 1 << j;
        for (int ty = y0;; ty += side) {
            const int y = std::min(ty, y1 - side + 1);
            for (int tx = x0;; tx += side) {
                const int x = std::min(tx, x1 - side + 1);
                if (!bytes_at_least(tile(j, x, y), lim)) return false;
                if (x == x1 - side + 1) break;
            }
            if (y == y1 - side + 1) break;
        }
        return true;
    }

    // The square of half-width k around (x, y): four tiles of one level.
    bool square_ok(int x, int y, int k, std::uint64_t lim) const {
        const int n = 2 * k + 1, j = floor_log2(n), far = n - (1 << j);
        const std::size_t row0 = std::size_t(y - k - r0_) * stride_, row1 = row0 + std::size_t(far) * stride_;
        const std::uint8_t* l = level(j) + std::size_t(x - k) * 8;
        const std::size_t dx = std::size_t(far) * 8;
#if defined(__SSE2__)
        const __m128i t0 =
            _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(l + row0)),
                               _mm_loadl_epi64(reinterpret_cast<const __m128i*>(l + row0 + dx)));
        const __m128i t1 =
            _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(l + row1)),
                               _mm_loadl_epi64(reinterpret_cast<const __m128i*>(l + row1 + dx)));
        const __m128i m = _mm_min_epu8(t0, t1);
        const __m128i vl = _mm_set1_epi64x(static_cast<long long>(lim));
        return _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(m, vl), m)) == 0xFFFF;
#else
        return bytes_at_least(load8(l + row0), lim) && bytes_at_least(load8(l + row0 + dx), lim) &&
               bytes_at_least(load8(l + row1), lim) && bytes_at_least(load8(l + row1 + dx), lim);
#endif
    }

private:
    const std::uint8_t* level(int j) const {
        return base_ + level_bytes_ * std::size_t(j);
    }
    std::uint8_t* level(int j) {
        return base_ + level_bytes_ * std::size_t(j);
    }

    std::uint8_t* base_ = nullptr;
    int width_ = 0, r0_ = 0, rows_ = 0;
    std::size_t stride_ = 0, level_bytes_ = 0;
};

struct MapParams {
    int minpx = 0;  // inner half-width the rings never look at (0 or more)
    int kmax = 0;   // largest ring looked at: maxpx - 1
    std::uint32_t s0 = 1;
    // Per channel value v: the bounds of the colours that pass around a centre of value v.
    std::uint8_t lo[256], hi[256];
    bool all_fail = false;  // THR below 0: the first ring inside the picture always fails
};

// The bounds (lo, 255 - hi) of a centre pixel as one 8-byte word.
inline std::uint64_t centre_bounds(const MapParams& p, const std::uint8_t* px) {
    std::uint64_t v = 0;
    for (int c = 0; c < 4; ++c) {
        v |= std::uint64_t(p.lo[px[c]]) << (8 * c);
        v |= std::uint64_t(255 - p.hi[px[c]]) << (8 * (c + 4));
    }
    return v;
}

void map_rows(const UBUFFER& pic, const MapParams& p, const TileTables& t, int y0, int y1, IBUFFER& out,
              const Host& host) {
    const int w = pic.width(), h = pic.height(), m = p.minpx, k0 = m + 1;
    for (int y = y0; y < y1; ++y) {
        if (host.stopped()) return;
        std::uint32_t* row = out.row(y);
        int guess = k0;
        for (int x = 0; x < w; ++x) {
            const int kmax = std::min({p.kmax, x, y, w - 1 - x, h - 1 - y});
            if (kmax < k0 || p.all_fail) {
                row[x] = p.s0;
                continue;
            }
            const std::uint64_t lim = centre_bounds(p, pic.row(y) + std::size_t(x) * 4);
            const bool inner = m == 0 || t.square_ok(x, y, m, lim);
            auto ok = [&](int k) {
                if (inner) return t.square_ok(x, y, k, lim);
                return t.rect_ok(x - k, y - k, x + k, y - m - 1, lim) &&
                       t.rect_ok(x - k, y + m + 1, x + k, y + k, lim) &&
                       t.rect_ok(x - k, y - m, x - m - 1, y + m, lim) &&
                       t.rect_ok(x + m + 1, y - m, x + k, y + m, lim);
            };
            // Largest k in [k0, kmax] with ok(k); a = known to pass (k0 - 1: no ring), b = known to fail.
            int a = k0 - 1, b = kmax + 1;
            const int g = std::clamp(guess, k0, kmax);
            if (ok(g)) {
                a = g;
                for (int step = 1; a + step < b; step *= 2) {
                    if (!ok(a + step)) {
                        b = a + step;
                        break;
                    }
                    a += step;
                }
            } else {
                b = g;
                for (int step = 1; b - step > a; step *= 2) {
                    if (ok(b - step)) {
                        a = b - step;
                        break;
                    }
                    b -= step;
                }
            }
            while (b - a > 1) {
                const int mid = a + (b - a) / 2;
                if (ok(mid)) {
                    a = mid;
                } else {
                    b = mid;
                }
            }
            if (a >= k0) guess = a;
            row[x] = a >= k0 ? std::uint32_t(a) : p.s0;
        }
    }
}

}  // namespace

IBUFFER get_brush_size(Host& host, const UBUFFER& picture, double thr, int maxpx, int minpx) {
    return detail::get_brush_size(host, picture, thr, maxpx, minpx, kBandBudget);
}

IBUFFER detail::get_brush_size(Host& host, const UBUFFER& picture, double thr, int maxpx, int minpx,
                               std::size_t band_budget) {
    IBUFFER out;
    if (!picture || picture.channels() != 4 || !out.allocate(picture.width(), picture.height(), 1))
        return out;
    Progress progress(host, "Getting brush size");

    MapParams p;
    p.minpx = std::max(minpx, 0);
    p.s0 = std::uint32_t(std::max(p.minpx, 1));
    p.kmax = maxpx - 1;
    if (std::isnan(thr)) thr = std::numeric_limits<double>::infinity();
    p.all_fail = thr < 0;
    for (int v = 0; v < 256; ++v) {
        p.lo[v] = std::uint8_t(std::clamp(std::ceil(double(v) - thr), 0.0, 255.0));
        p.hi[v] = std::uint8_t(std::clamp(std::floor(double(v) + thr), 0.0, 255.0));
    }

    const int w = picture.width(), h = picture.height();
    // Rings never reach further than the picture's half-size, so neither need the tables.
    const int reach = std::max(0, std::min(p.kmax, (std::min(w, h) - 1) / 2));
    if (reach < p.minpx + 1 || p.all_fail) {
        out.fill(p.s0);
        return out;
    }
    const int levels = floor_log2(2 * reach + 1) + 1;
    const std::size_t row_bytes = std::size_t(w) * 8 * std::size_t(levels);
    const int band = std::max(16, int(std::min<std::size_t>(band_budget / row_bytes, 1 << 20)) - 2 * reach);
    const int bands = (h + band - 1) / band;
    const int workers = worker_count();
    std::vector<std::vector<std::uint8_t>> storage(static_cast<std::size_t>(workers));
    bool failed = false;

    for (int first = 0; first < bands && !host.stopped() && !failed; first += workers) {
        const int last = std::min(bands, first + workers);
        std::vector<char> ok(std::size_t(last - first), 1);
        parallel_rows(
            first, last,
            [&](int b0, int b1) {
                for (int bi = b0; bi < b1; ++bi) {
                    const int y0 = bi * band, y1 = std::min(h, y0 + band);
                    TileTables tables;
                    if (!tables.build(picture, std::max(0, y0 - reach), std::min(h, y1 + reach), levels,
                                      storage[std::size_t(bi - first)])) {
                        ok[std::size_t(bi - first)] = 0;
                        continue;
                    }
                    map_rows(picture, p, tables, y0, y1, out, host);
                }
            },
            1);
        failed = std::find(ok.begin(), ok.end(), 0) != ok.end();
        if (last < bands) progress.update(std::int64_t(last) * band * w, std::int64_t(w) * h);
    }
    if (failed) out.reset();
    return out;
}

}  // namespace velq
