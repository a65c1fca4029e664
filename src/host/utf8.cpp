#include "host/utf8.h"

namespace velq {

namespace {

// The length of the sequence that `lead` starts (1-4), or 0 when it starts none.
int sequence_length(unsigned char lead) {
    return lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
}

// Reads the sequence at `i`; false when it is cut short or a continuation byte is wrong.
bool read_sequence(std::string_view s, std::size_t i, int n, char32_t& c) {
    if (n == 0 || i + std::size_t(n) > s.size()) return false;
    const auto lead = static_cast<unsigned char>(s[i]);
    c = n == 1 ? lead : lead & (0x7F >> n);
    for (int k = 1; k < n; ++k) {
        const auto t = static_cast<unsigned char>(s[i + std::size_t(k)]);
        if ((t >> 6) != 2) return false;
        c = (c << 6) | (t & 0x3F);
    }
    return true;
}

}  // namespace

std::u32string decode_utf8(std::string_view text) {
    std::u32string out;
    for (std::size_t i = 0; i < text.size();) {
        const int n = sequence_length(static_cast<unsigned char>(text[i]));
        char32_t c = 0;
        if (!read_sequence(text, i, n, c)) {
            out.push_back(static_cast<unsigned char>(text[i]));
            ++i;
            continue;
        }
        out.push_back(c);
        i += std::size_t(n);
    }
    return out;
}

bool decode_utf8_strict(std::string_view text, std::u32string& out) {
    out.clear();
    for (std::size_t i = 0; i < text.size();) {
        const int n = sequence_length(static_cast<unsigned char>(text[i]));
        char32_t c = 0;
        if (!read_sequence(text, i, n, c) || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return false;
        out.push_back(c);
        i += std::size_t(n);
    }
    return true;
}

std::u16string utf16_of(std::u32string_view text) {
    std::u16string out;
    for (char32_t c : text) {
        if (c >= 0x10000) {
            out.push_back(char16_t(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(char16_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
        } else {
            out.push_back(char16_t(c));
        }
    }
    return out;
}

std::string utf8_of(std::u16string_view in) {
    std::string out;
    for (std::size_t i = 0; i < in.size(); ++i) {
        char32_t c = in[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < in.size() && in[i + 1] >= 0xDC00 && in[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (in[++i] - 0xDC00);
        else if (c >= 0xD800 && c < 0xE000)
            c = 0xFFFD;
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

}  // namespace velq
