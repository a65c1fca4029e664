// Broken glass: the picture behind a shattered pane. Straight radial cracks leave an impact point,
// broken ring cracks run as straight chords between neighbouring rays (some missing, so shards
// merge), every shard is shifted and turned a little and made a little brighter or darker, and the
// cracks are drawn as thin bevels: dark on the side that faces down-right, lit on the other.
#pragma once

#include <cstdint>
#include <vector>

#include "host/progress.h"
#include "host/random.h"
#include "image/buffer.h"

namespace velq {

struct BrokenGlassParams {
    double impact_x = 0, impact_y = 0;  // impact point as fractions of the picture; 0 = from the seed
    double motion = 1;                  // scale of every shard's shift and turn; 0 keeps shards still
    double gain = 0.12;                 // largest brightness change of a shard
    int crack_width = -1;               // bevel width per side in pixels; -1 from the size, 0 none
};

// The pane's geometry and each shard's motion, worked out once from the picture size and the seed.
class Shatter {
public:
    Shatter(int width, int height, const BrokenGlassParams& params, std::uint32_t seed);

    // Read-only map from output position to shard: the source position and gain of shard `id`.
    struct Motion {
        double m00 = 1, m01 = 0, m10 = 0, m11 = 1, tx = 0, ty = 0;  // source = M * q + t
        int gain = 256;                                             // brightness in 1/256
    };

    // Where a point lies: its shard (0 is the crushed spot at the impact), sector and inner chord.
    struct Place {
        int shard = -1, sector = 0, chord = -1;  // chord: index in the sector's list, -1 for none
    };
    // The place of the point (dx, dy) from the impact; the sector search starts at `hint`.
    Place locate(double dx, double dy, int hint = 0) const;
    // True when (dx, dy) lies in the shard of `place`: the crushed spot, two rays and two chords are
    // all it takes, so runs of pixels in one shard cost little.
    bool holds(const Place& place, double dx, double dy) const;
    const Motion& motion(int shard) const { return motions_[std::size_t(shard)]; }
    int shard_count() const { return int(motions_.size()); }
    int ray_count() const { return int(rays_.size()); }
    double impact_x() const { return cx_; }
    double impact_y() const { return cy_; }
    double crater_radius() const { return crater_; }
    int crack_width() const { return crack_width_; }

private:
    struct Ray {
        double dx, dy;
    };
    struct Chord {
        double nx, ny, t;  // beyond the chord when nx * dx + ny * dy > t
        int band;          // the shard band that starts beyond it
    };
    double cx_ = 0, cy_ = 0, crater_ = 0;
    int crack_width_ = 0, bands_ = 0;
    std::vector<Ray> rays_;
    std::vector<std::vector<Chord>> chords_;  // per sector, inner to outer
    std::vector<Motion> motions_;
};

// Inline: it runs for every pixel.
inline bool Shatter::holds(const Place& place, double dx, double dy) const {
    const bool crushed = dx * dx + dy * dy < crater_ * crater_;
    if (place.shard == 0 || crushed) return place.shard == 0 && crushed;
    const int k = int(rays_.size()), s = place.sector, e = (s + 1) % k;
    if (rays_[s].dx * dy - rays_[s].dy * dx < 0 || rays_[e].dx * dy - rays_[e].dy * dx >= 0) return false;
    const std::vector<Chord>& chords = chords_[std::size_t(s)];
    if (place.chord >= 0) {
        const Chord& c = chords[std::size_t(place.chord)];
        if (c.nx * dx + c.ny * dy <= c.t) return false;
    }
    if (place.chord + 1 < int(chords.size())) {
        const Chord& c = chords[std::size_t(place.chord + 1)];
        if (c.nx * dx + c.ny * dy > c.t) return false;
    }
    return true;
}

// Writes the broken-glass view of `src` into `dst` (both BGRA, same size) and the shard of every
// pixel into `labels`, rows cut into `blocks` parallel pieces per band. False when stopped.
bool broken_glass_warp(Progress& progress, const UBUFFER& src, UBUFFER& dst, IBUFFER& labels,
                       const Shatter& shatter, int blocks);

// The filter: returns 0, or -1 when stopped or out of memory (the picture is then unchanged).
int broken_glass_filter(Progress& progress, UBUFFER& picture, const BrokenGlassParams& params,
                        const SeedSource& seeds);

}  // namespace velq
