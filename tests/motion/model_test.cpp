// The model as the motion pack reads it: the skinned strip written by the test, posed at times of its
// animation against positions worked out by hand with the samples on it; key interpolation; density
// and colour of the samples on a unit square; shapes laid on the surface and the view.
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>

#include <array>
#include <cmath>
#include <numbers>

#include "animation/mesh.h"
#include "motion/model_loader.h"
#include "motion/model_pose.h"
#include "motion/model_view.h"
#include "motion/pack_animation.h"
#include "motion/surface_samples.h"
#include "support/gltf_strip.h"
#include "support/pictures.h"

namespace velq {
namespace {

constexpr double kS = 0.70710678118654752;  // sin 45 = cos 45

void expect_near(const Vec3& got, const Vec3& want, double tolerance, const std::string& what) {
    EXPECT_LT(length(got - want), tolerance) << what << ": " << got.x << "," << got.y << "," << got.z;
}

TEST(Model, SkinnedStripFollowsItsBonesAndSamplesStayOnIt) {
    const std::string path = test::temp_dir("strip") + "/strip.gltf";
    test::write_strip_gltf(path);
    const ModelRead read = read_model(path);
    ASSERT_TRUE(read) << read.error;
    EXPECT_DOUBLE_EQ(read.model.animation.duration, 1.0);
    ModelPose pose(read.model);
    ASSERT_EQ(pose.instances().size(), 1u);
    ASSERT_EQ(pose.vertices(0).size(), 6u);
    // Corner k of the hand-worked list is at rest at (k / 2, k % 2); at t = 0 the pose is the bind pose.
    std::array<std::size_t, 6> corner{};
    for (std::size_t i = 0; i < 6; ++i)
        corner[i] = std::size_t(2 * pose.vertices(0)[i].x + pose.vertices(0)[i].y);
    const std::vector<SurfaceSample> samples = sample_surface(read.model, pose, 0.25);
    ASSERT_EQ(samples.size(), 32u);  // 2 square units at 16 a unit
    const std::pair<double, std::array<Vec3, 6>> cases[] = {
        {0.0, {{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}}},
        {0.5, {{{0, 1}, {0, 2}, {1, 1}, {1 - kS / 2, 1.5 + kS / 2}, {1 + kS, 1 + kS}, {1, 1 + 2 * kS}}}},
        {1.0, {{{0, 2}, {0, 3}, {1, 2}, {0.5, 2.5}, {1, 3}, {0, 3}}}},
    };
    for (const auto& [t, want] : cases) {
        pose.set_time(t);
        for (std::size_t i = 0; i < 6; ++i)
            expect_near(pose.vertices(0)[i], want[corner[i]], 1e-6, "vertex at " + std::to_string(t));
        // A sample is where its weights put it on the hand-worked triangle, facing +z as the strip does.
        for (const SurfaceSample& s : samples) {
            const auto& tri = read.model.meshes[0].triangles[s.triangle];
            Vec3 on;
            for (std::size_t k = 0; k < 3; ++k) on = on + want[corner[std::size_t(tri[k])]] * s.weight[k];
            expect_near(sample_position(pose, read.model, s), on, 1e-6, "sample at " + std::to_string(t));
            expect_near(sample_normal(pose, read.model, s), {0, 0, 1}, 1e-9, "normal");
        }
    }
}

// FBX takes the same path: the strip written as FBX (by the importer's own exporter, in its text
// form, which keeps the skin but writes one key per channel) reads back skinned, in the same place.
TEST(Model, FbxSmoke) {
    const std::string dir = test::temp_dir("fbx");
    test::write_strip_gltf(dir + "/strip.gltf");
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(dir + "/strip.gltf", 0);
    ASSERT_TRUE(scene);
    if (Assimp::Exporter().Export(scene, "fbxa", dir + "/strip.fbx") != AI_SUCCESS)
        GTEST_SKIP() << "no FBX writer";
    const ModelRead gltf = read_model(dir + "/strip.gltf"), fbx = read_model(dir + "/strip.fbx");
    ASSERT_TRUE(gltf && fbx) << fbx.error;
    const ModelPose a(gltf.model), b(fbx.model);
    ASSERT_EQ(b.instances().size(), 1u);
    EXPECT_EQ(fbx.model.meshes[0].bones.size(), 2u);
    for (const Vec3& p : a.vertices(0)) {
        double nearest = 1e300;
        for (const Vec3& q : b.vertices(0)) nearest = std::min(nearest, length(p - q));
        EXPECT_LT(nearest, 1e-6);
    }
}

TEST(Model, KeysInterpolate) {
    const Quat turn90{kS, 0, 0, kS}, turn90_negated{-kS, 0, 0, -kS};  // 90 degrees about z, twice
    const std::tuple<const char*, Quat, double, double> cases[] = {
        {"half way", turn90, 0.5, 45},
        {"half way, key given as -q", turn90_negated, 0.5, 45},  // the long way round would give -135
        {"a quarter", turn90, 0.25, 22.5},
        {"before the first key", turn90, -1, 0},
        {"after the last key", turn90, 3, 90},
    };
    for (const auto& [name, second, t, degrees] : cases) {
        const Quat q = key_value(std::vector<Key<Quat>>{{0.0, Quat{}}, {1.0, second}}, t, Quat{});
        EXPECT_NEAR(std::remainder(2 * std::atan2(q.z, q.w) * 180 / std::numbers::pi, 360.0), degrees, 1e-9)
            << name;
    }
    expect_near(key_value(std::vector<Key<Vec3>>{{1.0, {0, 0, 0}}, {3.0, {4, -2, 8}}}, 1.5, {}), {1, -0.5, 2},
                1e-15, "lerp");
}

TEST(Model, SamplesOnAUnitSquareKeepTheDensityAndTakeTheModelsColour) {
    Model model;
    model.nodes.push_back(ModelNode{"square", -1, Mat4{}, {0}});
    ModelMesh& mesh = model.meshes.emplace_back();
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
    mesh.uv = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};  // u = x, v = y: the texture's rows run down y
    for (const double spacing : {0.1, 0.05, 0.02}) {
        const ModelPose pose(model);
        const std::vector<SurfaceSample> samples = sample_surface(model, pose, spacing);
        const double target = 1 / (spacing * spacing);
        EXPECT_NEAR(double(samples.size()), target, 0.1 * target) << spacing;
        // Evenly: each quarter holds a quarter of them (where 10 % of a quarter is more than a few).
        int quarter[4] = {};
        for (const SurfaceSample& s : samples) {
            const Vec3 p = sample_position(pose, model, s);
            ++quarter[(p.x >= 0.5) + 2 * (p.y >= 0.5)];
        }
        for (const int q : quarter)
            if (target / 4 >= 100) {
                EXPECT_NEAR(q, target / 4, 0.1 * target / 4) << spacing;
            }
    }
    // Colour sources, each added over the last: none (light grey), material, vertex colours, texture
    // (red, green over blue, white), the last one added winning.
    const std::array<double, 3> texels[4] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    for (int source = 0; source < 4; ++source) {
        if (source == 1) {
            mesh.material = 0;
            model.materials.push_back({{0.5, 0.25, 1.0}, -1});
        }
        if (source == 2) mesh.colours.assign(4, {0.2f, 0.4f, 0.6f, 1.0f});
        if (source == 3) {
            model.textures.push_back(test::make_picture(2, 2, [](int x, int y) {
                const std::uint32_t argb[4] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
                return argb[x + 2 * y];
            }));
            model.materials[0].texture = 0;
        }
        const ModelPose pose(model);
        for (const SurfaceSample& s : sample_surface(model, pose, 0.1)) {
            const Vec3 p = sample_position(pose, model, s);
            if (std::abs(p.x - 0.5) < 1e-9 || std::abs(p.y - 0.5) < 1e-9) continue;  // on a texel edge
            const std::array<double, 3> want[4] = {{204, 204, 204},
                                                   {127.5, 63.75, 255},
                                                   {0.2f * 255.0, 0.4f * 255.0, 0.6f * 255.0},
                                                   texels[(p.x >= 0.5) + 2 * (p.y >= 0.5)]};
            expect_near({s.rgb[0], s.rgb[1], s.rgb[2]}, {want[source][0], want[source][1], want[source][2]},
                        1e-4, "colour source " + std::to_string(source));
        }
    }
}

TEST(Model, ShapesLieOnTheSurfaceAndTheViewTurnsTheModel) {
    // A quad laid on a normal has that normal.
    for (const Vec3 n :
         {Vec3{0, 0, -1}, Vec3{1, 0, 0}, Vec3{0, -1, 0}, normalised({1, 2, -3}), normalised({-2, 1, 1})}) {
        Primitive p{{}, {0, 0, -5}, 1, 1e-3};  // spun a little: never flat
        lay_on(n, p.tilt, p.turn);
        Mesh mesh;
        mesh.add(p);
        mesh.transform(Camera(100, 100));
        EXPECT_NEAR(std::abs(dot(cross(mesh.quads()[0].axis_u, mesh.quads()[0].axis_v), n)), 1.0, 1e-12);
    }
    // From the front (yaw 0) the model's +y is up on the frame and its +z toward the viewer, its sphere
    // centred and in front of the picture; from yaw 90 the camera stands on +x.
    const Vec3 c{1, 2, 3};
    const ModelView front(c, 2, {0, 0, 3}, 600, 400), side(c, 2, {90, 0, 3}, 600, 400);
    const double k = 1.2 * 400 / (3 * 2);
    expect_near(front.to_scene(c), {300, 200, -2 * k}, 1e-9, "centre");
    expect_near(front.to_scene(c + Vec3{0, 1, 0}), {300, 200 - k, -2 * k}, 1e-9, "up");
    expect_near(front.to_scene(c + Vec3{0, 0, 1}), {300, 200, -3 * k}, 1e-9, "toward the viewer");
    expect_near(side.to_scene(c + Vec3{1, 0, 0}), {300, 200, -3 * k}, 1e-9, "from the side");
    const ViewAngles a = angles_from_camera(c + Vec3{0, 6, 6}, c, 2);
    expect_near({a.yaw, a.pitch, a.distance}, {0, 45, std::sqrt(72.0) / 2}, 1e-9, "camera");
}

}  // namespace
}  // namespace velq
