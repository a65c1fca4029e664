// The logo dialog's OK: a line of text drawn in a chosen face, or a picture file, becomes the
// Document's logo with its transparency. A failed choice keeps the previous logo.
#pragma once

#include <string>

#include "app/document.h"
#include "app/logo_source.h"

namespace velq {

// 0 when the logo was replaced (the Document keeps the choice, a picture's path made absolute); -1
// after the message ("Please select a valid image path!", "Failed to
// read logo image", or the text drawing's own).
int choose_logo(Document& doc, Host& host, const LogoChoice& choice);

}  // namespace velq
