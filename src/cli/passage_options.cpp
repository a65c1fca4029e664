#include "cli/passage_options.h"

#include <map>

#include "cli/pipeline.h"
#include "image/file_bytes.h"
#include "render/passage_shapes.h"

namespace velq::cli {

namespace {

// "I=VALUE" with a layer from 1 to 8.
std::pair<int, std::string> split(const std::string& option, const std::string& v, int layers) {
    const auto eq = v.find('=');
    int index = -1;
    if (eq != std::string::npos && eq > 0 && v.find_first_not_of("0123456789") == eq)
        index = std::stoi(v.substr(0, eq));
    usage_check(index < 1 || index >= layers ? option + " needs I=VALUE with a layer from 1 to " +
                                                   std::to_string(layers - 1) + ", not '" + v + "'"
                                             : "");
    return {index, v.substr(eq + 1)};
}

std::u16string passage_text(const std::string& option, const std::string& utf8) {
    std::u16string text;
    usage_check(utf8_to_utf16(utf8, text) ? "" : option + " is not UTF-8 text");
    return text;
}

}  // namespace

bool utf8_to_utf16(const std::string& in, std::u16string& out) {
    out.clear();
    for (std::size_t i = 0; i < in.size();) {
        const auto b = static_cast<unsigned char>(in[i]);
        const int n = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
        if (n == 0 || i + std::size_t(n) > in.size()) return false;
        char32_t c = n == 1 ? b : b & (0x7F >> n);
        for (int k = 1; k < n; ++k) {
            const auto t = static_cast<unsigned char>(in[i + std::size_t(k)]);
            if ((t >> 6) != 2) return false;
            c = (c << 6) | (t & 0x3F);
        }
        if (c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return false;
        if (c >= 0x10000) {
            out.push_back(char16_t(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(char16_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
        } else {
            out.push_back(char16_t(c));
        }
        i += std::size_t(n);
    }
    return true;
}

std::string utf16_to_utf8(const std::u16string& in) {
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

int apply_passage_options(const PassageOptions& o, Document& doc, Host& host) {
    const int layers = int(doc.layers.size());
    std::map<int, PassageChoice> choices;
    auto choice = [&](int i) -> PassageChoice& {
        auto it = choices.find(i);
        if (it == choices.end())
            it = choices.emplace(i, layer_passage_choice(doc.layers[std::size_t(i)])).first;
        return it->second;
    };
    for (const std::string& v : o.text) {
        const auto [i, text] = split("--passage", v, layers);
        choice(i).text = passage_text("--passage", text);
    }
    for (const std::string& v : o.file) {
        const auto [i, path] = split("--passage-file", v, layers);
        const FileBytes bytes = read_file_bytes(path);
        usage_check(bytes ? "" : "--passage-file cannot read '" + path + "'");
        choice(i).text =
            passage_text("--passage-file " + path, std::string(bytes.bytes.begin(), bytes.bytes.end()));
    }
    for (const std::string& v : o.font) {
        auto [i, spec] = split("--passage-font", v, layers);
        FontDescription& font = choice(i).font;
        font.weight = 0;
        font.italic = false;
        // Trailing ":bold" and ":italic", in either order.
        auto strip = [&spec](std::string_view tag) {
            const bool has = spec.size() > tag.size() && spec.ends_with(tag);
            if (has) spec.resize(spec.size() - tag.size());
            return has;
        };
        for (bool more = true; more;) {
            more = false;
            if (strip(":bold")) more = bool(font.weight = 700);
            if (strip(":italic")) more = font.italic = true;
        }
        usage_check(spec.empty() ? "--passage-font needs a face, not '" + v + "'" : "");
        font.face = spec;
    }
    for (const std::string& v : o.style) {
        const auto [i, name] = split("--passage-style", v, layers);
        const auto style = passage_style_from_name(name);
        usage_check(style ? "" : "unknown passage style '" + name + "'");
        choice(i).style = *style;
    }
    for (auto& [i, c] : choices) {
        const Layer& layer = doc.layers[std::size_t(i)];
        c.case_folding = layer.case_folding;
        c.keep_blanks = layer.keep_blanks;
        if (set_layer_passage(host, doc.layers[std::size_t(i)], c) != 0) return 1;
    }
    return 0;
}

}  // namespace velq::cli
