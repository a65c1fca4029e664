// A loaded motion pack: the animated model, the sphere that holds it through its whole animation, and
// how it is seen (the file's camera, else the angles given). It turns the model's surface into the
// circles that a render's layers paint, and follows those circles through the animation.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "motion/model.h"
#include "motion/model_view.h"
#include "motion/surface_samples.h"
#include "segments/circle.h"

namespace velq {

class MotionPack {
public:
    // Reads the model at `path`; null with `error` set when it cannot be used.
    static std::unique_ptr<MotionPack> load(const std::string& path, std::string& error);

    const Model& model() const { return model_; }
    double duration() const { return model_.animation.duration; }
    bool still() const { return model_.animation.channels.empty(); }
    Vec3 centre() const { return centre_; }
    double radius() const { return radius_; }

    // The view: the file's camera when it has one, else `angles`.
    ViewAngles view_angles(const ViewAngles& angles) const;
    ModelView view(const ViewAngles& angles, int width, int height) const;

private:
    explicit MotionPack(Model model);

    Model model_;
    Vec3 centre_;
    double radius_ = 1;
};

// The model's surface sampled for a width x height frame: circles whose spacing on the frame is
// width x (max_size + min_size) (the mean of the largest and smallest diameters), at their places at
// time 0 as fractions of the frame, with the radius half the spacing in frame pixels and the model's
// colour as their own.
struct PackSamples {
    std::vector<SurfaceSample> samples;
    std::vector<Circle> circles;  // one per sample, in the same order
    bool too_many = false;        // more than kMaxPackSamples: none are made
};
// Beyond this many samples Max and Min are too small for the model (memory, not looks, sets it).
inline constexpr std::size_t kMaxPackSamples = 4000000;
PackSamples sample_pack(const MotionPack& pack, const ViewAngles& angles, int width, int height,
                        double max_size, double min_size);

}  // namespace velq
