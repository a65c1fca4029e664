// Finding a font file by face name: the one place that asks the system's font configuration.
#pragma once

#include <string>

namespace velq {

// How the face is asked for. `exact` refuses a stand-in: the match must carry the face's own family
// name (letter case and spaces aside).
struct FontStyle {
    bool bold = false;
    bool italic = false;
    bool exact = false;
};

// The file of the font that the system offers for `face` (its nearest match), or empty when none.
std::string find_font_file(const std::string& face, const FontStyle& style = {});

}  // namespace velq
