#include "render/paint.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <thread>

#include "host/parallel.h"
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

bool multiple_of_255(std::uint32_t x) { return std::uint32_t(x * 0xFEFEFEFFu) <= 0xFFFFFFFFu / 255; }

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
    if (r == 0 && y != 0 && !(multiple_of_255(y) && multiple_of_255(sc))) return blend_channel(s, m, o, c, g, t, 1.0);
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
    for (int ch = 0; ch < 3; ++ch) px[ch] = std::uint8_t(blend_exact(s, m, px[ch], et.ci[ch], et.cd[ch], et.g, et.t));
    px[3] = 255;
}

using v8i = std::int32_t __attribute__((vector_size(32)));
using v8u = std::uint32_t __attribute__((vector_size(32)));
using v8d = double __attribute__((vector_size(64)));
using v8l = std::int64_t __attribute__((vector_size(64)));
using v8w = std::uint16_t __attribute__((vector_size(16)));

// Eight pixels at a time: the quotient y d / D from doubles (y d is exact; one rounding in the
// product with 1 / D is far inside the 1 / D that separates a non-tie from a whole number).
__attribute__((target_clones("arch=x86-64-v3", "default"))) void blend_run_exact(const std::uint8_t* sm,
                                                                                  std::uint8_t* dst, int n,
                                                                                  const ExactTint& et) {
    constexpr double inv_d = 1.0 / double(kD);
    constexpr double eps = 1e-9;
    const v8i zero = {}, full = zero + 255;
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        v8w w;
        std::memcpy(&w, sm + 2 * i, sizeof w);
        const v8i wi = __builtin_convertvector(w, v8i);
        const v8i s = wi & 0xFF, m = wi >> 8;
        const v8i nz = m != 0;
        if (!(nz[0] | nz[1] | nz[2] | nz[3] | nz[4] | nz[5] | nz[6] | nz[7])) continue;
        v8u px;
        std::memcpy(&px, dst + 4 * i, sizeof px);
        const v8i y = m * et.t;
        const v8d yd = __builtin_convertvector(y, v8d);
        const v8u ymul = (v8u)y * 0xFEFEFEFFu;
        const v8i y_exact = (y == 0) | (ymul <= 0xFFFFFFFFu / 255);
        v8u out = (v8u){} + 0xFF000000u;
        v8i bad = {};
        for (int ch = 0; ch < 3; ++ch) {
            const v8i o = (v8i)((px >> (8 * ch)) & 0xFFu);
            const v8i sc = s * et.ci[ch];
            const v8i d = sc + et.g255 - o * 255;
            const v8d e = yd * __builtin_convertvector(d, v8d) * inv_d;
            v8i q = __builtin_convertvector(e, v8i);
            v8d qd = __builtin_convertvector(q, v8d);
            const v8l above = qd > e;
            q += __builtin_convertvector(above, v8i);
            qd = __builtin_convertvector(q, v8d);
            const v8d f = e - qd;
            const v8i tie = __builtin_convertvector((f < eps) | (f > 1.0 - eps), v8i);
            const v8i up = __builtin_convertvector(f > 0.5, v8i);
            const v8u scmul = (v8u)sc * 0xFEFEFEFFu;
            const v8i safe = (y == 0) | (y_exact & (scmul <= 0xFFFFFFFFu / 255));
            q -= tie & up;  // a tie just below a whole number rounds up to it
            bad |= tie & ~safe;
            v8i r = o + q;
            r = r < zero ? zero : r;
            r = r > full ? full : r;
            out |= (v8u)r << (8 * ch);
        }
        out = nz ? out : px;
        std::memcpy(dst + 4 * i, &out, sizeof out);
        bad &= nz;
        if (bad[0] | bad[1] | bad[2] | bad[3] | bad[4] | bad[5] | bad[6] | bad[7]) {
            for (int l = 0; l < 8; ++l) {
                if (!bad[l]) continue;
                std::uint8_t* p = dst + 4 * (i + l);
                std::memcpy(p, reinterpret_cast<const std::uint8_t*>(&px) + 4 * l, 4);
                blend_pixel_exact(sm + 2 * (i + l), p, et);
            }
        }
    }
    for (; i < n; ++i) blend_pixel_exact(sm + 2 * i, dst + 4 * i, et);
}

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

