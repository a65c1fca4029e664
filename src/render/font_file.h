// Finding a font file by face name: the one place that asks the system's font configuration.
#pragma once

#include <string>

namespace velq {

// The font the system offers for a face, bold and italic asked for.
struct FontMatch {
    std::string file;     // empty when the system has no font at all
    int index = 0;        // face index inside the file
    bool named = false;   // the face is the one asked for, or a font the system puts in its place
    bool bold = false;    // the file is already bold (else bold must be drawn by widening)
    bool italic = false;  // the file already slants (else italic must be drawn by shearing)
};

// The font the system matches for `face`; a face the system does not know still gets its nearest
// fallback (named false).
FontMatch find_font(const std::string& face, bool bold = false, bool italic = false);

// The file of the font that the system offers for `face` (its nearest match), or empty when none.
inline std::string find_font_file(const std::string& face) {
    return find_font(face).file;
}

}  // namespace velq
