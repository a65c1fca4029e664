// Setting a text over a picture for the Alphabet transform: where every letter of the passage goes,
// as its outline in picture pixels. Lines sets justified rows over the whole frame; Packed places
// letters greedily from large to small wherever they fit. Blank characters are never placed.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"
#include "render/glyph_font.h"

namespace velq {

struct PlacedGlyph {
    char32_t character = 0;
    OutlinePath path;  // picture pixels, y down
};

struct LinesParams {
    int width = 0, height = 0;  // the frame, pixels
    int rows = 8;               // rows of text over the frame's height
    double margin = 1;          // kept free along the frame's edges (pixels)
};

// Rows of the passage (repeated until the frame is full): words wrapped at blanks, a word longer
// than a row split between characters, each row stretched over the width (the gaps between words
// grow by up to two spaces, the rest spreads between letters; a row of one letter is set from the
// left). Empty when the passage is blank or a row is too low for any letter.
std::vector<PlacedGlyph> layout_lines(GlyphFont& font, std::u32string_view passage, const LinesParams& params,
                                      Host& host);

struct PackedParams {
    int width = 0, height = 0;  // the frame, pixels
    double largest = 100;       // em size of the first letters, pixels
    double smallest = 20;       // no letter is set smaller
    double gap = 1;             // pixels kept between letters and along the frame's edges
    // How flat the picture is over a box (x0, y0, x1, y1), 0 (detailed) .. 1 (flat); large letters
    // go only where it is flat. None: flat everywhere.
    std::function<double(double, double, double, double)> flatness;
};

// The passage's letters in order, each at the largest size (of largest, 0.8 largest, ... and last
// smallest) that finds a free place flat enough for it, scanning the frame row by row; stops when
// the smallest size finds none.
std::vector<PlacedGlyph> layout_packed(GlyphFont& font, std::u32string_view passage,
                                       const PackedParams& params, Host& host);

// True for the characters a layout never places (spaces, tabs, line breaks).
bool is_blank(char32_t c);

}  // namespace velq
