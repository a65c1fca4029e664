// Points spread over a model's surface, each fixed to a triangle by barycentric weights so that it
// rides the animation, with the colour the model shows there.
#pragma once

#include <array>
#include <vector>

#include "motion/model.h"
#include "motion/model_pose.h"

namespace velq {

struct SurfaceSample {
    std::uint32_t instance = 0;  // index into ModelPose::instances()
    std::uint32_t triangle = 0;
    std::array<double, 3> weight{};  // barycentric weights of the triangle's three vertices
    std::array<double, 3> rgb{};     // 0..255
};

// About one sample per spacing^2 of surface area, measured on `pose` as it stands: each triangle gets
// its share of the running total of area (so the whole count is the total area / spacing^2, rounded
// down), placed by a low-discrepancy sequence folded into the triangle. Colour: the texture at the
// interpolated texture coordinates, else the vertex colours, else the material's colour.
std::vector<SurfaceSample> sample_surface(const Model& model, const ModelPose& pose, double spacing);

// The area of every drawn triangle in `pose`.
double surface_area(const Model& model, const ModelPose& pose);

// The sample's position and unit surface normal (the triangle's, by its winding) in `pose`.
Vec3 sample_position(const ModelPose& pose, const Model& model, const SurfaceSample& s);
Vec3 sample_normal(const ModelPose& pose, const Model& model, const SurfaceSample& s);

}  // namespace velq
