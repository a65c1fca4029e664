// The --layer option: "I:opt[,opt...]" sets fields of layer I, the way the window's layer list,
// Trans/Size/Bright edits, palette combobox and check boxes do.
#pragma once

#include <string>

#include "app/document.h"

namespace velq::cli {

// Applies one --layer value; returns an explanation of a bad value, empty on success.
std::string apply_layer_option(const std::string& text, Document& doc, Host& host);
// The help text listing every option key.
std::string layer_option_help();

}  // namespace velq::cli
