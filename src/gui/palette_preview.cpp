#include "gui/palette_preview.h"

#include <algorithm>
#include <cmath>

namespace velq::gui {

namespace {

constexpr int kSide = 200;

double hue_part(double p, double q, double t) {
    if (t < 0) t += 1;
    if (t > 1) t -= 1;
    if (t < 1.0 / 6) return p + (q - p) * 6 * t;
    if (t < 0.5) return q;
    if (t < 2.0 / 3) return p + (q - p) * (2.0 / 3 - t) * 6;
    return p;
}

QRgb from_hsl(double h, double s, double l) {
    double r = l, g = l, b = l;
    if (s > 0) {
        const double q = l < 0.5 ? l * (1 + s) : l + s - l * s;
        const double p = 2 * l - q;
        r = hue_part(p, q, h + 1.0 / 3);
        g = hue_part(p, q, h);
        b = hue_part(p, q, h - 1.0 / 3);
    }
    auto byte = [](double v) { return std::clamp(int(v * 255), 0, 255); };
    return qRgb(byte(r), byte(g), byte(b));
}

}  // namespace

QImage palette_preview_image(const Palette& palette) {
    QImage img(kSide, kSide, QImage::Format_RGB32);
    if (palette.pass_through || palette.keys.size() < 2) {
        for (int y = 0; y < kSide; ++y) {
            auto* line = reinterpret_cast<QRgb*>(img.scanLine(y));
            for (int x = 0; x < kSide; ++x) line[x] = from_hsl(double(x) / kSide, double(y) / kSide, 0.5);
        }
        return img;
    }
    const int steps = int(palette.keys.size() - 1) * 50;
    QRgb column[kSide];
    for (int x = 0; x < kSide; ++x) {
        const int s = x * steps / kSide;
        const int k = s / 50;
        const double f = (s % 50) / 50.0;
        const ColourRecord& a = palette.keys[k];
        const ColourRecord& b = palette.keys[k + 1];
        column[x] =
            qRgb(int(a.c0 + (b.c0 - a.c0) * f), int(a.c1 + (b.c1 - a.c1) * f), int(a.c2 + (b.c2 - a.c2) * f));
    }
    for (int y = 0; y < kSide; ++y) std::copy_n(column, kSide, reinterpret_cast<QRgb*>(img.scanLine(y)));
    return img;
}

}  // namespace velq::gui
