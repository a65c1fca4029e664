#include "animation/kinds.h"

#include <algorithm>
#include <cmath>

namespace velq {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kGoldenAngle = 2.39996322972865332;

double unit(Random& rng) {
    return rng.next() / 32767.0;
}

// The kinds' amplitude: v * W * n / 100 (v the Max field, W the frame width, n the layer's count).
double amplitude_of(double v, int width, int count) {
    return v * width * count / 100.0;
}

}  // namespace

std::unique_ptr<ANIMATION> make_animation(int kind, const AnimationSettings& s, double motion, int mode) {
    switch (kind) {
        case 0:
            return std::make_unique<BASIC_ANIMATION>(s, motion, mode);
        case 1:
            return std::make_unique<SNOW_ANIMATION>(s, motion, mode);
        case 2:
            return std::make_unique<SPARK_ANIMATION>(s, motion, mode);
        case 3:
            return std::make_unique<WAVE_ANIMATION>(s, motion, mode);
        case 4:
            return std::make_unique<FLOWER_ANIMATION>(s, motion, mode);
        case 5:
            return std::make_unique<FIREFLY_ANIMATION>(s, motion, mode);
        default:
            return nullptr;
    }
}

// Basic.
Primitive BASIC_ANIMATION::pose(const AnimationItem& item, std::size_t, double r, double) const {
    Primitive p = rest(item);
    p.half = item.p + 3 * item.p * r;
    return p;
}

// Snow: one drift for the whole layer, chosen so that every flake starts above the frame; the
// sideways part is up to a fifth of the width either way.
void SNOW_ANIMATION::prepare(Random& rng, const AnimationContext& ctx) {
    double largest = 0;
    for (const AnimationItem& it : items) largest = std::max(largest, it.p);
    offset_.x = (unit(rng) - 0.5) * 0.4 * ctx.width;
    offset_.y = -(ctx.height + 2 * largest + 2);
    offset_.z = 0;
}

Primitive SNOW_ANIMATION::pose(const AnimationItem& item, std::size_t, double r, double) const {
    Primitive p = rest(item);
    p.centre.x += offset_.x * r;
    p.centre.y += offset_.y * r;
    p.centre.z += offset_.z * r;
    return p;
}

// Sparkle: a spiral of radius 100 * amplitude * r (n times Max of the width at the start), two
// turns; the spin makes one and a half turns; the size twinkles three times; brightness falls from
// kFlash percent of the placement's to the placement's own, fast at first (with r squared).
void SPARK_ANIMATION::prepare(Random& rng, const AnimationContext& ctx) {
    amplitude_ = amplitude_of(motion_, ctx.width, settings_.count);
    const std::size_t n = items.size();
    angle_.resize(n);
    phase_.resize(n);
    sense_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        angle_[i] = 2 * kPi * unit(rng);
        phase_[i] = unit(rng);
        sense_[i] = rng.next() & 1 ? 1.0 : -1.0;
    }
}

Primitive SPARK_ANIMATION::pose(const AnimationItem& item, std::size_t i, double r, double) const {
    Primitive p = rest(item);
    const double ease = r * r;
    const double a = angle_[i] + sense_[i] * 4 * kPi * r;
    const double reach = 100 * amplitude_ * r;
    p.centre.x += reach * std::cos(a);
    p.centre.y += reach * std::sin(a);
    p.spin = sense_[i] * 3 * kPi * ease;
    const double twinkle = 0.5 + 0.5 * std::sin(2 * kPi * (3 * (1 - r) + phase_[i]));
    p.half = item.p * (1 + 0.6 * r * twinkle);
    p.look.brightness = item.look.brightness * (1 + (kFlash / 100 - 1) * ease);
    return p;
}

// Wave: the phase runs two wavelengths across the width; the shape bobs 150 * amplitude * r,
// lifts toward the viewer by up to half the width (plus what keeps its rocking corners in
// front of the picture), and rocks up to 0.7 rad in step with the bobbing, two swings in all.
void WAVE_ANIMATION::prepare(Random&, const AnimationContext& ctx) {
    amplitude_ = amplitude_of(motion_, ctx.width, settings_.count);
}

