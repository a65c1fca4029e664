#include "generated.h"

#include <cmath>
#include <random>
#include <vector>

#include "support/pictures.h"

namespace velq::test {

std::string kind_name(PictureKind kind) {
    static const char* names[] = {"flat", "stripes", "noise", "blocks", "photo"};
    return names[int(kind)];
}

UBUFFER generated_picture(PictureKind kind, int w, int h, std::uint32_t seed) {
    std::mt19937 gen(seed);
    auto pack = [](int r, int g, int b, int a = 255) {
        auto c = [](int v) { return std::uint32_t(v < 0 ? 0 : v > 255 ? 255 : v); };
        return (c(a) << 24) | (c(r) << 16) | (c(g) << 8) | c(b);
    };
    switch (kind) {
        case PictureKind::Flat:
            return flat_picture(w, h, gen() | 0xFF000000u);
        case PictureKind::Stripes: {
            const int period = 2 + int(gen() % 9);
            const bool vertical = gen() & 1;
            return make_picture(w, h, [&](int x, int y) {
                const int i = (vertical ? x : y) / period;
                return i % 2 ? pack(200, 40, 40) : pack(30, 60, 220);
            });
        }
        case PictureKind::Noise:
            return noise_picture(w, h, seed);
        case PictureKind::Blocks: {
            const int bw = 2 + int(gen() % 12), bh = 2 + int(gen() % 12);
            std::vector<std::uint32_t> colours(64);
            for (auto& c : colours) c = (gen() & 0x00C0C0C0u) | 0xFF000000u;
            return make_picture(w, h, [&](int x, int y) {
                const std::uint32_t k = std::uint32_t((x / bw) * 73856093u ^ (y / bh) * 19349663u ^ seed);
                return colours[k % 64];
            });
        }
        case PictureKind::Photo: {
            // A few soft blobs over a gradient, posterised a little, with light grain.
            struct Blob {
                double x, y, r;
                int c[3];
            };
            std::vector<Blob> blobs(5);
            for (auto& b : blobs) {
                b.x = gen() % std::max(1, w);
                b.y = gen() % std::max(1, h);
                b.r = 4 + gen() % std::max(5, std::min(w, h) / 2);
                for (int& c : b.c) c = int(gen() % 256);
            }
            return make_picture(w, h, [&](int x, int y) {
                double col[3] = {x * 120.0 / std::max(1, w), 90.0, y * 150.0 / std::max(1, h)};
                for (const Blob& b : blobs) {
                    const double d = std::hypot(x - b.x, y - b.y) / b.r;
                    const double t = d < 1 ? 1 - d * d : 0;
                    for (int c = 0; c < 3; ++c) col[c] = col[c] * (1 - t) + b.c[c] * t;
                }
                const int grain = int(gen() % 7) - 3;
                auto q = [&](double v) { return (int(v) / 12) * 12 + grain; };
                return pack(q(col[0]), q(col[1]), q(col[2]));
            });
        }
    }
    return UBUFFER();
}

}  // namespace velq::test
