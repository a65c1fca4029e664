// UTF-8 text as code points and as UTF-16, for the texts the program draws or stores: logo lines,
// passages, the Alphabet's text, PSD layer names.
#pragma once

#include <string>
#include <string_view>

namespace velq {

// Code points of `text`; a byte that does not start a well-formed sequence is taken as Latin-1, so
// text from a legacy source still shows.
std::u32string decode_utf8(std::string_view text);

// Code points of `text`, or false when it is not well-formed UTF-8 (bad sequences, surrogates, values
// beyond U+10FFFF).
bool decode_utf8_strict(std::string_view text, std::u32string& out);

// UTF-16 of code points (pairs for those above U+FFFF).
std::u16string utf16_of(std::u32string_view text);

// UTF-8 of UTF-16 text; an unpaired surrogate becomes U+FFFD.
std::string utf8_of(std::u16string_view text);

}  // namespace velq
