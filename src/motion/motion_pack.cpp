#include "motion/motion_pack.h"

#include <algorithm>
#include <cmath>

#include "animation/camera.h"
#include "motion/model_loader.h"
#include "motion/model_pose.h"

namespace velq {

namespace {

// Times at which the model's extent is measured: the keys' span in even steps.
constexpr int kExtentSteps = 32;

}  // namespace

std::unique_ptr<MotionPack> MotionPack::load(const std::string& path, std::string& error) {
    ModelRead read = read_model(path);
    if (!read) {
        error = read.error;
        return nullptr;
    }
    return std::unique_ptr<MotionPack>(new MotionPack(std::move(read.model)));
}

MotionPack::MotionPack(Model model) : model_(std::move(model)) {
    ModelPose pose(model_);
    Vec3 lo{1e300, 1e300, 1e300}, hi{-1e300, -1e300, -1e300};
    const int steps = still() ? 0 : kExtentSteps;
    for (int s = 0; s <= steps; ++s) {
        pose.set_time(steps ? duration() * s / steps : 0.0);
        for (std::size_t i = 0; i < pose.instances().size(); ++i)
            for (const Vec3& v : pose.vertices(i)) {
                lo = {std::min(lo.x, v.x), std::min(lo.y, v.y), std::min(lo.z, v.z)};
                hi = {std::max(hi.x, v.x), std::max(hi.y, v.y), std::max(hi.z, v.z)};
            }
    }
    centre_ = (lo + hi) * 0.5;
    radius_ = length(hi - lo) * 0.5;
    if (!(radius_ > 0)) radius_ = 1;
}

ViewAngles MotionPack::view_angles(const ViewAngles& angles) const {
    return model_.has_camera ? angles_from_camera(model_.camera_position, centre_, radius_) : angles;
}

ModelView MotionPack::view(const ViewAngles& angles, int width, int height) const {
    return ModelView(centre_, radius_, view_angles(angles), width, height);
}

PackSamples sample_pack(const MotionPack& pack, const ViewAngles& angles, int width, int height,
                        double max_size, double min_size) {
    PackSamples out;
    if (width < 1 || height < 1) return out;
    const ModelView view = pack.view(angles, width, height);
    const double spacing_px = width * (max_size + min_size);
    if (!(spacing_px > 0)) return out;
    ModelPose pose(pack.model());
    const double spacing = spacing_px / view.scale();
    if (!(surface_area(pack.model(), pose) / (spacing * spacing) <= double(kMaxPackSamples))) {
        out.too_many = true;
        return out;
    }
    out.samples = sample_surface(pack.model(), pose, spacing);
    const Camera camera(width, height);
    out.circles.reserve(out.samples.size());
    for (const SurfaceSample& s : out.samples) {
        double x = 0, y = 0;
        camera.project(view.to_scene(sample_position(pose, pack.model(), s)), x, y);
        Circle c;
        c.x = x / width;
        c.y = y / height;
        c.radius = spacing_px * 0.5;
        c.own = ColourRecord{s.rgb[0], s.rgb[1], s.rgb[2], 255.0};
        out.circles.push_back(c);
    }
    return out;
}

}  // namespace velq
