// Palettes: the named colour tables that a layer tints its shapes through. "Bright" passes colours
// through; the others are gradients built from a few key colours.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "image/buffer.h"
#include "segments/colour.h"

namespace velq {

struct Palette {
    std::string name;
    bool second_flag = false;           // kept with each palette; nothing reads it yet
    std::vector<ColourRecord> keys;     // key colours in the given order
    std::vector<ColourRecord> entries;  // the gradient colours are mapped to
    bool pass_through = false;          // "Bright": every colour unchanged

    // A gradient of (K - 1) * 5 entries from K packed 0xRRGGBB key colours; none makes it pass-through.
    Palette(std::string name, bool second_flag, std::initializer_list<std::uint32_t> key_colours);
};

// The eleven palettes in combobox order, "Bright" first.
std::vector<Palette> make_palettes();

// The nearest entry (first of equals), or the colour itself for a pass-through palette.
ColourRecord map_colour(const Palette& palette, const ColourRecord& colour);

// The "Convert" option: c0, c1, c2 become hue, saturation and lightness scaled to 0..255.
void to_hsl(ColourRecord& colour);

// The "Palette preview" picture, 200 x 200 BGRA: for a pass-through palette the colours of hue x / 200
// and saturation y / 200 at lightness 0.5; otherwise vertical bands running through the key colours
// from left to right, (keys - 1) * 50 steps over the 200 columns. Absent when memory is short.
UBUFFER palette_preview(const Palette& palette);

}  // namespace velq