int Painter::prepare(const Placement& p, const ColourRecord& tint, PaintJob& job) {
    if (!p.shape || !p.shape->usable()) return 1;
    const double r = p.radius;
    const int side = saturate(2 * r + 0.5);
    if (side < 1) return 1;
    job.stencil = p.shape->stencils.get(host_, p.shape->shade_plane, p.shape->mask_plane, side);
    if (!job.stencil) {
        host_.message("Failed to allocate rz_buffer in fill_shape()");
        return -1;
    }
    job.left = p.x - r;
    job.top = p.y - r;
    job.c[0] = tint.c0;
    job.c[1] = tint.c1;
    job.c[2] = tint.c2;
    job.k = p.brightness / 100;
    job.transparency = p.transparency;
    bool whole = true;
    for (int ch = 0; ch < 3; ++ch) {
        const double c = job.c[ch];
        whole = whole && c >= 0 && c <= 255 && c == std::trunc(c);
        job.tint[ch] = whole ? int(c) : 0;
    }
    job.exact = whole && job.k == 1.0 && std::abs(g_) <= kMaxExactG && p.transparency >= 0 && p.transparency <= 255;
    if (!job.exact) {
        for (int ch = 0; ch < 3; ++ch) job.shade_term[ch] = shade_table(job.c[ch]);
        job.tone = tone_table(p.transparency);
    }
    return 0;
}

void Painter::paint_rows(const PaintJob& job, UBUFFER& buffer, int row0, int row1) const {
    const Stencil& st = *job.stencil;
    const int d = st.side, w = buffer.width();
    row0 = std::max(row0, 0);
    row1 = std::min(row1, buffer.height());
    if (row0 >= row1 || buffer.channels() != 4) return;

    // Target columns trunc(left + i); they never decrease with i.
    thread_local std::vector<int> cols;
    cols.resize(d);
    for (int i = 0; i < d; ++i) cols[i] = saturate(job.left + i);
    const int i_lo = int(std::lower_bound(cols.begin(), cols.end(), 0) - cols.begin());
    const int i_hi = int(std::lower_bound(cols.begin(), cols.end(), w) - cols.begin());
    if (i_lo >= i_hi) return;
    bool regular = true;
    for (int i = i_lo + 1; i < i_hi && regular; ++i) regular = cols[i] == cols[i - 1] + 1;

    ExactTint et{};
    if (job.exact) {
        for (int ch = 0; ch < 3; ++ch) {
            et.ci[ch] = job.tint[2 - ch];
            et.cd[ch] = job.c[2 - ch];
        }
        et.g = g_;
        et.g255 = 255 * g_;
        et.t = job.transparency;
    }
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
            if (regular) {
                blend_run_exact(sm + 2 * b, row + 4 * std::size_t(cols[b]), e - b, et);
            } else {
                for (int i = b; i < e; ++i) blend_pixel_exact(sm + 2 * i, row + 4 * std::size_t(cols[i]), et);
            }
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

void prepare_stencils(Host& host, std::span<const Placement> placements) {
    std::map<const SHAPE*, std::vector<int>> sides;
    for (const Placement& p : placements) {
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

bool paint_jobs(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                const std::function<void(std::size_t)>& after_each, int bands) {
    const int h = buffer.height();
    if (bands <= 0) bands = worker_count();
    // Bands below 64 rows or lists too short to pay for a thread are not worth splitting.
    bands = std::clamp(std::min(bands, h / 64), 1, 64);
    if (jobs.size() < 64) bands = 1;
    std::atomic<bool> stopped{false};
    auto band = [&](int b) {
        const int r0 = int(std::int64_t(h) * b / bands), r1 = int(std::int64_t(h) * (b + 1) / bands);
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (host.stopped()) {
                stopped = true;
                return;
            }
            if (jobs[i].stencil) painter.paint_rows(jobs[i], buffer, r0, r1);
            if (b == 0 && after_each) after_each(i);
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(bands - 1);
    for (int b = 1; b < bands; ++b) threads.emplace_back(band, b);
    band(0);
    for (auto& t : threads) t.join();
    return !stopped;
}

}  // namespace velq
