// Output size fields: Wid and Hgt in the chosen unit (pixel, inch, cm, meter) against the output
// size in pixels, with the window's truncations and formats ("%d" for pixels, "%0.4f" otherwise).
#pragma once

#include <string>

#include "app/settings.h"

namespace velq {

// Pixels of a length in the unit: trunc(v), trunc(v * dpi), trunc(v / 2.54 * dpi), trunc(v / 0.0254 * dpi).
int to_pixels(double value, Unit unit, int dpi);
// The length in the unit of a pixel count (the inverse, 0 when dpi is 0 for a physical unit).
double from_pixels(int pixels, Unit unit, int dpi);
// "%d" of trunc(v) for pixels, "%0.4f" otherwise; C locale.
std::string format_size(double value, Unit unit);
// "%0.4f" in the C locale.
std::string format_fixed4(double value);
// "%f" in the C locale.
std::string format_double(double value);
// atoi / atof in the C locale: leading number, 0 when there is none.
int parse_int(const std::string& text);
double parse_double(const std::string& text);

// The Wid field changed to `value`: keeps the picture's aspect, sets the output pixel size and the
// Hgt field. Returns false (nothing changes) without a picture or when the value is unchanged.
bool set_width_field(Settings& s, int picture_w, int picture_h, double value);
// The same for Hgt.
bool set_height_field(Settings& s, int picture_w, int picture_h, double value);
// After a DPI or Unit change: Wid and Hgt rewritten from the output pixel size in the current unit.
void rewrite_size_fields(Settings& s);

}  // namespace velq
