// The model at a time: every node's transform from the animation's keys (positions and scales
// interpolated linearly, rotations along the shortest arc, held before the first key and after the
// last), the node tree's global transforms, and each drawn mesh's vertices moved by its node or
// skinned by its bones (linear blend of the bones' matrices by weight).
#pragma once

#include <vector>

#include "motion/model.h"

namespace velq {

// The value of a key list at t; `rest` when the list is empty.
Vec3 key_value(const std::vector<Key<Vec3>>& keys, double t, const Vec3& rest);
Quat key_value(const std::vector<Key<Quat>>& keys, double t, const Quat& rest);

// One drawn copy of a mesh: the mesh and the node it hangs on.
struct MeshInstance {
    int node = -1;
    int mesh = -1;
};

class ModelPose {
public:
    explicit ModelPose(const Model& model);

    // Moves every node and vertex to time t (seconds).
    void set_time(double t);

    const std::vector<MeshInstance>& instances() const { return instances_; }
    // The vertices of instance i, posed, in model space.
    const std::vector<Vec3>& vertices(std::size_t i) const { return vertices_[i]; }
    const std::vector<Mat4>& globals() const { return globals_; }

private:
    const Model& model_;
    std::vector<MeshInstance> instances_;
    std::vector<Vec3> rest_t_, rest_s_;  // each node's rest transform as translation, rotation, scale
    std::vector<Quat> rest_r_;
    std::vector<const NodeChannel*> channel_;  // per node; null when the animation leaves it alone
    std::vector<Mat4> locals_, globals_;
    std::vector<std::vector<Vec3>> vertices_;
};

}  // namespace velq
