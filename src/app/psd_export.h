// The result as a layered picture file: the background colour, each layer that holds shapes alone
// (bottom first, named "Ly0", "Ly1", ... as in the layer list, hidden ones with their eye off),
// then the logo; the merged picture is the render itself. A result turned into a drawing has the
// drawing (over the background colour) as its one layer between the background and the logo.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "app/document.h"

namespace velq {

// Writes the render to `path` with `block` appended, through a temporary file renamed into place.
// Sides above 30000 pixels are refused before anything is written. 0, or -1 after the message (no
// message when stopped); the target is untouched unless 0.
int save_psd(Document& doc, Host& host, const std::string& path, std::span<const std::uint8_t> block);

}  // namespace velq
