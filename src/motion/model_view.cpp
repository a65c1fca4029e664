#include "motion/model_view.h"

#include <cmath>
#include <numbers>

namespace velq {

ModelView::ModelView(const Vec3& centre, double radius, const ViewAngles& angles, int width, int height)
    : centre_(centre), radius_(radius > 0 ? radius : 1), width_(width), height_(height) {
    const double y = angles.yaw * std::numbers::pi / 180, p = angles.pitch * std::numbers::pi / 180;
    const double cy = std::cos(y), sy = std::sin(y), cp = std::cos(p), sp = std::sin(p);
    // Turn about y by -yaw, then about x by pitch: the camera's direction becomes +z.
    const double ry[3][3] = {{cy, 0, -sy}, {0, 1, 0}, {sy, 0, cy}};
    const double rx[3][3] = {{1, 0, 0}, {0, cp, -sp}, {0, sp, cp}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double s = 0;
            for (int k = 0; k < 3; ++k) s += rx[i][k] * ry[k][j];
            rot_[i][j] = s;
        }
    const double distance = angles.distance > 0 ? angles.distance : 3;
    k_ = 1.2 * height / (distance * radius_);
}

Vec3 ModelView::direction_to_scene(const Vec3& d) const {
    const Vec3 q{rot_[0][0] * d.x + rot_[0][1] * d.y + rot_[0][2] * d.z,
                 rot_[1][0] * d.x + rot_[1][1] * d.y + rot_[1][2] * d.z,
                 rot_[2][0] * d.x + rot_[2][1] * d.y + rot_[2][2] * d.z};
    return {q.x, -q.y, -q.z};
}

Vec3 ModelView::to_scene(const Vec3& p) const {
    const Vec3 q = direction_to_scene(p - centre_) * k_;
    return {width_ * 0.5 + q.x, height_ * 0.5 + q.y, q.z - k_ * radius_};
}

ViewAngles angles_from_camera(const Vec3& camera, const Vec3& centre, double radius) {
    const Vec3 d = camera - centre;
    ViewAngles a;
    a.yaw = std::atan2(d.x, d.z) * 180 / std::numbers::pi;
    a.pitch = std::atan2(d.y, std::hypot(d.x, d.z)) * 180 / std::numbers::pi;
    const double r = length(d) / (radius > 0 ? radius : 1);
    if (r > 0) a.distance = r;
    return a;
}

}  // namespace velq
