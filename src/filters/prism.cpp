#include "filters/prism.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "filters/refraction.h"
#include "host/parallel.h"

namespace velq {

namespace {

constexpr double kSqrt3 = 1.7320508075688772;

// Everything a facet's pixels need: where each channel reads and the facet's gain gradient.
struct Facet {
    std::int64_t id = INT64_MIN;
    BilinearStep blue, green, red;
};

Facet make_facet(const PrismLayout& l, const FacetPlace& place) {
    const std::uint64_t h = piece_hash(l.seed, std::uint64_t(place.id));
    const double ox = l.offset * piece_signed(h, 0), oy = l.offset * piece_signed(h, 1);
    // The axis across the lattice rows, turned round for the facets that point the other way.
    const double sign = place.up ? 1.0 : -1.0;
    const double dx = -std::sin(l.angle) * sign * l.spread, dy = std::cos(l.angle) * sign * l.spread;
    Facet f;
    f.id = place.id;
    f.blue = BilinearStep::of(ox - dx, oy - dy);
    f.green = BilinearStep::of(ox, oy);
    f.red = BilinearStep::of(ox + dx, oy + dy);
    return f;
}

}  // namespace

PrismLayout prism_layout(int width, int height, double max_size, std::uint32_t seed) {
    const double l = std::max(width, height);
    const double d = 2 * max_size * l;
    PrismLayout p;
    p.side = std::clamp(4 * d, 24.0, std::max(24.0, l / 3));
    const std::uint64_t h = piece_hash(seed, 0xA4C1E);
    p.angle = piece_unit(h, 0) * std::numbers::pi / 3;
    p.shift_u = piece_unit(h, 1) * p.side;
    p.shift_v = piece_unit(h, 2) * p.side;
    p.offset = 0.6 * d;
    p.spread = 0.12 * d;
    p.shade = 0.10;
    p.seed = seed;
    return p;
}

namespace {

// The lattice's turn and cell sizes, worked out once per run.
struct Lattice {
    double cos_a, sin_a, inv_side, inv_height, shift_u, shift_v;
    explicit Lattice(const PrismLayout& l)
        : cos_a(std::cos(l.angle)),
          sin_a(std::sin(l.angle)),
          inv_side(1 / l.side),
          inv_height(2 / (l.side * kSqrt3)),
          shift_u(l.shift_u),
          shift_v(l.shift_v) {}

    // Rows of triangles along u; odd rows shifted half a side so that the edges meet.
    FacetPlace place(double x, double y) const {
        const double u = x * cos_a + y * sin_a + shift_u, v = -x * sin_a + y * cos_a + shift_v;
        const double rv = std::floor(v * inv_height);
        const double fy = v * inv_height - rv;
        const std::int64_t row = std::int64_t(rv);
        const double fx = u * inv_side - ((row & 1) ? 0.5 : 0.0);
        const double col = std::floor(fx);
        const double f = fx - col;
        std::int64_t k = 2 * std::int64_t(col);
        bool up = true;
        if (f < (1 - fy) / 2) {
            k -= 1, up = false;
        } else if (f > (1 + fy) / 2) {
            k += 1, up = false;
        }
        // Row and triangle packed into one id; a picture never spans 2^31 facets.
        return {row * (std::int64_t(1) << 32) + k, up, up ? 1 - fy : fy};
    }
};

}  // namespace

FacetPlace prism_facet(const PrismLayout& l, double x, double y) {
    return Lattice(l).place(x, y);
}

bool prism_warp(Progress& progress, const UBUFFER& src, UBUFFER& dst, const PrismLayout& layout, int blocks) {
    const int w = src.width();
    const float shade = float(layout.shade);
    const Lattice lattice(layout);
    return run_row_bands(progress, src.height(), blocks, [&](int y0, int y1) {
        Facet f;
        for (int y = y0; y < y1; ++y) {
            std::uint8_t* out = dst.row(y);
            for (int x = 0; x < w; ++x, out += 4) {
                const FacetPlace place = lattice.place(x, y);
                if (place.id != f.id) f = make_facet(layout, place);
                const float gain = 1 + shade * float(place.apex - 0.5);
                out[0] = to_byte(read_channel(src, x, y, f.blue, 0) * gain);
                out[1] = to_byte(read_channel(src, x, y, f.green, 1) * gain);
                out[2] = to_byte(read_channel(src, x, y, f.red, 2) * gain);
                out[3] = to_byte(read_channel(src, x, y, f.green, 3));
            }
        }
    });
}

int prism_filter(Progress& progress, UBUFFER& picture, double max_size, const SeedSource& seeds) {
    UBUFFER src = UBUFFER::create(progress.host(), picture.width(), picture.height(), 4, Init::Uninitialised);
    if (!src) return -1;
    std::memcpy(src.data(), picture.data(), picture.size());
    const PrismLayout layout = prism_layout(picture.width(), picture.height(), max_size, seeds.time_seed());
    if (prism_warp(progress, src, picture, layout, worker_count())) return 0;
    picture.swap(src);  // stopped: the picture stays as it was
    return -1;
}

}  // namespace velq
