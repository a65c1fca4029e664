// The channel rotations the shuffle and Matrix filters paint with. Each moves the blue, green and red
// samples of a pixel one place and shifts the one that wraps around by kRotationShift, saturating at
// 0 or 255. Alpha is never touched.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velq {

inline constexpr int kRotationShift = 60;

inline std::uint8_t shifted_up(std::uint8_t v) {
    return v + kRotationShift > 255 ? 255 : std::uint8_t(v + kRotationShift);
}
inline std::uint8_t shifted_down(std::uint8_t v) {
    return v < kRotationShift ? 0 : std::uint8_t(v - kRotationShift);
}

// (B, G, R) -> (G, R, B + 60) on the BGRA pixels [from, to) of a row.
inline void rotate_up(std::uint8_t* row, int from, int to) {
    for (std::uint8_t* p = row + std::ptrdiff_t(from) * 4; p < row + std::ptrdiff_t(to) * 4; p += 4) {
        const std::uint8_t b = p[0];
        p[0] = p[1];
        p[1] = p[2];
        p[2] = shifted_up(b);
    }
}

// (B, G, R) -> (G, R, B - 60).
inline void rotate_down(std::uint8_t* row, int from, int to) {
    for (std::uint8_t* p = row + std::ptrdiff_t(from) * 4; p < row + std::ptrdiff_t(to) * 4; p += 4) {
        const std::uint8_t b = p[0];
        p[0] = p[1];
        p[1] = p[2];
        p[2] = shifted_down(b);
    }
}

// Matrix rotation: (B, G, R) -> (R, B + 60, G).
inline void matrix_rotate_up(std::uint8_t* row, int from, int to) {
    for (std::uint8_t* p = row + std::ptrdiff_t(from) * 4; p < row + std::ptrdiff_t(to) * 4; p += 4) {
        const std::uint8_t b = p[0], g = p[1];
        p[0] = p[2];
        p[1] = shifted_up(b);
        p[2] = g;
    }
}

// (B, G, R) -> (R, B - 60, G).
inline void matrix_rotate_down(std::uint8_t* row, int from, int to) {
    for (std::uint8_t* p = row + std::ptrdiff_t(from) * 4; p < row + std::ptrdiff_t(to) * 4; p += 4) {
        const std::uint8_t b = p[0], g = p[1];
        p[0] = p[2];
        p[1] = shifted_down(b);
        p[2] = g;
    }
}

}  // namespace velq
