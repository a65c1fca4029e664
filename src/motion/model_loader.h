// Reads an animated 3-D model file (glTF 2.0 .gltf/.glb, and whatever else the importer reads, FBX
// among them) into a Model: triangles, skins, materials and textures, the first animation.
#pragma once

#include <string>

#include "motion/model.h"

namespace velq {

struct ModelRead {
    Model model;
    std::string error;  // empty when the model was read; else what is wrong with the file
    explicit operator bool() const { return error.empty(); }
};

ModelRead read_model(const std::string& path);

}  // namespace velq
