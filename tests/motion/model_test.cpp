// The model as the motion pack reads it: the skinned strip written by the test, posed at times of its
// animation against positions worked out by hand, the samples on it, key interpolation, sample
// density, and the view.
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>

#include <array>
#include <cmath>
#include <filesystem>
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

// Distance from p to the triangle abc (all in one plane z = 0 here, but computed in general).
double distance_to_triangle(const Vec3& p, const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 n = normalised(cross(b - a, c - a));
    const double h = dot(p - a, n);
    const Vec3 q = p - n * h;
    const Vec3 e[3] = {b - a, c - b, a - c}, o[3] = {a, b, c};
    bool inside = true;
    for (int k = 0; k < 3; ++k) inside = inside && dot(cross(e[k], q - o[k]), n) >= -1e-12;
    if (inside) return std::abs(h);
    double best = 1e300;
    for (int k = 0; k < 3; ++k) {
        const double f = std::clamp(dot(p - o[k], e[k]) / dot(e[k], e[k]), 0.0, 1.0);
        best = std::min(best, length(p - (o[k] + e[k] * f)));
    }
    return best;
}

TEST(Model, SkinnedStripFollowsItsBonesAndSamplesStayOnIt) {
    const std::string path = test::temp_dir("strip") + "/strip.gltf";
    test::write_strip_gltf(path);
    const ModelRead read = read_model(path);
    ASSERT_TRUE(read) << read.error;
    EXPECT_DOUBLE_EQ(read.model.animation.duration, 1.0);
    ModelPose pose(read.model);
    ASSERT_EQ(pose.instances().size(), 1u);
    // Vertices by their rest place (x, y); at t = 0 the pose is the bind pose.
    const std::vector<Vec3> rest = pose.vertices(0);
    ASSERT_EQ(rest.size(), 6u);
    auto vertex = [&](double x, double y) {
        for (std::size_t i = 0; i < rest.size(); ++i)
            if (rest[i].x == x && rest[i].y == y && rest[i].z == 0) return i;
        ADD_FAILURE() << "no vertex at " << x << "," << y;
        return std::size_t(0);
    };
    const std::vector<SurfaceSample> samples = sample_surface(read.model, pose, 0.25);
    ASSERT_EQ(samples.size(), 32u);  // 2 square units at 16 per unit
    struct Case {
        double t;
        std::array<std::array<double, 2>, 6> at;  // (0,0) (0,1) (1,0) (1,1) (2,0) (2,1)
    };
    const Case cases[] = {
        {0.0, {{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}}},
        {0.5, {{{0, 1}, {0, 2}, {1, 1}, {1 - kS / 2, 1.5 + kS / 2}, {1 + kS, 1 + kS}, {1, 1 + 2 * kS}}}},
        {1.0, {{{0, 2}, {0, 3}, {1, 2}, {0.5, 2.5}, {1, 3}, {0, 3}}}},
    };
    const double places[6][2] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}};
    for (const Case& c : cases) {
        pose.set_time(c.t);
        Vec3 expected[6];
        for (int k = 0; k < 6; ++k) {
            expected[k] = {c.at[std::size_t(k)][0], c.at[std::size_t(k)][1], 0};
            const Vec3 got = pose.vertices(0)[vertex(places[k][0], places[k][1])];
            EXPECT_NEAR(got.x, expected[k].x, 1e-6) << "t " << c.t << " vertex " << k;
            EXPECT_NEAR(got.y, expected[k].y, 1e-6) << "t " << c.t << " vertex " << k;
            EXPECT_NEAR(got.z, 0.0, 1e-9);
        }
        // The strip's four triangles, from the hand-worked corners.
        const int tris[4][3] = {{0, 2, 1}, {1, 2, 3}, {2, 4, 3}, {3, 4, 5}};
        for (const SurfaceSample& s : samples) {
            const Vec3 p = sample_position(pose, read.model, s);
            double d = 1e300;
            for (const auto& t : tris)
                d = std::min(d, distance_to_triangle(p, expected[t[0]], expected[t[1]], expected[t[2]]));
            EXPECT_LT(d, 1e-6) << "t " << c.t;
            EXPECT_NEAR(sample_normal(pose, read.model, s).z, 1.0, 1e-9);  // the strip faces +z throughout
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
    Assimp::Exporter exporter;
    if (exporter.Export(scene, "fbxa", dir + "/strip.fbx") != AI_SUCCESS) GTEST_SKIP() << "no FBX writer";
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
    const Quat turn90{kS, 0, 0, kS};  // 90 degrees about z
    const Quat turn90_negated{-kS, 0, 0, -kS};
    struct Case {
        const char* name;
        Quat second;
        double t;
        double degrees;  // about z
    };
    const Case cases[] = {
        {"half way", turn90, 0.5, 45},
        {"half way, key given as -q", turn90_negated, 0.5, 45},  // the long way round would give -135
        {"a quarter", turn90, 0.25, 22.5},
        {"before the first key", turn90, -1, 0},
        {"after the last key", turn90, 3, 90},
    };
    for (const Case& c : cases) {
        const std::vector<Key<Quat>> keys{{0.0, Quat{}}, {1.0, c.second}};
        const Quat q = key_value(keys, c.t, Quat{});
        const double angle = 2 * std::atan2(q.z, q.w) * 180 / std::numbers::pi;
        EXPECT_NEAR(std::remainder(angle, 360.0), c.degrees, 1e-9) << c.name;
    }
    const std::vector<Key<Vec3>> moves{{1.0, {0, 0, 0}}, {3.0, {4, -2, 8}}};
    const Vec3 mid = key_value(moves, 1.5, {});
    EXPECT_EQ(mid.x, 1.0);
    EXPECT_EQ(mid.y, -0.5);
    EXPECT_EQ(mid.z, 2.0);
    EXPECT_EQ(key_value(std::vector<Key<Vec3>>{}, 1.0, {7, 7, 7}).x, 7.0);  // no keys: the rest value
}

TEST(Model, SamplesCoverAUnitSquareAtTheTargetDensity) {
    Model model;
    model.nodes.push_back(ModelNode{"square", -1, Mat4{}, {0}});
    ModelMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
    model.meshes.push_back(mesh);
    const ModelPose pose(model);
    for (const double spacing : {0.1, 0.05, 0.02}) {
        const std::vector<SurfaceSample> samples = sample_surface(model, pose, spacing);
        const double target = 1 / (spacing * spacing);
        EXPECT_NEAR(double(samples.size()), target, 0.1 * target) << spacing;
        // Evenly: each quarter of the square holds a quarter of them (where a quarter expects enough
        // samples for 10 % to be more than a few).
        int quarter[4] = {};
        for (const SurfaceSample& s : samples) {
            const Vec3 p = sample_position(pose, model, s);
            ++quarter[(p.x >= 0.5) + 2 * (p.y >= 0.5)];
        }
        if (target / 4 >= 100)
            for (const int q : quarter) EXPECT_NEAR(q, target / 4, 0.1 * target / 4) << spacing;
    }
}

TEST(Model, SamplesTakeTheModelsColour) {
    // A unit square whose texture coordinates are its x and y; the texture's four texels are red, green
    // (top row), blue and white (bottom row, v >= 0.5).
    Model base;
    base.nodes.push_back(ModelNode{"square", -1, Mat4{}, {0}});
    ModelMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
    base.meshes.push_back(mesh);
    UBUFFER texture;
    ASSERT_TRUE(texture.allocate(2, 2, 4));
    const std::uint8_t bgra[16] = {0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255, 255, 255, 255, 255};
    std::copy(bgra, bgra + 16, texture.data());
    const std::array<double, 3> quarter_colour[4] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    enum Source { Texture, VertexColours, Material, Nothing };
    for (const Source source : {Texture, VertexColours, Material, Nothing}) {
        Model model;
        model.nodes = base.nodes;
        model.meshes = base.meshes;
        ModelMesh& m = model.meshes[0];
        m.uv = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
        if (source != Nothing) {
            m.material = 0;
            model.materials.push_back({{0.5, 0.25, 1.0}, source == Material ? -1 : 0});
        }
        if (source == Texture) {
            UBUFFER copy;
            ASSERT_TRUE(copy.allocate(2, 2, 4));
            std::copy(texture.data(), texture.data() + 16, copy.data());
            model.textures.push_back(std::move(copy));
        }
        if (source == VertexColours) {
            model.materials[0].texture = -1;
            m.colours.assign(4, {0.2f, 0.4f, 0.6f, 1.0f});
        }
        const ModelPose pose(model);
        const std::vector<SurfaceSample> samples = sample_surface(model, pose, 0.1);
        ASSERT_FALSE(samples.empty());
        for (const SurfaceSample& s : samples) {
            const Vec3 p = sample_position(pose, model, s);
            if (std::abs(p.x - 0.5) < 1e-9 || std::abs(p.y - 0.5) < 1e-9) continue;  // on a texel edge
            std::array<double, 3> want = {204, 204, 204};  // no material: light grey
            if (source == Texture) want = quarter_colour[(p.x >= 0.5) + 2 * (p.y >= 0.5)];
            if (source == VertexColours) want = {0.2f * 255.0, 0.4f * 255.0, 0.6f * 255.0};
            if (source == Material) want = {127.5, 63.75, 255};
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(s.rgb[std::size_t(c)], want[std::size_t(c)], 1e-4) << source;
        }
    }
}

TEST(Model, ShapesLieOnTheSurfaceAndTheViewTurnsTheModel) {
    // A quad laid on a normal has that normal.
    for (const Vec3 n :
         {Vec3{0, 0, -1}, Vec3{1, 0, 0}, Vec3{0, -1, 0}, normalised({1, 2, -3}), normalised({-2, 1, 1})}) {
        Primitive p;
        p.half = 1;
        p.centre = {0, 0, -5};
        lay_on(n, p.tilt, p.turn);
        p.spin = 1e-3;  // never flat
        Mesh mesh;
        mesh.add(p);
        mesh.transform(Camera(100, 100));
        const Vec3 got = cross(mesh.quads()[0].axis_u, mesh.quads()[0].axis_v);
        EXPECT_NEAR(std::abs(dot(got, n)), 1.0, 1e-12) << n.x << "," << n.y << "," << n.z;
    }
    // Seen from the front (yaw 0) the model's +y is up on the frame and +z toward the viewer; from
    // yaw 90 the camera stands on +x, so +x comes toward the viewer.
    const Vec3 centre{1, 2, 3};
    const ModelView front(centre, 2, {0, 0, 3}, 600, 400), side(centre, 2, {90, 0, 3}, 600, 400);
    const double k = 1.2 * 400 / (3 * 2);
    const Vec3 c = front.to_scene(centre), up = front.to_scene(centre + Vec3{0, 1, 0}),
               near = front.to_scene(centre + Vec3{0, 0, 1}), xs = side.to_scene(centre + Vec3{1, 0, 0});
    EXPECT_NEAR(c.x, 300, 1e-9);
    EXPECT_NEAR(c.y, 200, 1e-9);
    EXPECT_NEAR(c.z, -2 * k, 1e-9);  // the bounding sphere ends on the picture plane
    EXPECT_NEAR(up.y, 200 - k, 1e-9);
    EXPECT_NEAR(near.z, -3 * k, 1e-9);
    EXPECT_NEAR(xs.x, 300, 1e-9);
    EXPECT_NEAR(xs.z, -3 * k, 1e-9);
    const ViewAngles a = angles_from_camera(centre + Vec3{0, 6, 6}, centre, 2);
    EXPECT_NEAR(a.yaw, 0, 1e-9);
    EXPECT_NEAR(a.pitch, 45, 1e-9);
    EXPECT_NEAR(a.distance, std::sqrt(72.0) / 2, 1e-9);
}

}  // namespace
}  // namespace velq
