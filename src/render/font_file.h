// Finding a font file by face name: the one place that asks the system's font configuration.
#pragma once

#include <string>

namespace velq {

// The file of the font that the system offers for `face` (its nearest match), or empty when none.
std::string find_font_file(const std::string& face);

}  // namespace velq
