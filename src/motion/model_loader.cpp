#include "motion/model_loader.h"

#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <filesystem>
#include <map>

#include "image/picture_reader.h"

namespace velq {

namespace {

Mat4 to_mat4(const aiMatrix4x4& a) {
    Mat4 m;
    const ai_real* rows[4] = {a[0], a[1], a[2], a[3]};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) m.m[i][j] = rows[i][j];
    return m;
}

Vec3 to_vec(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

// Nodes in depth-first order, parents first.
void add_nodes(const aiNode* node, int parent, Model& model, std::map<std::string, int>& by_name,
               std::vector<const aiNode*>& sources) {
    const int index = int(model.nodes.size());
    ModelNode n;
    n.name = node->mName.C_Str();
    n.parent = parent;
    n.local = to_mat4(node->mTransformation);
    n.meshes.assign(node->mMeshes, node->mMeshes + node->mNumMeshes);
    model.nodes.push_back(std::move(n));
    sources.push_back(node);
    by_name.emplace(node->mName.C_Str(), index);
    for (unsigned i = 0; i < node->mNumChildren; ++i)
        add_nodes(node->mChildren[i], index, model, by_name, sources);
}

UBUFFER read_texture(const aiScene& scene, const aiString& name, const std::filesystem::path& folder) {
    if (const aiTexture* t = scene.GetEmbeddedTexture(name.C_Str())) {
        if (t->mHeight == 0) {
            const auto* bytes = reinterpret_cast<const std::uint8_t*>(t->pcData);
            PictureRead read = decode_picture(std::span(bytes, t->mWidth));
            return read ? std::move(read.picture) : UBUFFER{};
        }
        UBUFFER b;
        if (!b.allocate(int(t->mWidth), int(t->mHeight), 4)) return b;
        // Texels are stored blue, green, red, alpha: the program's own order.
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(t->pcData);
        std::copy(bytes, bytes + b.size(), b.data());
        return b;
    }
    PictureRead read = read_picture((folder / name.C_Str()).string());
    return read ? std::move(read.picture) : UBUFFER{};
}

void add_materials(const aiScene& scene, const std::filesystem::path& folder, Model& model) {
    std::map<std::string, int> textures;
    for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
        const aiMaterial* m = scene.mMaterials[i];
        ModelMaterial out;
        aiColor4D c;
        if (m->Get(AI_MATKEY_BASE_COLOR, c) == AI_SUCCESS || m->Get(AI_MATKEY_COLOR_DIFFUSE, c) == AI_SUCCESS)
            out.colour = {std::clamp<double>(c.r, 0, 1), std::clamp<double>(c.g, 0, 1),
                          std::clamp<double>(c.b, 0, 1)};
        aiString name;
        if (m->GetTexture(aiTextureType_BASE_COLOR, 0, &name) == AI_SUCCESS ||
            m->GetTexture(aiTextureType_DIFFUSE, 0, &name) == AI_SUCCESS) {
            auto found = textures.find(name.C_Str());
            if (found == textures.end()) {
                UBUFFER t = read_texture(scene, name, folder);
                const int index = t ? int(model.textures.size()) : -1;
                if (t) model.textures.push_back(std::move(t));
                found = textures.emplace(name.C_Str(), index).first;
            }
            out.texture = found->second;
        }
        model.materials.push_back(out);
    }
}

ModelMesh convert_mesh(const aiMesh& m, const std::map<std::string, int>& by_name) {
    ModelMesh out;
    out.material = int(m.mMaterialIndex);
    out.positions.reserve(m.mNumVertices);
    for (unsigned v = 0; v < m.mNumVertices; ++v) out.positions.push_back(to_vec(m.mVertices[v]));
    for (unsigned f = 0; f < m.mNumFaces; ++f) {
        const aiFace& face = m.mFaces[f];
        if (face.mNumIndices == 3)
            out.triangles.push_back({face.mIndices[0], face.mIndices[1], face.mIndices[2]});
    }
    if (m.HasTextureCoords(0))
        for (unsigned v = 0; v < m.mNumVertices; ++v)
            out.uv.push_back({float(m.mTextureCoords[0][v].x), float(m.mTextureCoords[0][v].y)});
    if (m.HasVertexColors(0))
        for (unsigned v = 0; v < m.mNumVertices; ++v) {
            const aiColor4D& c = m.mColors[0][v];
            out.colours.push_back({float(c.r), float(c.g), float(c.b), float(c.a)});
        }
    if (m.HasBones()) {
        out.weights.assign(m.mNumVertices, VertexWeights{});
        std::vector<int> used(m.mNumVertices, 0);
        for (unsigned b = 0; b < m.mNumBones; ++b) {
            const aiBone& bone = *m.mBones[b];
            const auto node = by_name.find(bone.mName.C_Str());
            out.bones.push_back({node == by_name.end() ? -1 : node->second, to_mat4(bone.mOffsetMatrix)});
            for (unsigned w = 0; w < bone.mNumWeights; ++w) {
                const aiVertexWeight& vw = bone.mWeights[w];
                if (vw.mVertexId >= m.mNumVertices || used[vw.mVertexId] >= 4) continue;
                const int slot = used[vw.mVertexId]++;
                out.weights[vw.mVertexId].bone[std::size_t(slot)] = std::uint16_t(b);
                out.weights[vw.mVertexId].weight[std::size_t(slot)] = vw.mWeight;
            }
        }
    }
    return out;
}

void add_animation(const aiScene& scene, const std::map<std::string, int>& by_name, Model& model) {
    if (scene.mNumAnimations == 0) return;
    const aiAnimation& a = *scene.mAnimations[0];
    const double tps = a.mTicksPerSecond > 0 ? a.mTicksPerSecond : 25.0;
    model.animation.duration = a.mDuration > 0 ? a.mDuration / tps : 0.0;
    for (unsigned c = 0; c < a.mNumChannels; ++c) {
        const aiNodeAnim& na = *a.mChannels[c];
        const auto node = by_name.find(na.mNodeName.C_Str());
        if (node == by_name.end()) continue;
        NodeChannel ch;
        ch.node = node->second;
        for (unsigned k = 0; k < na.mNumPositionKeys; ++k)
            ch.position.push_back({na.mPositionKeys[k].mTime / tps, to_vec(na.mPositionKeys[k].mValue)});
        for (unsigned k = 0; k < na.mNumScalingKeys; ++k)
            ch.scale.push_back({na.mScalingKeys[k].mTime / tps, to_vec(na.mScalingKeys[k].mValue)});
        for (unsigned k = 0; k < na.mNumRotationKeys; ++k) {
            const aiQuaternion& q = na.mRotationKeys[k].mValue;
            ch.rotation.push_back({na.mRotationKeys[k].mTime / tps, Quat{q.w, q.x, q.y, q.z}});
        }
        model.animation.channels.push_back(std::move(ch));
    }
    // A single key at time 0 moves nothing: such a file is still.
    if (model.animation.duration <= 0) model.animation.channels.clear();
}

void add_camera(const aiScene& scene, const std::map<std::string, int>& by_name, Model& model) {
    if (scene.mNumCameras == 0) return;
    const aiCamera& cam = *scene.mCameras[0];
    const auto node = by_name.find(cam.mName.C_Str());
    Mat4 global;
    for (int n = node == by_name.end() ? -1 : node->second; n >= 0; n = model.nodes[std::size_t(n)].parent)
        global = model.nodes[std::size_t(n)].local * global;
    model.camera_position = apply(global, to_vec(cam.mPosition));
    model.has_camera = true;
}

}  // namespace

