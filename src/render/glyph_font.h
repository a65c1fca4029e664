// A font opened for its glyph outlines: the Bezier curves of each character, its advance, the pair
// kerning and the line metrics, all in the font's own units (y up) and scaled by the caller. The
// Alphabet transform sets its text with it.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "segments/outline_path.h"

namespace velq {

struct LetterGlyph {
    OutlinePath path;    // font units, y up, origin on the baseline at the pen position
    double advance = 0;  // font units
    bool blank = true;   // no contour (a space, or a character the font lacks and draws as nothing)
};

class GlyphFont {
public:
    GlyphFont();
    ~GlyphFont();
    GlyphFont(GlyphFont&&) noexcept;
    GlyphFont& operator=(GlyphFont&&) noexcept;

    // Opens the font file; false when FreeType cannot read it or it has no scalable outlines.
    bool open(const std::string& file);

    double units_per_em() const;
    double ascender() const;   // above the baseline, positive
    double descender() const;  // below the baseline, positive
    // The outline of `c` (cached). A character the font lacks gives its missing-glyph box.
    const LetterGlyph& glyph(char32_t c);
    // The pair's kerning, to add to the first character's advance (font units, usually negative).
    double kerning(char32_t left, char32_t right);

private:
    struct Face;
    std::unique_ptr<Face> face_;
    std::map<char32_t, LetterGlyph> cache_;
};

}  // namespace velq
