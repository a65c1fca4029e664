#include <algorithm>
#include <limits>

#include "render/text_layout.h"

namespace velq {

namespace {

// A run of letters set as one piece: a word, or part of a word too long for a row. Measured in font
// units from the ink's left edge to its right edge.
struct Run {
    std::u32string text;
    std::vector<double> pens;  // pen position of each letter, font units from the run's origin
    double left = 0, right = 0;
    double width() const { return right - left; }
};

Run measure(GlyphFont& font, std::u32string text) {
    Run run;
    run.text = std::move(text);
    double pen = 0;
    run.left = std::numeric_limits<double>::max();
    run.right = std::numeric_limits<double>::lowest();
    for (std::size_t k = 0; k < run.text.size(); ++k) {
        const LetterGlyph& g = font.glyph(run.text[k]);
        run.pens.push_back(pen);
        // The control points hold the curves, and fonts put points at the curves' extremes.
        for (const PathCommand& c : g.path)
            for (int i = 0; i < point_count(c.op); ++i) {
                run.left = std::min(run.left, pen + c.p[i].x);
                run.right = std::max(run.right, pen + c.p[i].x);
            }
        pen += g.advance;
        if (k + 1 < run.text.size()) pen += font.kerning(run.text[k], run.text[k + 1]);
    }
    if (run.left > run.right) run.left = run.right = 0;
    return run;
}

std::vector<std::u32string> words_of(std::u32string_view passage) {
    std::vector<std::u32string> words;
    std::u32string word;
    for (char32_t c : passage) {
        if (!is_blank(c)) {
            word.push_back(c);
        } else if (!word.empty()) {
            words.push_back(std::move(word));
            word.clear();
        }
    }
    if (!word.empty()) words.push_back(std::move(word));
    return words;
}

// A word wider than `limit` cut between letters into runs that fit (at least one letter each).
std::vector<Run> split_word(GlyphFont& font, const std::u32string& word, double limit) {
    std::vector<Run> runs;
    std::size_t start = 0;
    while (start < word.size()) {
        std::size_t end = start + 1;
        while (end < word.size() && measure(font, word.substr(start, end + 1 - start)).width() <= limit)
            ++end;
        runs.push_back(measure(font, word.substr(start, end - start)));
        start = end;
    }
    return runs;
}

}  // namespace

bool is_blank(char32_t c) {
    return c == U' ' || c == U'\t' || c == U'\n' || c == U'\r' || c == U'\v' || c == U'\f' || c == 0xA0 ||
           c == 0x3000;
}

std::vector<PlacedGlyph> layout_lines(GlyphFont& font, std::u32string_view passage, const LinesParams& params,
                                      Host& host) {
    std::vector<PlacedGlyph> out;
    const std::vector<std::u32string> words = words_of(passage);
    const int rows = std::max(1, params.rows);
    const double row_height = (params.height - 2 * params.margin) / rows;
    const double available = params.width - 2 * params.margin;
    const double scale = row_height / (font.ascender() + font.descender());
    // A letter needs a few pixels to be drawn at all.
    if (words.empty() || !(scale * font.units_per_em() >= 4) || available <= 0) return out;
    const double limit = available / scale;  // the row's width in font units
    const double space = font.glyph(U' ').advance;

    std::size_t next_word = 0;
    std::vector<Run> pending;  // runs of a split word still to set
    const auto next_run = [&]() -> Run {
        if (pending.empty()) {
            const std::u32string& word = words[next_word++ % words.size()];
            Run run = measure(font, word);
            if (run.width() <= limit) return run;
            pending = split_word(font, word, limit);
            std::reverse(pending.begin(), pending.end());
        }
        Run run = std::move(pending.back());
        pending.pop_back();
        return run;
    };
    Run carried = next_run();
    for (int r = 0; r < rows && !host.stopped(); ++r) {
        std::vector<Run> row{std::move(carried)};
        double used = row.front().width();
        for (;;) {
            Run run = next_run();
            if (used + space + run.width() > limit) {
                carried = std::move(run);
                break;
            }
            used += space + run.width();
            row.push_back(std::move(run));
        }
        // The row is stretched to the width: word gaps grow up to three spaces, what is left spreads
        // evenly between the letters.
        const double extra = limit - used;
        std::size_t letter_gaps = 0;
        for (const Run& run : row) letter_gaps += run.text.size() - 1;
        const std::size_t word_gaps = row.size() - 1;
        double word_extra = word_gaps ? extra / double(word_gaps) : 0;
        if (letter_gaps > 0) word_extra = std::min(word_extra, 2 * space);
        const double letter_extra =
            letter_gaps ? (extra - word_extra * double(word_gaps)) / double(letter_gaps) : 0;
        const double baseline = params.margin + r * row_height + font.ascender() * scale;
        double x = 0;  // font units from the row's left edge
        for (const Run& run : row) {
            const double origin = x - run.left;
            for (std::size_t k = 0; k < run.text.size(); ++k) {
                const LetterGlyph& g = font.glyph(run.text[k]);
                if (g.blank) continue;
                const double pen = origin + run.pens[k] + double(k) * letter_extra;
                out.push_back(
                    {run.text[k], placed_path(g.path, scale, -scale, params.margin + pen * scale, baseline)});
            }
            x += run.width() + double(run.text.size() - 1) * letter_extra + space + word_extra;
        }
    }
    return out;
}

}  // namespace velq
