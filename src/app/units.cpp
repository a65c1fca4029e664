#include "app/units.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "host/saturate.h"

namespace velq {

namespace {

std::string c_format(const char* fmt, double v) {
    // snprintf follows LC_NUMERIC; the fields are always written with a dot.
    char buf[64];
    std::snprintf(buf, sizeof buf, fmt, v);
    std::string s(buf);
    const char* point = std::localeconv()->decimal_point;
    if (point && point[0] != '.' && point[0] != 0) std::replace(s.begin(), s.end(), point[0], '.');
    return s;
}
}  // namespace

int to_pixels(double value, Unit unit, int dpi) {
    switch (unit) {
        case Unit::Pixel:
            return saturate_int(value);
        case Unit::Inch:
            return saturate_int(value * dpi);
        case Unit::Cm:
            return saturate_int(value / 2.54 * dpi);
        case Unit::Meter:
            return saturate_int(value / 0.0254 * dpi);
    }
    return 0;
}

double from_pixels(int pixels, Unit unit, int dpi) {
    if (unit == Unit::Pixel) return pixels;
    if (dpi == 0) return 0;
    const double inches = double(pixels) / dpi;
    switch (unit) {
        case Unit::Inch:
            return inches;
        case Unit::Cm:
            return inches * 2.54;
        case Unit::Meter:
            return inches * 0.0254;
        default:
            return pixels;
    }
}

std::string format_size(double value, Unit unit) {
    if (unit == Unit::Pixel) return std::to_string(saturate_int(value));
    return format_fixed4(value);
}

std::string format_fixed4(double value) {
    return c_format("%0.4f", value);
}
std::string format_double(double value) {
    return c_format("%f", value);
}

int parse_int(const std::string& text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    long long v = 0;
    if (!(in >> v)) return 0;
    return int(std::clamp<long long>(v, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

double parse_double(const std::string& text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    double v = 0;
    if (!(in >> v)) return 0;
    return v;
}

bool set_width_field(Settings& s, int picture_w, int picture_h, double value) {
    if (picture_w <= 0 || picture_h <= 0) return false;
    const double w = std::max(0.0, value);
    if (w == s.wid) return false;
    const double h = double(picture_h) * w / picture_w;
    s.wid = w;
    s.hgt = parse_double(format_size(h, s.unit));  // the field holds what it shows
    s.out_width = to_pixels(w, s.unit, s.dpi);
    s.out_height = to_pixels(h, s.unit, s.dpi);
    return true;
}

bool set_height_field(Settings& s, int picture_w, int picture_h, double value) {
    if (picture_w <= 0 || picture_h <= 0) return false;
    const double h = std::max(0.0, value);
    if (h == s.hgt) return false;
    const double w = double(picture_w) * h / picture_h;
    s.wid = parse_double(format_size(w, s.unit));  // the field holds what it shows
    s.hgt = h;
    s.out_width = to_pixels(w, s.unit, s.dpi);
    s.out_height = to_pixels(h, s.unit, s.dpi);
    return true;
}

void rewrite_size_fields(Settings& s) {
    s.wid = from_pixels(s.out_width, s.unit, s.dpi);
    s.hgt = from_pixels(s.out_height, s.unit, s.dpi);
}

}  // namespace velq
