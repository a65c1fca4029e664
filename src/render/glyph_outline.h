// The characters of a passage as glyph outlines, all at one scale so that their sizes keep their
// proportions (a full stop stays small beside a capital), each centred in the 1024-pixel square of
// a shape, and drawn to coverage on demand.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/host.h"
#include "render/layer.h"

namespace velq {

// One glyph outline in 26.6 pixel coordinates of the shape square, y up.
struct GlyphOutline {
    std::vector<long> x, y;
    std::vector<char> tags;
    std::vector<short> contour_ends;
    int flags = 0;
};

// The outlines of `chars` in the font the system gives for `font` (bold by widening and italic by
// shearing when the file is not), at the largest scale that keeps every glyph, grown by `margin_em`
// ems on every side, inside the disc of radius 500. A character the font lacks takes the font's
// missing-glyph box. Sets `em_pixels` to the pixels of one em. 0, or -1 with "Failed to load the font"
// and the face.
int load_glyph_outlines(Host& host, const FontDescription& font, std::span<const char16_t> chars,
                        double margin_em, std::vector<GlyphOutline>& out, double& em_pixels);

// The outline's coverage in a 1024 x 1024 plane, row 0 at the top. Safe to call from several threads.
void draw_glyph(const GlyphOutline& outline, std::span<std::uint8_t> coverage);

}  // namespace velq
