// The blend of a tinted stencil pixel into the picture: the renderer's formula, its division-free
// floor, and the exact integer path that gives the formula's bytes for whole-number tints.
#pragma once

#include <algorithm>
#include <cstdint>

namespace velq {

// The blend of one colour channel as the renderer defines it: shade s and opacity m of the stencil,
// old value o, tint c, global brightness G, transparency T, brightness factor k.
int blend_channel(int s, int m, int o, double c, int global_brightness, int transparency, double k);

// trunc(clamp(S / 255, 0, 255)) for a double S, without the division: equal for every S (the one
// fact it rests on, that a double just below 255 n divides to below n, is checked by the tests).
inline int floor_div255(double s) {
    if (!(s >= 255.0)) return 0;
    if (s >= 65280.0) return 255;
    int q = int(s * (1.0 / 255));
    if (255.0 * q > s) {
        --q;
    } else if (255.0 * (q + 1) <= s) {
        ++q;
    }
    return q;
}

namespace exact_path {

// How the exact path works (docs/design.md, "Painting"). With a whole-number tint c, k = 1 and
// t = T m / 255, the formula's value is, in exact arithmetic,
//     v = o + y d / D   with y = T m, d = s c + 255 (G - o), D = 255^3,
// so the byte is o + floor(y d / D) except where y d / D is a whole number: there the doubles of the
// formula may land just below it. Such ties are settled exactly when every step of the formula is
// exact (y = 0, or both y and s c multiples of 255) and by evaluating the formula otherwise.

inline constexpr std::int64_t kD = 255LL * 255 * 255;
inline constexpr int kMaxExactG = 512;

inline bool multiple_of_255(std::uint32_t x) {
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

}  // namespace exact_path

}  // namespace velq
