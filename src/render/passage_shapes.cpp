#include "render/passage_shapes.h"

#include <algorithm>
#include <atomic>
#include <cwctype>

#include "host/parallel.h"
#include "host/progress.h"
#include "render/glyph_outline.h"

namespace velq {

bool passage_skips(char16_t c, bool keep_blanks) {
    if (c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0xD800 && c < 0xE000)) return true;
    const bool blank = c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200B) || c == 0x2028 ||
                       c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000 || c == 0xFEFF;
    return blank && !keep_blanks;
}

std::u16string passage_characters(const PassageChoice& choice) {
    std::u16string out;
    for (char16_t c : choice.text) {
        if (passage_skips(c, choice.keep_blanks)) continue;
        if (choice.case_folding) c = char16_t(std::towlower(wint_t(c)));
        if (out.find(c) == std::u16string::npos) out.push_back(c);
    }
    return out;
}

int make_passage_shapes(Host& host, const PassageChoice& choice, std::vector<std::unique_ptr<SHAPE>>& out) {
    const std::u16string chars = passage_characters(choice);
    if (chars.empty()) {
        host.message("The passage has no characters to draw");
        return -1;
    }
    if (chars.size() > kMaxPassageCharacters) {
        host.message("The passage has " + std::to_string(chars.size()) +
                     " different characters; a layer takes at most " + std::to_string(kMaxPassageCharacters));
        return -1;
    }
    std::vector<GlyphOutline> outlines;
    double em = 0;
    if (load_glyph_outlines(host, choice.font, chars, passage_style_margin(choice.style), outlines, em) != 0)
        return -1;

    const int n = int(chars.size());
    std::vector<std::unique_ptr<SHAPE>> shapes(static_cast<std::size_t>(n));
    std::atomic<int> done{0};
    Progress progress(host, std::string(kAppName) + " (Drawing the passage...)", Progress::Raw{});
    // Characters are independent: one thread per block of them, each with its own planes.
    parallel_rows(
        0, n,
        [&](int begin, int end) {
            constexpr std::size_t side = SHAPE::kSide;
            std::vector<std::uint8_t> coverage(side * side), shade(side * side), opacity(side * side);
            for (int i = begin; i < end && !host.stopped(); ++i) {
                draw_glyph(outlines[std::size_t(i)], coverage);
                style_glyph(choice.style, coverage, em, shade, opacity);
                shapes[std::size_t(i)] = SHAPE::from_planes(host, shade, opacity, chars[std::size_t(i)]);
                ++done;
            }
        },
        1);
    if (host.stopped()) return -1;
    if (std::any_of(shapes.begin(), shapes.end(), [](const auto& s) { return !s; })) return -1;
    progress.update(done.load(), n);
    out = std::move(shapes);
    return 0;
}

int set_layer_passage(Host& host, Layer& layer, const PassageChoice& choice) {
    std::vector<std::unique_ptr<SHAPE>> shapes;
    if (make_passage_shapes(host, choice, shapes) != 0) return -1;
    layer.shapes = std::move(shapes);
    layer.passage = choice.text;
    layer.font = choice.font;
    layer.passage_style = choice.style;
    layer.case_folding = choice.case_folding;
    layer.keep_blanks = choice.keep_blanks;
    layer.passage_mode = true;
    layer.first_shape_only = false;
    layer.apply_tone();
    layer.rewind();
    return 0;
}

PassageChoice layer_passage_choice(const Layer& layer) {
    return {layer.passage, layer.font, layer.passage_style, layer.case_folding, layer.keep_blanks};
}

}  // namespace velq
