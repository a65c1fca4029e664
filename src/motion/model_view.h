// Where the model stands in an animation frame: turned by yaw (the camera's angle around the model,
// toward +x) and pitch (its height above the model), and scaled so that the model's bounding sphere
// spans 1.2 / distance of the frame's height (distance in sphere radii; 3 shows it at 0.4 of the
// height). Model space is y up and seen from +z; the frame's scene is y down and seen from -z, and
// the whole sphere lies in front of the picture plane (z <= 0), where the rasteriser draws with depth.
#pragma once

#include "motion/affine.h"

namespace velq {

struct ViewAngles {
    double yaw = 0, pitch = 0;  // degrees
    double distance = 3;        // bounding-sphere radii
};

class ModelView {
public:
    ModelView() = default;
    ModelView(const Vec3& centre, double radius, const ViewAngles& angles, int width, int height);

    Vec3 to_scene(const Vec3& p) const;
    Vec3 direction_to_scene(const Vec3& d) const;
    // Scene pixels per model unit.
    double scale() const { return k_; }

private:
    Vec3 centre_;
    double rot_[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double k_ = 1, radius_ = 1;
    int width_ = 0, height_ = 0;
};

// The angles that look at a sphere (centre, radius) from a camera at `camera`.
ViewAngles angles_from_camera(const Vec3& camera, const Vec3& centre, double radius);

}  // namespace velq
