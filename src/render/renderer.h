// The shaped-image renderer: which circles a layer paints and in what colour (its placements), and
// the painting of placements into a picture over the background. The Document-level render, which
// goes over all layers and adds the logo, is app/render_op.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/host.h"
#include "host/progress.h"
#include "host/random.h"
#include "image/buffer.h"
#include "render/layer.h"
#include "render/palette.h"
#include "render/placement.h"
#include "segments/circle.h"
#include "segments/segment.h"

namespace velq {

// The colour options of a layer applied in their order: Random (only when `random` is given), then
// Shuffle, Invert and Convert.
void apply_colour_options(const Layer& layer, ColourRecord& colour, Random* random);

// The circles that a layer paints, in painting order: every circle of every enabled segment (each
// segment's display colour is recomputed and stored) when there are segments, else the free circle
// list with each circle's own colour. Centres become pixels of a width x height picture, radii are
// multiplied by radius_scale (output size over working size) and then by the layer's size percent.
// The layer's shape cursor is rewound and stepped once per circle, and its shapes keep their stencils
// on the layer's budget. A hidden layer yields none.
std::vector<Placement> make_placements(Host& host, Layer& layer, const std::vector<Palette>& palettes,
                                       std::vector<Segment>& segments, std::span<const Circle> circles,
                                       int width, int height, double radius_scale, Random& random);

// Paints one placement (a circle in pixels with its paint colour, transparency, brightness and shape)
// into a 4-channel buffer with the global brightness; 0, or -1 when its stencil could not be had.
int fill_shape(Host& host, const Circle& placement, UBUFFER& buffer, int global_brightness);

// Every pixel becomes the background colour (red in the low byte) with alpha 255.
void fill_background(UBUFFER& buffer, std::uint32_t background);

// Paints placements in order, all of them white-tinted when `white` (the first layer's grey shading),
// on `threads` threads (0: one per core) with the same bytes whatever their number. The stop flag is
// read before every placement; `progress` (when given) follows the share of the picture painted.
// False when the stop flag ended the painting.
bool paint_placements(Host& host, std::span<const Placement> placements, UBUFFER& buffer,
                      int global_brightness, bool white, Progress* progress, int threads = 0);
// The same in the painter's layer mode, into a picture of one layer alone (transparent where
// nothing is painted): laid over the picture beneath with "over", it gives what paint_placements
// paints on that picture.
bool paint_layer_alone(Host& host, std::span<const Placement> placements, UBUFFER& buffer,
                       int global_brightness, bool white, Progress* progress, int threads = 0);
// The same for circles in pixels (animation frames): the bytes of fill_shape on each in turn.
bool paint_circles(Host& host, std::span<const Circle> circles, UBUFFER& buffer, int global_brightness,
                   Progress* progress = nullptr, int threads = 0);

}  // namespace velq
