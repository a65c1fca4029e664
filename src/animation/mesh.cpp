#include "animation/mesh.h"

#include <cmath>

namespace velq {

namespace {

// The quad's local axes after spin (about z), then tilt (about x), then turn (about y).
void axes(const Primitive& p, Vec3& u, Vec3& v) {
    // No angle: the axes are the picture's (the turns below would give exactly these).
    if (p.spin == 0.0 && p.tilt == 0.0 && p.turn == 0.0) {
        u = {1, 0, 0};
        v = {0, 1, 0};
        return;
    }
    const double cs = std::cos(p.spin), ss = std::sin(p.spin);
    u = {cs, ss, 0};
    v = {-ss, cs, 0};
    const double ct = std::cos(p.tilt), st = std::sin(p.tilt);
    auto tilt = [&](Vec3 a) { return Vec3{a.x, a.y * ct - a.z * st, a.y * st + a.z * ct}; };
    const double cr = std::cos(p.turn), sr = std::sin(p.turn);
    auto turn = [&](Vec3 a) { return Vec3{a.x * cr + a.z * sr, a.y, -a.x * sr + a.z * cr}; };
    u = turn(tilt(u));
    v = turn(tilt(v));
}

}  // namespace

void Mesh::transform(const Camera& camera) {
    quads_.resize(prims_.size());
    for (std::size_t i = 0; i < prims_.size(); ++i) {
        const Primitive& p = prims_[i];
        ProjectedQuad& q = quads_[i];
        if (p.flat()) {
            // On the picture and parallel to it: the corners keep their place, at the plane's depth.
            static constexpr double sx[4] = {-1, 1, 1, -1}, sy[4] = {-1, -1, 1, 1};
            q.axis_u = {1, 0, 0};
            q.axis_v = {0, 1, 0};
            q.centre_depth = camera.depth(p.centre);
            q.visible = q.centre_depth >= Camera::kNear;
            for (int k = 0; k < 4; ++k) {
                q.x[k] = p.centre.x + p.half * sx[k];
                q.y[k] = p.centre.y + p.half * sy[k];
                q.depth[k] = q.centre_depth;
            }
            continue;
        }
        axes(p, q.axis_u, q.axis_v);
        q.centre_depth = camera.depth(p.centre);
        q.visible = true;
        static constexpr double su[4] = {-1, 1, 1, -1}, sv[4] = {-1, -1, 1, 1};
        for (int k = 0; k < 4; ++k) {
            const Vec3 c{p.centre.x + p.half * (su[k] * q.axis_u.x + sv[k] * q.axis_v.x),
                         p.centre.y + p.half * (su[k] * q.axis_u.y + sv[k] * q.axis_v.y),
                         p.centre.z + p.half * (su[k] * q.axis_u.z + sv[k] * q.axis_v.z)};
            q.depth[k] = camera.depth(c);
            if (q.depth[k] < Camera::kNear) q.visible = false;
            camera.project(c, q.x[k], q.y[k]);
        }
    }
}

}  // namespace velq
