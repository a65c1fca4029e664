// The logo dialog's OK: a line of text drawn in a chosen face, or a picture file, becomes the
// Document's logo with its transparency. A failed choice keeps the previous logo.
#pragma once

#include <string>

#include "app/document.h"

namespace velq {

struct LogoChoice {
    bool text = true;                  // "Text logo"; otherwise "Image logo"
    std::string text_line;             // the text edit
    std::string face = "Courier New";  // the chosen font's face
    std::string path;                  // the picture file of an image logo
    int transparency = 255;            // the "Transparency" edit; clamped to 0..255
};

// 0 when the logo was replaced; -1 after the message ("Please select a valid image path!", "Failed to
// read logo image", or the text drawing's own).
int choose_logo(Document& doc, Host& host, const LogoChoice& choice);

}  // namespace velq
