// The fixed perspective camera through which every animation frame is seen: it looks along +z at
// the picture plane z = 0 from (W/2, H/2, -d), placed so that the picture plane exactly fills a
// W x H frame. Scene units are frame pixels.
#pragma once

namespace velq {

struct Vec3 {
    double x = 0, y = 0, z = 0;
};

class Camera {
public:
    Camera() = default;
    Camera(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    // Near-plane half extents at unit distance: 0.1 across, 0.1 * H / W down.
    double half_width() const { return half_w_; }
    double half_height() const { return half_h_; }
    double distance() const { return d_; }
    Vec3 position() const { return {width_ * 0.5, height_ * 0.5, -d_}; }
    // Points nearer to the camera than this (along z) are not drawn.
    static constexpr double kNear = 1.0;

    // Depth of a scene point: its distance from the camera along the view axis (d on the picture plane).
    double depth(const Vec3& p) const { return p.z + d_; }
    // Frame position of a scene point; points on the picture plane keep their x and y.
    void project(const Vec3& p, double& sx, double& sy) const;

private:
    int width_ = 0, height_ = 0;
    double half_w_ = 0.1, half_h_ = 0.1;
    double d_ = 0;
};

}  // namespace velq
