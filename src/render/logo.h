// The logo stamped over every rendered picture: a small picture (a drawn line of text or a picture
// file) kept at 3 percent of the picture's height and blended with its own transparency.
#pragma once

#include <string>
#include <string_view>

#include "host/host.h"
#include "image/buffer.h"

namespace velq {

// Paints `logo` (BGRA) onto `target` centred at the fractions (fx, fy) of its width and height, h =
// 3 percent of the target's height high, pushed inside at the edges (the last column or row then falls
// one pixel past the edge and is clipped). A logo that comes out below 1 pixel is not painted. 0, or -1
// with "Failed to allocate buffer in render_logo()". With `straight_alpha` the target is a
// transparent layer of its own: the logo's pixels go there with straight alpha, so that laid over a
// picture with "over" they give what the blend gives on it.
int render_logo(Host& host, UBUFFER& target, const UBUFFER& logo, int transparency, double fx, double fy,
                bool straight_alpha = false);

// Draws one line of text in white, its coverage as alpha, in the font that the system gives for
// `face`, and crops it to its drawn pixels. 0, or -1 with a message (the logo is left as it was).
int draw_text_logo(Host& host, std::string_view text_utf8, const std::string& face, UBUFFER& logo);

}  // namespace velq
