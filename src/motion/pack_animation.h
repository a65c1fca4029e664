// The animation of a layer's shapes on a motion pack: item i rides surface sample i through the
// model's animation, turned to lie on the surface (its quad's normal along the surface normal) and
// drawn through the camera with depth. Shapes on the far side of the surface are not drawn. Nothing
// settles: every shape moves with the model for the whole animation.
#pragma once

#include <vector>

#include "animation/animation.h"
#include "motion/model_pose.h"
#include "motion/model_view.h"
#include "motion/motion_pack.h"

namespace velq {

class PackAnimation : public ANIMATION {
public:
    // `items` are the layer's placements of the pack's circles, one per sample of `samples`.
    PackAnimation(const AnimationSettings& settings, const MotionPack& pack,
                  std::vector<SurfaceSample> samples, const ModelView& view);

    void moving_mesh(const Camera& camera, double t, bool finished, Mesh& out) const override;

private:
    const MotionPack& pack_;
    std::vector<SurfaceSample> samples_;
    ModelView view_;
    mutable ModelPose pose_;
};

// The tilt and turn that lay a quad's normal along the scene direction n (a unit vector).
void lay_on(const Vec3& n, double& tilt, double& turn);

}  // namespace velq