Primitive WAVE_ANIMATION::pose(const AnimationItem& item, std::size_t, double r, double) const {
    Primitive p = rest(item);
    const double phase =
        2 * kPi * (2.0 * item.x / std::max(1, width_) + 0.25 * item.y / std::max(1, height_));
    const double swing = 2 * kPi * 2 * (1 - r) + phase;
    p.centre.y -= 150 * amplitude_ * r * std::sin(swing);
    p.tilt = 0.7 * r * std::cos(swing);
    p.centre.z = -(r * 0.5 * width_ + item.p * std::fabs(std::sin(p.tilt)));
    return p;
}

// Flower: the place is reached along a swirl about the frame centre of one golden angle, starting a
// fifth of the way out; the shape unfolds from 81 degrees about its vertical axis, twists one golden
// angle, grows from 30 percent of its size and comes down from 400 * amplitude toward the viewer.
void FLOWER_ANIMATION::prepare(Random&, const AnimationContext& ctx) {
    amplitude_ = amplitude_of(motion_, ctx.width, settings_.count);
}

Primitive FLOWER_ANIMATION::pose(const AnimationItem& item, std::size_t, double r, double) const {
    Primitive p = rest(item);
    const double cx = width_ * 0.5, cy = height_ * 0.5;
    const double a = kGoldenAngle * r, reach = 1 - 0.8 * r;
    const double dx = (item.x - cx) * reach, dy = (item.y - cy) * reach;
    p.centre.x = cx + dx * std::cos(a) - dy * std::sin(a);
    p.centre.y = cy + dx * std::sin(a) + dy * std::cos(a);
    p.turn = 0.45 * kPi * r;
    p.spin = kGoldenAngle * r;
    p.half = item.p * (0.3 + 0.7 * (1 - r));
    // A corner of the twisted square lies at most half * sqrt(2) * sin(turn) behind the centre.
    p.centre.z = -(r * 400 * amplitude_ + p.half * std::sqrt(2.0) * std::sin(p.turn));
    return p;
}

// Firefly: each shape follows its own path of three slow sines (0.2 to 0.6 Hz) reaching 12 percent
// of the smaller side across and up to 60 percent of the width toward the viewer, and glows at 1 to
// 2 Hz: up to three times its brightness and down to 40 percent of its opacity; all of it scaled by r.
void FIREFLY_ANIMATION::prepare(Random& rng, const AnimationContext& ctx) {
    reach_ = 0.12 * std::min(ctx.width, ctx.height);
    depth_ = 0.6 * ctx.width;
    paths_.resize(items.size());
    for (Path& path : paths_) {
        path.fx = 0.2 + 0.4 * unit(rng);
        path.fy = 0.2 + 0.4 * unit(rng);
        path.fz = 0.2 + 0.4 * unit(rng);
        path.fg = 1.0 + unit(rng);
        path.px = 2 * kPi * unit(rng);
        path.py = 2 * kPi * unit(rng);
        path.pz = 2 * kPi * unit(rng);
        path.pg = 2 * kPi * unit(rng);
    }
}

Primitive FIREFLY_ANIMATION::pose(const AnimationItem& item, std::size_t i, double r, double t) const {
    Primitive p = rest(item);
    const Path& path = paths_[i];
    p.centre.x += reach_ * r * std::sin(2 * kPi * path.fx * t + path.px);
    p.centre.y += reach_ * r * std::sin(2 * kPi * path.fy * t + path.py);
    p.centre.z = -r * (depth_ * (0.5 + 0.5 * std::sin(2 * kPi * path.fz * t + path.pz)) + item.p);
    const double glow = 0.5 + 0.5 * std::sin(2 * kPi * path.fg * t + path.pg);
    p.look.brightness = item.look.brightness * (1 + 2 * r * glow);
    p.look.transparency = int(item.look.transparency * (1 - 0.6 * r * (1 - glow)));
    return p;
}

}  // namespace velq
