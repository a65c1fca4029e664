// The six motion kinds. Every pose is continuous in time and reaches the rest pose as the remaining
// fraction r reaches 0, so a shape glides into the place where it then stays.
#pragma once

#include <vector>

#include "animation/motion.h"

namespace velq {

// Grows in place from four times its size down to it: half side p + 3 p r.
class BASIC_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;

protected:
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;
};

// Drifts along one offset vector of the layer, from above the frame down to rest: rest + offset r.
class SNOW_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;
    static constexpr double kHold = 2.5;  // seconds the video runs on after the last flake lands
    Vec3 offset() const { return offset_; }

protected:
    void prepare(Random& rng, const AnimationContext& ctx) override;
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;

private:
    Vec3 offset_;
};

// Flashes in as a spinning, twinkling spark that spirals onto its place and cools from white-hot
// (brightness 900 percent) to its colour.
class SPARK_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;
    static constexpr double kFlash = 900.0;  // peak brightness, percent
    double amplitude() const { return amplitude_; }

protected:
    void prepare(Random& rng, const AnimationContext& ctx) override;
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;

private:
    double amplitude_ = 0;       // v W n / 100
    std::vector<double> angle_;  // where each spark's spiral starts, radians
    std::vector<double> phase_;  // twinkle phase, turns
    std::vector<double> sense_;  // +1 or -1: direction of spiral and spin
};

// Rides a wave that runs across the picture: bobs up and down, lifts toward the viewer and rocks,
// with a phase taken from its place so neighbours move together.
class WAVE_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;
    double amplitude() const { return amplitude_; }

protected:
    void prepare(Random& rng, const AnimationContext& ctx) override;
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;

private:
    double amplitude_ = 0;  // v W n / 100
};

// Blooms out of the middle of the frame: swirls outward to its place while it unfolds from nearly
// edge-on, twists like a petal and grows to its size.
class FLOWER_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;
    double amplitude() const { return amplitude_; }

protected:
    void prepare(Random& rng, const AnimationContext& ctx) override;
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;

private:
    double amplitude_ = 0;  // v W n / 100
};

// Wanders in three dimensions around its place on its own slow path, glowing and dimming, and
// settles as the wandering dies away.
class FIREFLY_ANIMATION : public MotionAnimation {
public:
    using MotionAnimation::MotionAnimation;

protected:
    void prepare(Random& rng, const AnimationContext& ctx) override;
    Primitive pose(const AnimationItem& item, std::size_t i, double r, double t) const override;

private:
    struct Path {
        double fx, fy, fz, fg;  // frequencies, Hz
        double px, py, pz, pg;  // phases, radians
    };
    std::vector<Path> paths_;  // empty until prepared
    double reach_ = 0, depth_ = 0;
};

}  // namespace velq
