// Passage characters as shapes: the distinct characters of a layer's passage, each drawn in the
// passage font and style into its own shape, so that consecutive circles of the layer take
// consecutive characters of the passage.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/host.h"
#include "render/layer.h"
#include "render/passage_style.h"

namespace velq {

// More distinct characters than this in one layer are refused: each costs about 2 MiB.
inline constexpr std::size_t kMaxPassageCharacters = 128;

// What the passage dialog and the tool choose for a layer.
struct PassageChoice {
    std::u16string text;
    FontDescription font;
    PassageStyle style = PassageStyle::Flat;
    bool case_folding = false;
    bool keep_blanks = false;
};

// True for code units the walk always passes over (controls, halves of characters beyond 16 bits),
// and, unless blanks are kept, for blanks.
bool passage_skips(char16_t c, bool keep_blanks);

// The distinct characters that `choice` draws, in the order they first appear, case-folded when asked.
std::u16string passage_characters(const PassageChoice& choice);

// One shape per distinct character, built in parallel; the same choice gives the same planes on any
// machine. -1 with the reason (an empty passage, too many characters, a font that cannot be loaded).
int make_passage_shapes(Host& host, const PassageChoice& choice, std::vector<std::unique_ptr<SHAPE>>& out);

// Builds the shapes of `choice` and, when that succeeds, gives them to the layer with the passage,
// font, style and flags, in passage mode and toned; on failure the layer is left as it was.
int set_layer_passage(Host& host, Layer& layer, const PassageChoice& choice);

// The layer's own passage choice (for rebuilding its shapes or reopening the dialog).
PassageChoice layer_passage_choice(const Layer& layer);

}  // namespace velq
