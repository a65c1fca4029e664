// A layer with straight alpha recovered from the same layer drawn twice, over opaque black and over
// opaque white. Any drawing made of blends that map what lies beneath, o, to A + B o (the renderer's
// formula, the logo's blend) gives A over black and A + 255 B over white: its layer is "over" with
// alpha 1 - B and colour A / (1 - B). Used where the drawing code has no layer mode of its own (the
// animation's frames).
#pragma once

#include "image/buffer.h"

namespace velq {

// `out` gets the layer (BGRA, straight alpha); it may be `over_black` itself. The three channels'
// B are averaged (they differ only by rounding); where both drawings agree the layer is opaque and
// takes their bytes exactly. A drawing that is not such a blend everywhere (one that brightens what
// lies beneath, a glow above 100 percent brightness, or whose values clip) has no "over" layer there:
// given the opaque picture the layer will lie on (`beneath`) and the drawing made on it (`drawn`),
// every pixel where the layer laid on `beneath` would miss `drawn` by more than 1 becomes opaque with
// `drawn`'s bytes. False when the pictures are not BGRA pictures of one size.
bool matte_from_black_and_white(const UBUFFER& over_black, const UBUFFER& over_white, UBUFFER& out,
                                const UBUFFER* beneath = nullptr, const UBUFFER* drawn = nullptr);

}  // namespace velq
