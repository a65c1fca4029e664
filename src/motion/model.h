// An animated 3-D model as the motion pack uses it, independent of the file format: a node tree
// with rest transforms, triangle meshes hung on nodes (optionally skinned to bones, which are nodes
// too), materials with a colour and an optional texture, and one keyframed animation of the nodes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "image/buffer.h"
#include "motion/affine.h"

namespace velq {

struct ModelNode {
    std::string name;
    int parent = -1;          // index of the parent node; every parent comes before its children
    Mat4 local;               // rest transform relative to the parent
    std::vector<int> meshes;  // meshes drawn at this node (a skinned mesh follows its bones instead)
};

// One bone of a skinned mesh: the node that moves it and the matrix that takes the mesh's vertices
// from the bind pose into the bone's space.
struct ModelBone {
    int node = -1;
    Mat4 offset;
};

// Up to four bones act on a vertex; weights of unused slots are 0.
struct VertexWeights {
    std::array<std::uint16_t, 4> bone{};
    std::array<float, 4> weight{};
};

struct ModelMesh {
    std::vector<Vec3> positions;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<std::array<float, 2>> uv;       // texture coordinates per vertex; empty when none
    std::vector<std::array<float, 4>> colours;  // RGBA 0..1 per vertex; empty when none
    int material = -1;
    std::vector<ModelBone> bones;        // empty: the mesh is rigid and follows its node
    std::vector<VertexWeights> weights;  // per vertex when bones exist
};

struct ModelMaterial {
    std::array<double, 3> colour{0.8, 0.8, 0.8};  // RGB 0..1
    int texture = -1;                             // index into Model::textures; -1 none
};

template <class T>
struct Key {
    double time = 0;  // seconds
    T value{};
};

// The keys of one node; a list left empty keeps the node's rest value of that part.
struct NodeChannel {
    int node = -1;
    std::vector<Key<Vec3>> position, scale;
    std::vector<Key<Quat>> rotation;
};

struct ModelAnimation {
    double duration = 0;  // seconds
    std::vector<NodeChannel> channels;
};

struct Model {
    std::vector<ModelNode> nodes;  // nodes[0] is the root
    std::vector<ModelMesh> meshes;
    std::vector<ModelMaterial> materials;
    std::vector<UBUFFER> textures;  // BGRA
    ModelAnimation animation;       // no channels: the model is still
    bool has_camera = false;
    Vec3 camera_position;  // the file's first camera, in model space, when it has one
};

}  // namespace velq
