// What a logo is made from, as the logo dialog and the tool's options give it: a line of text drawn
// in a chosen face, or a picture file, with the logo's transparency. The Document keeps it beside the
// logo picture so that a saved result can make the logo again.
#pragma once

#include <string>

namespace velq {

struct LogoChoice {
    bool text = true;                  // "Text logo"; otherwise "Image logo"
    std::string text_line;             // the text edit
    std::string face = "Courier New";  // the chosen font's face
    std::string path;                  // the picture file of an image logo
    int transparency = 255;            // the "Transparency" edit; clamped to 0..255

    bool operator==(const LogoChoice&) const = default;
};

}  // namespace velq
