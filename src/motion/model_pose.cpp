#include "motion/model_pose.h"

#include <algorithm>
#include <cmath>

namespace velq {

namespace {

template <class T, class Mix>
T interpolate(const std::vector<Key<T>>& keys, double t, const T& rest, Mix mix) {
    if (keys.empty()) return rest;
    if (t <= keys.front().time) return keys.front().value;
    if (t >= keys.back().time) return keys.back().value;
    const auto next =
        std::upper_bound(keys.begin(), keys.end(), t, [](double v, const Key<T>& k) { return v < k.time; });
    const Key<T>& b = *next;
    const Key<T>& a = *(next - 1);
    const double span = b.time - a.time;
    return span > 0 ? mix(a.value, b.value, (t - a.time) / span) : b.value;
}

// A rest transform as translation, rotation and scale (shear, which no key can express, is dropped).
void decompose(const Mat4& m, Vec3& t, Quat& r, Vec3& s) {
    t = {m.m[0][3], m.m[1][3], m.m[2][3]};
    Vec3 col[3];
    for (int j = 0; j < 3; ++j) col[j] = {m.m[0][j], m.m[1][j], m.m[2][j]};
    s = {length(col[0]), length(col[1]), length(col[2])};
    if (dot(cross(col[0], col[1]), col[2]) < 0) s.x = -s.x;
    const double sc[3] = {s.x, s.y, s.z};
    double a[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) a[i][j] = sc[j] != 0 ? m.m[i][j] / sc[j] : (i == j ? 1 : 0);
    const double trace = a[0][0] + a[1][1] + a[2][2];
    if (trace > 0) {
        const double k = 0.5 / std::sqrt(trace + 1);
        r = {0.25 / k, (a[2][1] - a[1][2]) * k, (a[0][2] - a[2][0]) * k, (a[1][0] - a[0][1]) * k};
    } else if (a[0][0] > a[1][1] && a[0][0] > a[2][2]) {
        const double k = 2 * std::sqrt(1 + a[0][0] - a[1][1] - a[2][2]);
        r = {(a[2][1] - a[1][2]) / k, 0.25 * k, (a[0][1] + a[1][0]) / k, (a[0][2] + a[2][0]) / k};
    } else if (a[1][1] > a[2][2]) {
        const double k = 2 * std::sqrt(1 + a[1][1] - a[0][0] - a[2][2]);
        r = {(a[0][2] - a[2][0]) / k, (a[0][1] + a[1][0]) / k, 0.25 * k, (a[1][2] + a[2][1]) / k};
    } else {
        const double k = 2 * std::sqrt(1 + a[2][2] - a[0][0] - a[1][1]);
        r = {(a[1][0] - a[0][1]) / k, (a[0][2] + a[2][0]) / k, (a[1][2] + a[2][1]) / k, 0.25 * k};
    }
}

}  // namespace

Vec3 key_value(const std::vector<Key<Vec3>>& keys, double t, const Vec3& rest) {
    return interpolate(keys, t, rest, [](const Vec3& a, const Vec3& b, double f) { return lerp(a, b, f); });
}

Quat key_value(const std::vector<Key<Quat>>& keys, double t, const Quat& rest) {
    return interpolate(keys, t, rest, [](const Quat& a, const Quat& b, double f) { return slerp(a, b, f); });
}

ModelPose::ModelPose(const Model& model) : model_(model) {
    const std::size_t n = model.nodes.size();
    rest_t_.resize(n);
    rest_r_.resize(n);
    rest_s_.resize(n);
    channel_.assign(n, nullptr);
    locals_.resize(n);
    globals_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        decompose(model.nodes[i].local, rest_t_[i], rest_r_[i], rest_s_[i]);
        for (const int m : model.nodes[i].meshes)
            if (m >= 0 && std::size_t(m) < model.meshes.size()) instances_.push_back({int(i), m});
    }
    for (const NodeChannel& c : model.animation.channels)
        if (c.node >= 0 && std::size_t(c.node) < n) channel_[std::size_t(c.node)] = &c;
    vertices_.resize(instances_.size());
    set_time(0.0);
}

void ModelPose::set_time(double t) {
    for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
        const NodeChannel* c = channel_[i];
        locals_[i] = c ? compose(key_value(c->position, t, rest_t_[i]), key_value(c->rotation, t, rest_r_[i]),
                                 key_value(c->scale, t, rest_s_[i]))
                       : model_.nodes[i].local;
        const int parent = model_.nodes[i].parent;
        globals_[i] = parent >= 0 ? globals_[std::size_t(parent)] * locals_[i] : locals_[i];
    }
    std::vector<Mat4> skin;
    for (std::size_t k = 0; k < instances_.size(); ++k) {
        const ModelMesh& mesh = model_.meshes[std::size_t(instances_[k].mesh)];
        const Mat4& node = globals_[std::size_t(instances_[k].node)];
        std::vector<Vec3>& out = vertices_[k];
        out.resize(mesh.positions.size());
        skin.resize(mesh.bones.size());
        for (std::size_t b = 0; b < mesh.bones.size(); ++b) {
            const int bn = mesh.bones[b].node;
            skin[b] = (bn >= 0 ? globals_[std::size_t(bn)] : node) * mesh.bones[b].offset;
        }
        for (std::size_t v = 0; v < mesh.positions.size(); ++v) {
            const Vec3& p = mesh.positions[v];
            if (mesh.bones.empty()) {
                out[v] = apply(node, p);
                continue;
            }
            const VertexWeights& w = mesh.weights[v];
            Mat4 m = zero_matrix();
            double sum = 0;
            for (int j = 0; j < 4; ++j) {
                if (w.weight[std::size_t(j)] <= 0) continue;
                m = add_scaled(m, skin[w.bone[std::size_t(j)]], w.weight[std::size_t(j)]);
                sum += w.weight[std::size_t(j)];
            }
            // Weights that do not add up to 1 are scaled to; a vertex no bone holds follows the node.
            out[v] = sum > 0 ? apply(m, p) * (1.0 / sum) : apply(node, p);
        }
    }
}

}  // namespace velq
