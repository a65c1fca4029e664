// The render styles of passage characters: each turns a glyph's coverage into a shade plane and an
// opacity plane, tinted by the painter like any shape. Lit styles take their light from the upper
// left, as the bundled shapes do.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace velq {

enum class PassageStyle : std::uint8_t {
    Flat,
    Outline,
    Shadow,
    Emboss,
    Bevel,
    Bubble,
    Metallic,
    BubbleMetallic
};
inline constexpr int kPassageStyleCount = 8;

// "Flat" ... "Bubble Metallic", as the window lists them.
std::string_view passage_style_name(PassageStyle style);
// The style of a window name or of its lower-case, dash-joined form ("bubble-metallic").
std::optional<PassageStyle> passage_style_from_name(std::string_view name);

// Ems of room the style needs around the glyph (the outline's ring, the shadow's offset and blur).
double passage_style_margin(PassageStyle style);

// Fills the 1024 x 1024 shade and opacity planes from the coverage (row 0 at the top); `em_pixels` is
// the pixels of one em, which sizes the rims, rings and shadows.
void style_glyph(PassageStyle style, std::span<const std::uint8_t> coverage, double em_pixels,
                 std::span<std::uint8_t> shade, std::span<std::uint8_t> opacity);

}  // namespace velq
