// Save: the rendered picture, stamped with its resolution, with the settings block after it. The
// whole file is written beside the target and renamed into place, so a failure never leaves a
// half-written file under the user's name, and saving again over the same name gives one picture
// with one block.
#pragma once

#include <string>

#include "app/document.h"

namespace velq {

// The Save command after its dialog: `name` as typed and the chosen entry of the save types (1 psd,
// 2 jpg, 3 png, 4 bmp), whose extension is added when the name has none of these; a name ending in
// "psd" is written as layers (app/psd_export). Needs a render
// ("Please render the shape first!"). Returns 0, or -1 after the message.
int save_result(Document& doc, Host& host, const std::string& name, int entry);

}  // namespace velq
