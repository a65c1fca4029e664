#include "cli/layer_options.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <string_view>

#include "render/animation_settings.h"

namespace velq::cli {

namespace {

bool to_int(std::string_view s, int& v) {
    const char* end = s.data() + s.size();
    auto [p, ec] = std::from_chars(s.data(), end, v);
    return ec == std::errc() && p == end;
}

using Handler = std::function<std::string(Layer&, std::string_view value, Document&, Host&)>;

struct Key {
    std::string_view name;
    bool takes_value;
    Handler apply;
    std::string_view hint = "N";  // what the help shows after "="
};

// Seconds: a finite, non-negative number in the C locale.
std::string seconds(std::string_view key, std::string_view value, double& out) {
    const char* end = value.data() + value.size();
    auto [p, ec] = std::from_chars(value.data(), end, out);
    if (ec != std::errc() || p != end || !(out >= 0) || out > 1e9)
        return std::string(key) + " needs seconds (0 or more), not '" + std::string(value) + "'";
    return {};
}

std::string number(std::string_view key, std::string_view value, int& out) {
    if (!to_int(value, out))
        return std::string(key) + " needs a whole number, not '" + std::string(value) + "'";
    return {};
}

const std::vector<Key>& keys() {
    static const std::vector<Key> table = {
        {"palette", true,
         [](Layer& l, std::string_view v, Document& doc, Host&) -> std::string {
             int index = -1;
             if (!to_int(v, index)) {
                 for (std::size_t i = 0; i < doc.palettes.size(); ++i)
                     if (doc.palettes[i].name == v) index = int(i);
             }
             if (index < 0 || index >= int(doc.palettes.size()))
                 return "unknown palette '" + std::string(v) + "'";
             l.palette = index;
             return {};
         }},
        {"trans", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             int t = 0;
             if (auto e = number("trans", v, t); !e.empty()) return e;
             l.transparency = std::clamp(t, 0, 255);
             l.apply_tone();
             return {};
         }},
        {"size", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             int s = 0;
             if (auto e = number("size", v, s); !e.empty()) return e;
             l.size = std::clamp(s, 0, 300);
             return {};
         }},
        {"bright", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             int b = 0;
             if (auto e = number("bright", v, b); !e.empty()) return e;
             l.brightness = std::max(b, 0);
             l.apply_tone();
             return {};
         }},
        {"random", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.random = true;
             return std::string();
         }},
        {"shuffle", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.shuffle = true;
             return std::string();
         }},
        {"invert", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.invert = true;
             return std::string();
         }},
        {"convert", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.convert = true;
             return std::string();
         }},
        {"hidden", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.shown = false;
             return std::string();
         }},
        // Passage walk: upper case drawn as lower case; blanks taking a circle each.
        {"casefold", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.case_folding = true;
             return std::string();
         }},
        {"keep-blanks", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.keep_blanks = true;
             return std::string();
         }},
        {"shown", false,
         [](Layer& l, std::string_view, Document&, Host&) {
             l.shown = true;
             return std::string();
         }},
        // Animation: the motion kind and scan order by name or number, when the first shape starts,
        // the seconds over which the shapes start, how long each moves, and the amplitude n.
        {"motion", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             const int i = motion_index(v);
             if (i < 0) return "unknown motion '" + std::string(v) + "'";
             l.anim.motion = i;
             return {};
         },
         "NAME"},
        {"scan", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             const int i = scan_index(v);
             if (i < 0) return "unknown scan order '" + std::string(v) + "'";
             l.anim.scan = i;
             return {};
         },
         "NAME"},
        {"start", true,
         [](Layer& l, std::string_view v, Document&, Host&) { return seconds("start", v, l.anim.timestamp); },
         "S"},
        {"duration", true,
         [](Layer& l, std::string_view v, Document&, Host&) {
             return seconds("duration", v, l.anim.duration);
         },
         "S"},
        {"move", true,
         [](Layer& l, std::string_view v, Document&, Host&) {
             return seconds("move", v, l.anim.motion_time);
         },
         "S"},
        {"amplitude", true,
         [](Layer& l, std::string_view v, Document&, Host&) -> std::string {
             int n = 0;
             if (auto e = number("amplitude", v, n); !e.empty()) return e;
             l.anim.count = std::max(n, 0);
             return {};
         }},
    };
    return table;
}

}  // namespace

std::string layer_option_help() {
    std::string h = "layer settings I:opt[,opt...] with opts";
    for (const Key& k : keys()) {
        h += ' ';
        h += k.name;
        if (k.takes_value) {
            h += '=';
            h += k.hint;
        }
    }
    return h;
}

std::string apply_layer_option(const std::string& text, Document& doc, Host& host) {
    const auto colon = text.find(':');
    int index = -1;
    if (colon == std::string::npos || !to_int(std::string_view(text).substr(0, colon), index))
        return "--layer needs I:opt[,opt...], not '" + text + "'";
    if (index < 0 || index >= int(doc.layers.size()))
        return "--layer index must be 0.." + std::to_string(doc.layers.size() - 1);
    Layer& layer = doc.layers[index];
    std::string_view rest = std::string_view(text).substr(colon + 1);
    while (!rest.empty()) {
        const auto comma = rest.find(',');
        const std::string_view item = rest.substr(0, comma);
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        const auto eq = item.find('=');
        const std::string_view name = item.substr(0, eq);
        const std::string_view value =
            eq == std::string_view::npos ? std::string_view() : item.substr(eq + 1);
        const auto& table = keys();
        auto it = std::find_if(table.begin(), table.end(), [&](const Key& k) { return k.name == name; });
        if (it == table.end()) return "unknown layer option '" + std::string(name) + "'";
        if (it->takes_value == (eq == std::string_view::npos))
            return it->takes_value ? std::string(name) + " needs a value"
                                   : std::string(name) + " takes no value";
        if (std::string e = it->apply(layer, value, doc, host); !e.empty()) return e;
    }
    return {};
}

}  // namespace velq::cli
