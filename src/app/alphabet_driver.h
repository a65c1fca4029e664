// Mode 2 of the transform driver: the Alphabet transform. The passage is set over the picture in the
// chosen font and layout; every letter becomes a Segment (its outline and counters) packed with
// circles in the picture's colours. Inverse packs the picture around the letters instead.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "app/document.h"
#include "render/text_layout.h"

namespace velq {

enum class AlphabetLayout { Lines = 0, Packed = 1, Inverse = 2 };

// Rows of the Lines layout: the setting, or max(2, round(1 / (6 Max))) when it is 0.
int alphabet_rows(const Settings& settings);

// Sets the Alphabet text over the Document's filtered picture. Nothing, after the system's message,
// when the text is blank, the font cannot be found or the picture is too small for one letter; the
// Document is not touched, so the previous result stays.
std::optional<std::vector<PlacedGlyph>> set_alphabet_text(const Document& doc, Host& host);

// Replaces the Document's Segments, boundary pieces and label map with the letters (or, for Inverse,
// the picture around them) and packs them. Returns the number of circles (after a Stop, those
// packed so far); nothing when Min and Max leave no room.
std::optional<std::size_t> do_alphabet(Document& doc, Host& host, const std::vector<PlacedGlyph>& glyphs);

}  // namespace velq
