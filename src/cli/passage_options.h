// The passage options: --passage I=TEXT, --passage-file I=PATH, --passage-font I=FACE[:bold][:italic]
// and --passage-style I=NAME draw layer I's shapes from the characters of a text.
#pragma once

#include <string>
#include <vector>

#include "app/document.h"

namespace velq::cli {

struct PassageOptions {
    std::vector<std::string> text, file, font, style;  // I=VALUE each
};

// Gives every layer named by an option its passage shapes, over what the layer already has (a
// passage from --settings keeps its text when only the font or style is given). Bad values are usage
// errors; a passage that cannot be drawn is reported by the system and gives 1.
int apply_passage_options(const PassageOptions& o, Document& doc, Host& host);

}  // namespace velq::cli
