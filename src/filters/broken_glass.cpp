#include "filters/broken_glass.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "filters/refraction.h"
#include "host/parallel.h"

namespace velq {

namespace {

constexpr double kPi = std::numbers::pi;
// Ring radii grow by this factor; a ring point may move this fraction in or out along its ray,
// little enough (below (1.6 - 1) / (1.6 + 1)) that rings never cross.
constexpr double kRingGrowth = 1.6, kRingJitter = 0.2;
// Share of ring chords that are present (the innermost ring is always whole).
constexpr double kChordPresent = 0.65;
// Largest shard shift (fraction of the larger side) and turn (radians) of the outer shards.
constexpr double kMaxShift = 0.02, kMaxTurn = 3 * kPi / 180;
// Ids of the pane's random choices that are not per piece.
constexpr std::uint64_t kPaneId = 0xB40C3, kRayId = 1ull << 40, kRingId = 2ull << 40, kShardId = 3ull << 40;

double cross(double ax, double ay, double bx, double by) {
    return ax * by - ay * bx;
}

}  // namespace

Shatter::Shatter(int width, int height, const BrokenGlassParams& p, std::uint32_t seed) {
    const double l = std::max(width, height);
    const std::uint64_t pane = piece_hash(seed, kPaneId);
    cx_ = width * (p.impact_x > 0 ? p.impact_x : 0.25 + 0.5 * piece_unit(pane, 0));
    cy_ = height * (p.impact_y > 0 ? p.impact_y : 0.25 + 0.5 * piece_unit(pane, 1));
    crater_ = std::max(4.0, l / 300);
    crack_width_ = p.crack_width >= 0 ? p.crack_width : std::max(1, int(std::lround(l / 1200)));

    const int k = 11 + std::min(6, int(piece_unit(pane, 2) * 7));
    for (int i = 0; i < k; ++i) {
        const double a = 2 * kPi * (i + 0.35 * piece_unit(piece_hash(seed, kRayId + i), 0)) / k;
        rays_.push_back({std::cos(a), std::sin(a)});
    }
    // Rings until the innermost point of one lies past the farthest corner.
    const double far = std::hypot(std::max(cx_, width - cx_), std::max(cy_, height - cy_));
    std::vector<double> radii;
    for (double r = 0.04 * l; radii.empty() || r * (1 - kRingJitter) * std::cos(0.7 * kPi / k) <= far;
         r *= kRingGrowth)
        radii.push_back(r);
    const int rings = int(radii.size());
    bands_ = rings + 1;

    // Every ring's point on every ray, then the present chords of each sector.
    std::vector<double> px(std::size_t(rings) * k), py(px.size());
    for (int r = 0; r < rings; ++r)
        for (int i = 0; i < k; ++i) {
            const std::uint64_t h = piece_hash(seed, kRingId + std::uint64_t(r) * 256 + i);
            const double rr = radii[r] * (1 + kRingJitter * piece_signed(h, 0));
            px[r * k + i] = rr * rays_[i].dx, py[r * k + i] = rr * rays_[i].dy;
        }
    chords_.resize(k);
    std::vector<Motion> motions(std::size_t(k) * bands_ + 1);
    for (int s = 0; s < k; ++s) {
        const int e = (s + 1) % k;
        double pivot_x = 0, pivot_y = 0;  // the inner mid-point of the current band
        for (int band = 0; band < bands_; ++band) {
            if (band > 0) {
                const int r = band - 1;
                const std::uint64_t h = piece_hash(seed, kRingId + (std::uint64_t(r) * 256 + s) * 2 + 1);
                if (r > 0 && piece_unit(h, 0) >= kChordPresent) continue;  // merged with the band inside
                const double ax = px[r * k + s], ay = py[r * k + s], bx = px[r * k + e], by = py[r * k + e];
                // Outward normal: away from the impact, which lies at the origin here.
                double nx = by - ay, ny = ax - bx;
                if (nx * ax + ny * ay < 0) nx = -nx, ny = -ny;
                chords_[s].push_back({nx, ny, nx * ax + ny * ay, band});
                pivot_x = (ax + bx) / 2, pivot_y = (ay + by) / 2;
            }
            const std::uint64_t h = piece_hash(seed, kShardId + std::uint64_t(s) * 256 + band);
            const double fall = std::min(1.0, 0.35 + 0.65 * band / 4) * p.motion;
            const double tx = kMaxShift * l * fall * piece_signed(h, 0);
            const double ty = kMaxShift * l * fall * piece_signed(h, 1);
            const double phi = kMaxTurn * fall * piece_signed(h, 2);
            // Inverse of "turn by phi about the pivot m, then shift by t": M (q - m - t) + m.
            Motion& m = motions[1 + s * bands_ + band];
            const double c = std::cos(phi), sn = std::sin(phi);
            const double mx = cx_ + pivot_x, my = cy_ + pivot_y;
            m.m00 = c, m.m01 = sn, m.m10 = -sn, m.m11 = c;
            m.tx = mx - (c * (mx + tx) + sn * (my + ty));
            m.ty = my - (-sn * (mx + tx) + c * (my + ty));
            m.gain = int(std::lround(256 * (1 + p.gain * piece_signed(h, 3))));
        }
    }
    motions_ = std::move(motions);
}

Shatter::Place Shatter::locate(double dx, double dy, int hint) const {
    Place place;
    if (dx * dx + dy * dy < crater_ * crater_) return {0, 0, -1};
    const int k = int(rays_.size());
    for (int t = 0; t < k; ++t) {
        const int s = (hint + t) % k, e = (s + 1) % k;
        if (cross(rays_[s].dx, rays_[s].dy, dx, dy) >= 0 && cross(rays_[e].dx, rays_[e].dy, dx, dy) < 0) {
            place.sector = s;
            break;
        }
    }
    // Chords are nested: the shard starts beyond the last one the point lies beyond.
    const std::vector<Chord>& chords = chords_[std::size_t(place.sector)];
    int band = 0;
    for (int i = 0; i < int(chords.size()) && chords[i].nx * dx + chords[i].ny * dy > chords[i].t; ++i)
        place.chord = i, band = chords[i].band;
    place.shard = 1 + place.sector * bands_ + band;
    return place;
}

namespace {

// The bevels: a pixel with another shard within `w` to its right or below is on the dark side, one
// with another shard within `w` to its left or above on the lit side (lit wins where both hold).
// Each comparison runs as a straight loop over a row, marking a side mask per pixel.
void draw_cracks(const IBUFFER& labels, UBUFFER& dst, int w, int y0, int y1) {
    constexpr std::uint8_t kLit = 1, kDark = 2;
    const int width = labels.width(), height = labels.height();
    std::vector<std::uint8_t> side(static_cast<std::size_t>(width));
    for (int y = y0; y < y1; ++y) {
        const std::uint32_t* row = labels.row(y);
        std::fill(side.begin(), side.end(), 0);
        std::uint8_t* mark = side.data();
        for (int d = 1; d <= w; ++d) {
            if (y - d >= 0) {
                const std::uint32_t* up = labels.row(y - d);
                for (int x = 0; x < width; ++x) mark[x] |= row[x] != up[x] ? kLit : 0;
            }
            if (y + d < height) {
                const std::uint32_t* down = labels.row(y + d);
                for (int x = 0; x < width; ++x) mark[x] |= row[x] != down[x] ? kDark : 0;
            }
            for (int x = d; x < width; ++x) mark[x] |= row[x] != row[x - d] ? kLit : 0;
            for (int x = 0; x + d < width; ++x) mark[x] |= row[x] != row[x + d] ? kDark : 0;
        }
        std::uint8_t* p = dst.row(y);
        for (int x = 0; x < width; ++x, p += 4) {
            if (mark[x] & kLit) {
                for (int c = 0; c < 3; ++c) p[c] = std::uint8_t(p[c] + (255 - p[c]) * 55 / 100);
            } else if (mark[x] & kDark) {
                for (int c = 0; c < 3; ++c) p[c] = std::uint8_t(p[c] / 2);
            }
        }
    }
}

}  // namespace

bool broken_glass_warp(Progress& progress, const UBUFFER& src, UBUFFER& dst, IBUFFER& labels,
                       const Shatter& shatter, int blocks) {
    const int w = src.width(), h = src.height();
    const int passes = shatter.crack_width() > 0 ? 2 : 1;
    const bool done = run_row_bands(
        progress, h, blocks,
        [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                std::uint8_t* out = dst.row(y);
                std::uint32_t* label = labels.row(y);
                const double dy = y - shatter.impact_y();
                Shatter::Place place;
                const Shatter::Motion* m = nullptr;
                std::int64_t sx = 0, sy = 0, step_x = 0, step_y = 0;  // source position and its step
                for (int x = 0; x < w; ++x, out += 4, sx += step_x, sy += step_y) {
                    const double dx = x - shatter.impact_x();
                    if (!m || !shatter.holds(place, dx, dy)) {
                        place = shatter.locate(dx, dy, place.sector);
                        m = &shatter.motion(place.shard);
                        sx = to_fixed(m->m00 * x + m->m01 * y + m->tx);
                        sy = to_fixed(m->m10 * x + m->m11 * y + m->ty);
                        step_x = to_fixed(m->m00), step_y = to_fixed(m->m10);
                    }
                    label[x] = std::uint32_t(place.shard);
                    const std::uint32_t v = read_pixel(src, sx, sy);
                    std::memcpy(out, &v, 4);
                    if (m->gain != 256)
                        for (int c = 0; c < 3; ++c)
                            out[c] = std::uint8_t(std::min(255, (out[c] * m->gain + 128) >> 8));
                }
            }
        },
        0, passes);
    if (!done || passes == 1) return done;
    return run_row_bands(
        progress, h, blocks, [&](int y0, int y1) { draw_cracks(labels, dst, shatter.crack_width(), y0, y1); },
        1, passes);
}

int broken_glass_filter(Progress& progress, UBUFFER& picture, const BrokenGlassParams& params,
                        const SeedSource& seeds) {
    Host& host = progress.host();
    const int w = picture.width(), h = picture.height();
    UBUFFER src = UBUFFER::create(host, w, h, 4, Init::Uninitialised);
    if (!src) return -1;
    IBUFFER labels = IBUFFER::create(host, w, h, 1, Init::Uninitialised);
    if (!labels) return -1;
    std::memcpy(src.data(), picture.data(), picture.size());
    const Shatter shatter(w, h, params, seeds.time_seed());
    if (broken_glass_warp(progress, src, picture, labels, shatter, worker_count())) return 0;
    picture.swap(src);  // stopped: the picture stays as it was
    return -1;
}

}  // namespace velq