ModelRead read_model(const std::string& path) {
    ModelRead out;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        out.error = "the file does not exist";
        return out;
    }
    if (std::filesystem::file_size(path, ec) == 0) {
        out.error = "the file is empty";
        return out;
    }
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_LimitBoneWeights |
                                                       aiProcess_JoinIdenticalVertices |
                                                       aiProcess_ValidateDataStructure | aiProcess_FlipUVs);
    if (!scene || !scene->mRootNode) {
        const std::string why = importer.GetErrorString();
        out.error = why.empty() ? "not a 3D model that can be read" : why;
        return out;
    }
    // The importer marks a scene without meshes incomplete; say which it is.
    if (scene->mNumMeshes == 0) {
        out.error = "the model has no meshes";
        return out;
    }
    if (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) {
        out.error = "the model is incomplete";
        return out;
    }
    std::map<std::string, int> by_name;
    std::vector<const aiNode*> sources;
    add_nodes(scene->mRootNode, -1, out.model, by_name, sources);
    add_materials(*scene, std::filesystem::path(path).parent_path(), out.model);
    std::size_t triangles = 0;
    for (unsigned i = 0; i < scene->mNumMeshes; ++i) {
        out.model.meshes.push_back(convert_mesh(*scene->mMeshes[i], by_name));
        triangles += out.model.meshes.back().triangles.size();
    }
    if (triangles == 0) {
        out.error = "the model has no meshes";
        return out;
    }
    add_animation(*scene, by_name, out.model);
    add_camera(*scene, by_name, out.model);
    return out;
}

}  // namespace velq
