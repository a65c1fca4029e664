#include "motion/pack_animation.h"

#include <algorithm>
#include <cmath>

namespace velq {

void lay_on(const Vec3& n, double& tilt, double& turn) {
    // A quad's normal after tilt a and turn b is (cos a sin b, -sin a, cos a cos b).
    tilt = std::asin(std::clamp(-n.y, -1.0, 1.0));
    turn = std::atan2(n.x, n.z);
}

PackAnimation::PackAnimation(const AnimationSettings& settings, const MotionPack& pack,
                             std::vector<SurfaceSample> samples, const ModelView& view)
    : ANIMATION(settings, 0.0, 0),
      pack_(pack),
      samples_(std::move(samples)),
      view_(view),
      pose_(pack.model()) {}

void PackAnimation::moving_mesh(const Camera& camera, double t, bool finished, Mesh& out) const {
    pose_.set_time(std::clamp(t, 0.0, pack_.duration()));
    const Vec3 eye = camera.position();
    const std::size_t n = std::min(items.size(), samples_.size());
    for (std::size_t i = 0; i < n; ++i) {
        const AnimationItem& item = items[i];
        const Vec3 p = view_.to_scene(sample_position(pose_, pack_.model(), samples_[i]));
        const Vec3 normal = view_.direction_to_scene(sample_normal(pose_, pack_.model(), samples_[i]));
        if (dot(normal, p - eye) > 0) continue;
        Primitive prim;
        prim.look = item.look;
        prim.centre = p;
        prim.half = item.p;
        prim.order = item.order;
        lay_on(normal, prim.tilt, prim.turn);
        out.add(prim);
    }
}

}  // namespace velq
