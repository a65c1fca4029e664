// Pictures for the transform benchmarks, made here so that every run measures the same input.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "image/buffer.h"

namespace velq::bench {

// A photo-like picture: smooth shading over the whole frame, a few objects with sharp outlines and
// their own shading, patches of fine texture (foliage, gravel) and light grain. Deterministic.
inline UBUFFER photo_like(int w, int h, std::uint32_t seed = 1) {
    std::mt19937 gen(seed);
    auto uni = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(gen); };
    struct Wave {
        double fx, fy, phase, amp;
    };
    std::vector<Wave> waves[3];
    for (auto& ch : waves)
        for (int i = 0; i < 4; ++i)
            ch.push_back({uni(0.5, 3.0) / w, uni(0.5, 3.0) / h, uni(0, 6.28), uni(15, 40)});
    struct Object {
        double cx, cy, rx, ry, angle;
        double colour[3];
        bool textured;
    };
    std::vector<Object> objects;
    for (int i = 0; i < 14; ++i) {
        Object o{uni(0, w), uni(0, h), uni(0.03, 0.2) * w, uni(0.03, 0.2) * h, uni(0, 3.14), {}, i % 4 == 3};
        for (double& c : o.colour) c = uni(20, 235);
        objects.push_back(o);
    }
    std::vector<std::uint8_t> grain(std::size_t(w) * h);
    for (auto& g : grain) g = std::uint8_t(gen() % 7);
    std::vector<std::uint8_t> texture(std::size_t(w) * h);
    for (auto& t : texture) t = std::uint8_t(gen() % 90);

    UBUFFER pic;
    pic.allocate(w, h, 4);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            double c[3];
            for (int k = 0; k < 3; ++k) {
                c[k] = 110 + 30 * k;
                for (const Wave& wv : waves[k])
                    c[k] += wv.amp * std::sin(6.283 * (wv.fx * x + wv.fy * y) + wv.phase);
            }
            for (const Object& o : objects) {
                const double dx = x - o.cx, dy = y - o.cy;
                const double u = (dx * std::cos(o.angle) + dy * std::sin(o.angle)) / o.rx;
                const double v = (-dx * std::sin(o.angle) + dy * std::cos(o.angle)) / o.ry;
                const double d = u * u + v * v;
                if (d >= 1) continue;
                for (int k = 0; k < 3; ++k) {
                    c[k] = o.colour[k] * (0.75 + 0.25 * (1 - d));
                    if (o.textured) c[k] += texture[std::size_t(y) * w + x] - 45;
                }
            }
            const double g = grain[std::size_t(y) * w + x] - 3;
            std::uint8_t* p = &pic.at(x, y, 0);
            for (int k = 0; k < 3; ++k)
                p[k] = std::uint8_t(std::lround(std::fmin(255, std::fmax(0, c[k] + g))));
            p[3] = 255;
        }
    }
    return pic;
}

}  // namespace velq::bench
