#include "render/palette.h"

#include <algorithm>

namespace velq {

namespace {
ColourRecord unpack(std::uint32_t v) {
    return ColourRecord{double((v >> 16) & 255), double((v >> 8) & 255), double(v & 255), 255.0, 0, true};
}

double clamp255(double v) {
    return std::clamp(v, 0.0, 255.0);
}
}  // namespace

Palette::Palette(std::string name_, bool second, std::initializer_list<std::uint32_t> key_colours)
    : name(std::move(name_)), second_flag(second), pass_through(key_colours.size() == 0) {
    for (std::uint32_t k : key_colours) keys.push_back(unpack(k));
    if (keys.size() < 2) return;
    // Five steps per stretch; the last key colour itself is never an entry.
    const std::size_t n = (keys.size() - 1) * 5;
    entries.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t s = i / 5;
        const int f = int(i - 5 * s);
        const ColourRecord& a = keys[s];
        const ColourRecord& b = keys[s + 1];
        ColourRecord e;
        e.c0 = int(a.c0 + (b.c0 - a.c0) * f / 5);
        e.c1 = int(a.c1 + (b.c1 - a.c1) * f / 5);
        e.c2 = int(a.c2 + (b.c2 - a.c2) * f / 5);
        e.c3 = 255.0;
        e.index = 0;
        e.valid = true;
        entries.push_back(e);
    }
}

std::vector<Palette> make_palettes() {
    std::vector<Palette> p;
    p.reserve(11);
    p.emplace_back("Bright", true, std::initializer_list<std::uint32_t>{});
    p.emplace_back("Metal Normal", true,
                   std::initializer_list<std::uint32_t>{0x111922, 0x243D42, 0xCDC47F, 0xEDDCCC, 0xB8B3AD});
    p.emplace_back("Metal Deep Space", false,
                   std::initializer_list<std::uint32_t>{0x2A3439, 0x4B5458, 0x6B757A, 0x8C9DA0, 0xAEB8BF});
    p.emplace_back("Metallic Salt", true,
                   std::initializer_list<std::uint32_t>{0x9C3536, 0xECBF2C, 0x5BA44D, 0x5AB7AA, 0x524A9F});
    p.emplace_back("Metal Ice", false,
                   std::initializer_list<std::uint32_t>{0xD7FFD0, 0xABB1B6, 0x57636D, 0x2E3D49, 0xFFE1AD});
    p.emplace_back(
        "Pastel_1", true,
        std::initializer_list<std::uint32_t>{0xF09FC2, 0xF71941, 0x71C7FE, 0x675F61, 0xD86897, 0xFECB00});
    p.emplace_back(
        "Pastel_2", false,
        std::initializer_list<std::uint32_t>{0xC04CC5, 0xF8B1EA, 0x527AA6, 0x48415F, 0xB1D2EC, 0x702C74});
    p.emplace_back("Neon Cyber", true,
                   std::initializer_list<std::uint32_t>{0x00FFAA, 0x00B3A1, 0x007F80, 0x005B80, 0x001F3D});
    p.emplace_back("Florescent Stars", false,
                   std::initializer_list<std::uint32_t>{0xFF6E61, 0xFFB84D, 0x4EB7AC, 0x6A5B8B, 0xFFD54D});
    p.emplace_back("Astro", false,
                   std::initializer_list<std::uint32_t>{0x1E1E76, 0x4B4BC3, 0x707FF5, 0xA195F5, 0xF2A1F2});
    p.emplace_back(
        "Sorbet Sky", false,
        std::initializer_list<std::uint32_t>{0xE88914, 0xDD72A9, 0x106EE2, 0xDA5C21, 0xCCB9AC, 0xD4266D});
    return p;
}

ColourRecord map_colour(const Palette& palette, const ColourRecord& colour) {
    if (palette.pass_through || palette.entries.empty()) return colour;
    double best = 1e7;
    const ColourRecord* pick = &palette.entries.front();
    for (const ColourRecord& e : palette.entries) {
        const double d0 = colour.c0 - e.c0, d1 = colour.c1 - e.c1, d2 = colour.c2 - e.c2;
        const double d = d0 * d0 + d1 * d1 + d2 * d2;
        if (d < best) {
            best = d;
            pick = &e;
        }
    }
    return *pick;
}

namespace {
// The inverse of to_hsl for one channel.
double hue_to_channel(double p, double q, double t) {
    if (t < 0) t += 1;
    if (t > 1) t -= 1;
    if (t < 1.0 / 6) return p + (q - p) * 6 * t;
    if (t < 0.5) return q;
    if (t < 2.0 / 3) return p + (q - p) * (2.0 / 3 - t) * 6;
    return p;
}

std::uint8_t to_byte(double v) {
    return std::uint8_t(clamp255(v * 255 + 0.5));
}
}  // namespace

UBUFFER palette_preview(const Palette& palette) {
    constexpr int n = 200;
    UBUFFER out;
    if (!out.allocate(n, n, 4)) return out;
    if (palette.pass_through || palette.keys.size() < 2) {
        constexpr double l = 0.5;
        for (int y = 0; y < n; ++y) {
            const double s = double(y) / n;
            const double q = l < 0.5 ? l * (1 + s) : l + s - l * s, p = 2 * l - q;
            for (int x = 0; x < n; ++x) {
                const double h = double(x) / n;
                std::uint8_t* px = &out.at(x, y);
                px[0] = to_byte(hue_to_channel(p, q, h - 1.0 / 3));
                px[1] = to_byte(hue_to_channel(p, q, h));
                px[2] = to_byte(hue_to_channel(p, q, h + 1.0 / 3));
                px[3] = 255;
            }
        }
        return out;
    }
    const int steps = int(palette.keys.size() - 1) * 50;
    for (int x = 0; x < n; ++x) {
        const int step = x * steps / n, s = step / 50, f = step % 50;
        const ColourRecord& a = palette.keys[s];
        const ColourRecord& b = palette.keys[s + 1];
        const std::uint8_t bgr[3] = {std::uint8_t(a.c2 + (b.c2 - a.c2) * f / 50),
                                     std::uint8_t(a.c1 + (b.c1 - a.c1) * f / 50),
                                     std::uint8_t(a.c0 + (b.c0 - a.c0) * f / 50)};
        for (int y = 0; y < n; ++y) {
            std::uint8_t* px = &out.at(x, y);
            px[0] = bgr[0];
            px[1] = bgr[1];
            px[2] = bgr[2];
            px[3] = 255;
        }
    }
    return out;
}

void to_hsl(ColourRecord& c) {
    const double r = c.c0 / 255, g = c.c1 / 255, b = c.c2 / 255;
    const double mx = std::max({r, g, b}), mn = std::min({r, g, b});
    const double l = (mx + mn) / 2;
    double h = 0, s = 0;
    if (mx != mn) {
        const double d = mx - mn;
        s = l > 0.5 ? d / (2 - mx - mn) : d / (mx + mn);
        if (mx == r) {
            h = (g - b) / d + (b > g ? 6 : 0);
        } else if (mx == b) {
            h = (r - g) / d + 4;
        } else {
            h = (b - r) / d + 2;
        }
        h /= 6;
    }
    c.c0 = clamp255(h * 255);
    c.c1 = clamp255(s * 255);
    c.c2 = clamp255(l * 255);
}

}  // namespace velq
