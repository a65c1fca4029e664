#include "animation/camera.h"

#include <algorithm>

namespace velq {

Camera::Camera(int width, int height) : width_(width), height_(height) {
    half_w_ = 0.1;
    half_h_ = width > 0 ? 0.1 * height / width : 0.1;
    d_ = std::max((width * 0.5) / half_w_, half_h_ > 0 ? (height * 0.5) / half_h_ : 0.0);
}

void Camera::project(const Vec3& p, double& sx, double& sy) const {
    const double cx = width_ * 0.5, cy = height_ * 0.5;
    const double z = depth(p);
    if (p.z == 0.0) {
        sx = p.x;
        sy = p.y;
        return;
    }
    const double s = d_ / z;
    sx = cx + (p.x - cx) * s;
    sy = cy + (p.y - cy) * s;
}

}  // namespace velq
