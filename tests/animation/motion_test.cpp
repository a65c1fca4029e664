#include <cmath>
#include <memory>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "animation/kinds.h"
#include "animation/layer_animation.h"
#include "render/shape.h"
#include "support/recording_host.h"

namespace velq {
namespace {

struct Fixture {
    test::RecordingHost host;
    SHAPE disc{host};

    // A row of circles across a 200 x 100 frame.
    std::vector<Circle> circles(int n, double radius = 6) {
        std::vector<Circle> out(n);
        for (int i = 0; i < n; ++i) {
            out[i].x = 20 + 160.0 * i / std::max(1, n - 1);
            out[i].y = 50, out[i].radius = radius, out[i].shape = &disc;
        }
        return out;
    }

    std::unique_ptr<ANIMATION> prepared(int kind, int n, AnimationSettings s = {}) {
        s.motion = kind;
        auto a = make_animation(kind, s, 0.02, s.scan);
        a->items = make_items(circles(n), 0);
        a->pre_operation(host, AnimationContext{200, 100, 0.02, 5});
        return a;
    }
};

// An item moves while s <= t < e; from e on it rests at its own size.
TEST(Motion, BasicGrowsFromFourTimesItsSizeAndMovesOnlyBeforeItsEnd) {
    Fixture f;
    AnimationSettings s;
    s.scan = 0;
    s.duration = 1.0;  // one item: starts at 0
    s.motion_time = 2.0;
    auto a = f.prepared(0, 1, s);
    EXPECT_EQ(f.host.titles(),
              (std::vector<std::string>{"Velquinograph (Snow animation Pre_operation...)", "Velquinograph"}));
    // t, half of the moving primitive
    const std::pair<double, double> cases[] = {{0.0, 24.0}, {1.0, 15.0}, {1.5, 10.5}, {2.0, 6.0}, {3.0, 6.0}};
    for (const auto& [t, half] : cases) {
        Mesh m;
        a->moving_mesh(Camera(200, 100), t, false, m);
        ASSERT_EQ(m.size(), 1u) << t;
        EXPECT_DOUBLE_EQ(m.primitives()[0].half, half) << t;
    }
}

// Every kind: continuous in time at 30 frames per second, never behind the picture, at rest when its
// motion ends, and each one moving in its own way.
TEST(Motion, EveryKindGlidesSmoothlyIntoItsRestPose) {
    Fixture f;
    const Camera cam(200, 100);
    std::vector<Primitive> middles;
    for (int kind = 0; kind < kMotionKinds; ++kind) {
        AnimationSettings s;
        s.scan = 0, s.duration = 0.0, s.motion_time = 2.0;
        auto a = f.prepared(kind, 3, s);
        SCOPED_TRACE(kMotionNames[kind]);
        const AnimationItem item = a->items[0];
        Primitive last;
        double worst = 0;
        for (int frame = 0; frame < 60; ++frame) {
            Mesh m;
            a->moving_mesh(cam, frame / 30.0, false, m);
            ASSERT_EQ(m.size(), 3u);
            const Primitive p = m.primitives()[0];
            m.transform(cam);
            for (const ProjectedQuad& q : m.quads())
                for (double d : q.depth) EXPECT_LE(d, cam.distance() + 1e-9) << "behind the picture";
            if (frame > 0) {
                const double step = std::hypot(p.centre.x - last.centre.x, p.centre.y - last.centre.y) +
                                    std::fabs(p.centre.z - last.centre.z) * 0.2 +
                                    std::fabs(p.half - last.half);
                worst = std::max(worst, step);
            }
            if (frame == 30) middles.push_back(p);
            last = p;
        }
        // Frame to frame, nothing jumps by more than a twentieth of the frame width.
        EXPECT_LT(worst, 10.0);
        // Just before the end the shape is where it rests.
        Mesh m;
        a->moving_mesh(cam, 2.0 - 1e-9, false, m);
        const Primitive p = m.primitives()[0];
        EXPECT_NEAR(p.centre.x, item.x, 1e-3);
        EXPECT_NEAR(p.centre.y, item.y, 1e-3);
        EXPECT_NEAR(p.centre.z, 0.0, 1e-3);
        EXPECT_NEAR(p.half, item.p, 1e-3);
        EXPECT_NEAR(p.spin + p.tilt + p.turn, 0.0, 1e-6);
        EXPECT_NEAR(p.look.brightness, 100.0, 1e-3);
    }
    // Half way through, no two kinds put the shape in the same pose.
    auto pose = [](const Primitive& p) {
        return std::tuple(p.centre.x, p.centre.y, p.centre.z, p.half, p.spin, p.tilt, p.turn);
    };
    for (std::size_t a = 0; a < middles.size(); ++a)
        for (std::size_t b = a + 1; b < middles.size(); ++b)
            EXPECT_NE(pose(middles[a]), pose(middles[b])) << kMotionNames[a] << " and " << kMotionNames[b];
}

TEST(Motion, DurationIsTheLastEndPlusSnowsHoldOverShownLayersWithShapes) {
    test::RecordingHost host;
    auto layers = make_default_layers(host);  // 0 and 1 with the disc, 2..8 empty
    std::vector<std::unique_ptr<ANIMATION>> animations(layers.size());
    EXPECT_EQ(animation_duration(layers, animations), 0.0);  // no items anywhere

    auto with_items = [&](Layer& l, int kind, double last_end) {
        l.anim.motion = kind;
        auto& a = animations[&l - layers.data()];
        a = make_animation(kind, l.anim, 0.02, 0);
        AnimationItem it;
        it.end = last_end;
        a->items = {it};
    };
    with_items(layers[1], 1, 4.0);
    EXPECT_DOUBLE_EQ(animation_duration(layers, animations), 6.5);  // Snow ending at 4.0
    with_items(layers[0], 0, 7.0);
    EXPECT_DOUBLE_EQ(animation_duration(layers, animations), 7.0);  // the first layer counts too
    layers[0].shown = false;
    EXPECT_DOUBLE_EQ(animation_duration(layers, animations), 6.5);  // hidden layers do not
    with_items(layers[2], 0, 9.0);                                  // no shapes: does not count
    EXPECT_DOUBLE_EQ(animation_duration(layers, animations), 6.5);
}

}  // namespace
}  // namespace velq
