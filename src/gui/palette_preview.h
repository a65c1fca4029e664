// The picture shown under the palette combobox: a hue-saturation field for the pass-through palette,
// vertical bands through the key colours for a gradient palette.
#pragma once

#include <QImage>

#include "render/palette.h"

namespace velq::gui {

// 200 x 200. Pass-through: pixel (x, y) has hue x / 200, saturation y / 200, lightness 0.5.
// Gradient: (keys - 1) * 50 steps across the 200 columns, linear between neighbouring key colours.
QImage palette_preview_image(const Palette& palette);

}  // namespace velq::gui
