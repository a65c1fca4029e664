// The colour record shared by circles, segments, palettes and placements: red, green, blue and a
// fourth component as doubles 0..255, a palette-entry index and a valid flag.
#pragma once

#include <cstdint>

namespace velq {

struct ColourRecord {
    double c0 = 255.0;  // red
    double c1 = 255.0;  // green
    double c2 = 255.0;  // blue
    double c3 = 255.0;  // fourth component
    std::int32_t index = 0;
    bool valid = true;

    bool operator==(const ColourRecord&) const = default;
};

// Background and chooser colours are packed as a Windows colour reference: red in the low byte.
inline std::uint32_t pack_colorref(int r, int g, int b) {
    return std::uint32_t(r & 255) | (std::uint32_t(g & 255) << 8) | (std::uint32_t(b & 255) << 16);
}
inline int colorref_red(std::uint32_t c) {
    return int(c & 255);
}
inline int colorref_green(std::uint32_t c) {
    return int((c >> 8) & 255);
}
inline int colorref_blue(std::uint32_t c) {
    return int((c >> 16) & 255);
}

}  // namespace velq
