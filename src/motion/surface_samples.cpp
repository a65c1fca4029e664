#include "motion/surface_samples.h"

#include <algorithm>
#include <cmath>

namespace velq {

namespace {

const std::array<std::uint32_t, 3>& triangle_of(const ModelPose& pose, const Model& model,
                                                const SurfaceSample& s) {
    return model.meshes[std::size_t(pose.instances()[s.instance].mesh)].triangles[s.triangle];
}

std::array<double, 3> texel(const UBUFFER& t, double u, double v) {
    const auto wrap = [](double a, int n) {
        const int i = int(std::floor((a - std::floor(a)) * n));
        return std::clamp(i, 0, n - 1);
    };
    const std::uint8_t* p =
        t.data() +
        (std::size_t(wrap(v, t.height())) * std::size_t(t.width()) + std::size_t(wrap(u, t.width()))) * 4;
    return {double(p[2]), double(p[1]), double(p[0])};
}

std::array<double, 3> colour_at(const Model& model, const ModelMesh& mesh,
                                const std::array<std::uint32_t, 3>& tri, const std::array<double, 3>& w) {
    const ModelMaterial* mat = mesh.material >= 0 && std::size_t(mesh.material) < model.materials.size()
                                   ? &model.materials[std::size_t(mesh.material)]
                                   : nullptr;
    if (mat && mat->texture >= 0 && !mesh.uv.empty()) {
        double u = 0, v = 0;
        for (int k = 0; k < 3; ++k) {
            u += w[std::size_t(k)] * mesh.uv[tri[std::size_t(k)]][0];
            v += w[std::size_t(k)] * mesh.uv[tri[std::size_t(k)]][1];
        }
        return texel(model.textures[std::size_t(mat->texture)], u, v);
    }
    if (!mesh.colours.empty()) {
        std::array<double, 3> c{};
        for (int k = 0; k < 3; ++k)
            for (int ch = 0; ch < 3; ++ch)
                c[std::size_t(ch)] += w[std::size_t(k)] * mesh.colours[tri[std::size_t(k)]][std::size_t(ch)];
        for (double& v : c) v = std::clamp(v * 255.0, 0.0, 255.0);
        return c;
    }
    const std::array<double, 3> m = mat ? mat->colour : ModelMaterial{}.colour;
    return {m[0] * 255.0, m[1] * 255.0, m[2] * 255.0};
}

}  // namespace

double surface_area(const Model& model, const ModelPose& pose) {
    double area = 0;
    for (std::size_t i = 0; i < pose.instances().size(); ++i) {
        const std::vector<Vec3>& v = pose.vertices(i);
        for (const auto& tri : model.meshes[std::size_t(pose.instances()[i].mesh)].triangles)
            if (tri[0] < v.size() && tri[1] < v.size() && tri[2] < v.size())
                area += 0.5 * length(cross(v[tri[1]] - v[tri[0]], v[tri[2]] - v[tri[0]]));
    }
    return area;
}

std::vector<SurfaceSample> sample_surface(const Model& model, const ModelPose& pose, double spacing) {
    std::vector<SurfaceSample> out;
    if (!(spacing > 0)) return out;
    const double density = 1.0 / (spacing * spacing);
    // The plastic-number sequence: consecutive runs of it cover the unit square evenly.
    const double g = 1.32471795724474602596;
    const double a1 = 1.0 / g, a2 = 1.0 / (g * g);
    double area_sum = 0;
    std::uint64_t index = 0;
    for (std::size_t i = 0; i < pose.instances().size(); ++i) {
        const ModelMesh& mesh = model.meshes[std::size_t(pose.instances()[i].mesh)];
        const std::vector<Vec3>& v = pose.vertices(i);
        for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
            const auto& tri = mesh.triangles[t];
            if (tri[0] >= v.size() || tri[1] >= v.size() || tri[2] >= v.size()) continue;
            const double area = 0.5 * length(cross(v[tri[1]] - v[tri[0]], v[tri[2]] - v[tri[0]]));
            const auto before = std::uint64_t(area_sum * density);
            area_sum += area;
            const auto count = std::uint64_t(area_sum * density) - before;
            for (std::uint64_t k = 0; k < count; ++k, ++index) {
                double u = std::fmod(0.5 + a1 * double(index), 1.0),
                       w = std::fmod(0.5 + a2 * double(index), 1.0);
                if (u + w > 1) {
                    u = 1 - u;
                    w = 1 - w;
                }
                SurfaceSample s;
                s.instance = std::uint32_t(i);
                s.triangle = std::uint32_t(t);
                s.weight = {1 - u - w, u, w};
                s.rgb = colour_at(model, mesh, tri, s.weight);
                out.push_back(s);
            }
        }
    }
    return out;
}

Vec3 sample_position(const ModelPose& pose, const Model& model, const SurfaceSample& s) {
    const auto& tri = triangle_of(pose, model, s);
    const std::vector<Vec3>& v = pose.vertices(s.instance);
    return v[tri[0]] * s.weight[0] + v[tri[1]] * s.weight[1] + v[tri[2]] * s.weight[2];
}

Vec3 sample_normal(const ModelPose& pose, const Model& model, const SurfaceSample& s) {
    const auto& tri = triangle_of(pose, model, s);
    const std::vector<Vec3>& v = pose.vertices(s.instance);
    return normalised(cross(v[tri[1]] - v[tri[0]], v[tri[2]] - v[tri[0]]));
}

}  // namespace velq
