#include "cli/passage_options.h"

#include <map>

#include "cli/pipeline.h"
#include "host/utf8.h"
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
    std::u32string points;
    usage_check(decode_utf8_strict(utf8, points) ? "" : option + " is not UTF-8 text");
    return utf16_of(points);
}

}  // namespace

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
        auto parts = split("--passage-font", v, layers);
        const int i = parts.first;
        std::string& face = parts.second;
        FontDescription& font = choice(i).font;
        font.weight = 0;
        font.italic = false;
        // Trailing ":bold" and ":italic", in either order.
        auto strip = [&face](std::string_view tag) {
            const bool has = face.size() > tag.size() && face.ends_with(tag);
            if (has) face.resize(face.size() - tag.size());
            return has;
        };
        for (bool more = true; more;) {
            more = false;
            if (strip(":bold")) more = bool(font.weight = 700);
            if (strip(":italic")) more = font.italic = true;
        }
        usage_check(face.empty() ? "--passage-font needs a face, not '" + v + "'" : "");
        font.face = face;
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
