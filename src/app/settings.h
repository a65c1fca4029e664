// The operation parameters: the main window's fields, the tool's options and the settings block all
// read and write this one struct. Defaults are those of a new window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "render/drawing.h"

namespace velq {

enum class Unit { Pixel = 0, Inch = 1, Cm = 2, Meter = 3 };

// The Alphabet transform's text, font and layout. Empty texts and zeros mean the built-in defaults.
struct AlphabetSettings {
    std::string text;                   // UTF-8 passage; empty: kDefaultAlphabetText
    std::string face;                   // font face; empty: kDefaultAlphabetFace in bold
    bool bold = false, italic = false;  // with a named face
    int layout = 0;                     // 0 Lines, 1 Packed, 2 Inverse
    int rows = 0;                       // rows of the Lines layout; 0: from Max

    bool operator==(const AlphabetSettings&) const = default;
};

inline constexpr const char* kDefaultAlphabetText = "VELQUINOGRAPH PAINTS WITH LETTERS & CIRCLES.";
inline constexpr const char* kDefaultAlphabetFace = "DejaVu Sans";
// What the settings block can keep: text and face bytes (one less than the field), rows.
inline constexpr std::size_t kAlphabetTextLimit = 2048, kAlphabetFaceLimit = 256;
inline constexpr int kAlphabetRowsLimit = 1000;

struct Settings {
    Unit unit = Unit::Pixel;            // unit of Wid and Hgt
    int dpi = 96;                       // dots per inch for unit conversion; set from the picture
    int interpolation = 5;              // INT: enlargement factor of the working picture, 1..50
    int blur = 1;                       // BLU: blur radius before segmentation, 0..10 (kernel BLU x INT)
    int threshold = 20;                 // THR: colour threshold of segments and brush sizes
    int gap = 1;                        // GAP: pixels between circles
    double max_size = 0.02;             // Max: largest circle, fraction of the larger picture side
    double min_size = 0.0005;           // Min: smallest circle, same scale
    int dilation = 0;                   // DIL: dilation of segments
    int k_mean = 2;                     // K-Mn: colours of the K-mean filter, 2 and up
    int global_brightness = 0;          // added to every tinted shade
    int transform_mode = 0;             // 0 Normal, 1 Vectorize, 2 Alphabet
    int filter_kind = 0;                // 0..8, see FilterKind
    double impact_x = 0, impact_y = 0;  // Broken glass's impact, fractions of the picture; 0 = seeded
    // The seed the last random filter drew, replayed when a result is remade from its settings.
    std::optional<std::uint32_t> filter_seed;
    std::int64_t memory_limit = 15000000;  // bytes of the enlarged working picture
    int out_width = 0, out_height = 0;     // output size in pixels (the render's size)
    double wid = 0, hgt = 0;               // Wid and Hgt as shown, in the unit
    int video_width = 640, video_height = 480;
    Drawing drawing;  // the spike drawing or cell picture last chosen; kind None: the plain render
    AlphabetSettings alphabet;
};

// The four memory-limit choices of the menu.
inline constexpr std::int64_t kMemoryLimits[4] = {15000000, 30000000, 45000000, 60000000};

}  // namespace velq
