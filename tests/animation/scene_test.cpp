#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "animation/kinds.h"
#include "animation/layer_animation.h"
#include "animation/rasteriser.h"
#include "animation/scene.h"
#include "reference_painter.h"
#include "render/shape.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

constexpr int W = 160, H = 120;

struct World {
    test::RecordingHost host;
    SHAPE disc{host};
    test::ReferencePainter painter{7};
    Camera camera{W, H};
    std::vector<std::unique_ptr<ANIMATION>> layers;
    std::vector<std::vector<Circle>> placements;
    std::uint32_t next_order = 0;

    // A grid of touching circles (neighbouring stencils share edge pixels) with varied tints.
    std::vector<Circle> grid(double radius, double dx, double pitch = 0) {
        if (pitch == 0) pitch = 2 * radius + 0.4;
        std::vector<Circle> out;
        int i = 0;
        for (double y = 10; y < H - 5; y += pitch)
            for (double x = 10 + dx; x < W - 5; x += pitch, ++i) {
                const ColourRecord tint{
                    double(40 + i * 13 % 200), double(i * 7 % 255), double(255 - i * 11 % 200), 255, 0, true};
                out.push_back(Circle{x, y, radius, {}, tint, 100, 200, &disc});
            }
        return out;
    }

    ANIMATION& add(int kind, std::vector<Circle> circles, AnimationSettings s) {
        s.motion = kind;
        layers.push_back(make_animation(kind, s, 0.02, s.scan));
        layers.back()->items = make_items(circles, next_order);
        next_order += std::uint32_t(circles.size());
        layers.back()->pre_operation(host, AnimationContext{W, H, 0.02, 99});
        placements.push_back(std::move(circles));
        return *layers.back();
    }

    UBUFFER base() {
        return test::make_picture(W, H, [](int x, int y) { return 0xFF000000u | (x * 3 << 8) | y; });
    }

    std::unique_ptr<AnimationScene> scene(bool full_copies = false) {
        auto s = std::make_unique<AnimationScene>(host, camera, painter);
        EXPECT_TRUE(s->allocate(base()));
        for (auto& l : layers) s->add(*l);
        s->build_board();
        s->set_full_copies(full_copies);
        return s;
    }

    double duration() const {
        double d = 0;
        for (const auto& l : layers) d = std::max(d, l->last_end());
        return d;
    }

    // The still render: the base, then every layer's placements in order.
    UBUFFER still() {
        UBUFFER b = base();
        for (const auto& list : placements)
            for (const Circle& c : list) painter.paint(c, b);
        return b;
    }
};

AnimationSettings timing(double start, double spread, double motion, int scan) {
    AnimationSettings s;
    s.timestamp = start, s.duration = spread, s.motion_time = motion, s.scan = scan;
    return s;
}

// One circle at (x, y) in its own colour.
std::vector<Circle> one_circle(World& w, double x, double y, ColourRecord paint, double brightness = 100) {
    std::vector<Circle> c = w.grid(6, 0);
    c.resize(1);
    c[0].x = x, c[0].y = y, c[0].paint = paint, c[0].brightness = brightness;
    return c;
}

// Whatever the layers' timings, scan orders and overlaps, and whether the frames before it were drawn,
// the frame at the end is the still render byte for byte.
TEST(Scene, FrameAtTheEndEqualsTheStillRender) {
    struct Layer {
        int kind;
        double radius, dx, pitch;  // pitch 0: touching circles; radius 0: one circle at (dx, pitch)
        AnimationSettings timing;
        ColourRecord paint = {};
        double brightness = 100;
    };
    struct Case {
        const char* what;
        std::vector<Layer> layers;
        bool every_frame;
    };
    const std::vector<Layer> three = {{0, 7, 0, 0, timing(1.0, 2.0, 0.7, 1)},
                                      {5, 7, 3, 0, timing(0.0, 0.5, 0.4, 3)},
                                      {2, 4, 1, 0, timing(0.3, 2.5, 1.0, 4)}};
    std::vector<Case> cases = {{"three layers, one finishing long before the others", three, true},
                               {"the same, only the last frame drawn", three, false}};
    // Overlapping shapes of one layer settling in one frame paint in the still render's order, not in
    // their scan order, however many settle at once.
    for (const int scan : {1, 3, 6, 7})
        for (const double spread : {0.0, 0.3})
            cases.push_back(
                {"overlapping, one layer", {{0, 9, 0, 12.5, timing(0.0, spread, 0.2, scan)}}, true});
    // Shapes over the picture's edges put two texels on the edge pixels (columns and rows below zero are
    // painted onto zero). A shape painted first and at rest last has the pixels it shares painted again
    // under the others, texel by texel in the still render's order, at every corner of the overlap.
    for (const auto& [x, y] : {std::pair{1.3, 40.0}, {60.0, 0.6}, {-2.5, -1.7}, {W - 3.2, H - 2.4}})
        cases.push_back({"over an edge of the picture",
                         {{0, 0, x, y, timing(0.0, 0.0, 1.0, 0), {40, 0, 255, 255, 0, true}},
                          {0, 0, x + 2.4, y, timing(0.0, 0.0, 0.5, 0), {250, 30, 90, 255, 0, true}},
                          {0, 0, x, y + 1.8, timing(0.0, 0.0, 0.2, 0), {20, 200, 140, 255, 0, true}, 80}},
                         true});
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        World w;
        for (const Layer& l : k.layers)
            w.add(l.kind,
                  l.radius ? w.grid(l.radius, l.dx, l.pitch)
                           : one_circle(w, l.dx, l.pitch, l.paint, l.brightness),
                  l.timing);
        auto scene = w.scene();
        EXPECT_GT(scene->board().overlaps(), 0u);
        for (double t = 0; k.every_frame && w.duration() >= t; t += 1.0 / 30) ASSERT_TRUE(scene->render(t));
        ASSERT_TRUE(scene->render(w.duration()));
        EXPECT_EQ(scene->moving_count(), 0u);
        EXPECT_TRUE(test::same_bytes(scene->frame(), w.still()));
    }
}

// The base with every settled shape painted in the still render's order.
UBUFFER settled_background(World& w) {
    UBUFFER expected = w.base();
    for (std::size_t l = 0; l < w.layers.size(); ++l) {
        // Items are in scan order; their order less the layer's first names the placement.
        const auto& items = w.layers[l]->items;
        std::uint32_t first = UINT32_MAX;
        for (const auto& it : items) first = std::min(first, it.order);
        std::vector<bool> settled(w.placements[l].size(), false);
        for (std::size_t i = 0; i < items.size(); ++i)
            settled[items[i].order - first] = w.layers[l]->settled(i);
        for (std::size_t i = 0; i < settled.size(); ++i)
            if (settled[i]) w.painter.paint(w.placements[l][i], expected);
    }
    return expected;
}

// Frame by frame: restoring only what changed gives the same frames as copying the whole background
// each time; the background holds every settled shape in the still render's order, whatever order
// they came to rest in; a second pass after rewind() draws the same frames; the stop flag ends a frame.
TEST(Scene, PartialRestoresMatchFullCopiesAndRewindDrawsTheSameFrames) {
    World fast, full;
    for (World* w : {&fast, &full}) {
        w->add(5, w->grid(6, 0), timing(0.0, 1.5, 0.8, 2));
        w->add(3, w->grid(5, 2), timing(0.2, 1.0, 0.9, 7));
        w->add(4, w->grid(3, 1), timing(0.1, 1.2, 0.6, 5));
        w->add(1, w->grid(7, 3), timing(0.0, 0.5, 0.4, 3));
    }
    auto a = fast.scene(false), b = full.scene(true);
    std::vector<UBUFFER> frames;
    int shown_background = 0;
    // A few frames past the end, where nothing moves any more.
    for (int frame = 0; fast.duration() + 0.3 >= frame / 30.0; ++frame) {
        ASSERT_TRUE(a->render(frame / 30.0));
        ASSERT_TRUE(b->render(frame / 30.0));
        ASSERT_TRUE(test::same_bytes(a->frame(), b->frame())) << "frame " << frame;
        ASSERT_TRUE(test::same_bytes(a->background(), settled_background(fast))) << "frame " << frame;
        frames.push_back(a->frame().clone());
        shown_background += &a->frame() == &a->background();
        // Something drawn over the display (as the logo is) is taken away again next frame; on
        // some frames only, so frames shown as the background alternate with frames drawn over.
        if (frame % 3 == 0) {
            const PixelRect r{frame % 140, frame % 100, frame % 140 + 12, frame % 100 + 8};
            for (UBUFFER* d : {&a->display(), &b->display()})
                for (int y = r.y0; y < r.y1; ++y) std::memset(d->row(y) + r.x0 * 4, 255, 12 * 4);
            a->drew_over(r);
            ASSERT_TRUE(test::same_bytes(a->display(), b->display())) << "frame " << frame;
        }
    }
    // Frames where nothing moves are shown without copying.
    EXPECT_GT(shown_background, 5);
    ASSERT_TRUE(a->rewind());
    for (std::size_t n = 0; n < frames.size(); ++n) {
        ASSERT_TRUE(a->render(double(n) / 30));
        ASSERT_TRUE(test::same_bytes(a->frame(), frames[n])) << n;
    }
    fast.host.stop = true;
    EXPECT_FALSE(a->render(0.5));
}

// Rasteriser: shapes lying on the picture go to the painter by painting order (orders past 2^31 and
// orders one apart included), equal orders in the mesh's order. Otherwise nearer fragments hide farther
// ones whatever the order; equal depths never reject each other (the later in painting order shows);
// quads reaching nearer than the camera's limit vanish; perspective scales a parallel quad by
// d / (d + z).
TEST(Rasteriser, PaintingOrderDepthOrderAndPerspective) {
    // Paints as the reference does and records what it is asked to paint: the radius names the primitive.
    class ListPainter : public test::ReferencePainter {
    public:
        int paint(const Circle& c, UBUFFER& b) override {
            painted.push_back(int(c.radius));
            return test::ReferencePainter::paint(c, b);
        }
        std::vector<int> painted;
    };
    test::RecordingHost host;
    SHAPE disc(host);
    ListPainter painter;
    const Camera cam(W, H);
    // Spun, unless told otherwise, so not flat: drawn as a quad.
    auto prim = [&](double z, double red, std::uint32_t order, double spin = 0.3, double half = 20) {
        Primitive p{{}, {80, 60, z}, half, spin, 0, 0, order};
        p.look.shape = &disc;
        p.look.paint = {red, 0, 0, 255, 0, true};
        return p;
    };
    DBUFFER depth;
    std::vector<PixelRect> touched;
    auto draw = [&](std::vector<Primitive> prims) {
        UBUFFER pic = test::flat_picture(W, H, 0);
        depth.allocate(W, H);
        depth.fill(kFarDepth);
        Mesh m;
        for (const Primitive& p : prims) m.add(p);
        m.transform(cam);
        touched.clear();
        rasterise(m, cam, painter, pic, depth, &touched);
        return pic;
    };
    const std::uint32_t orders[] = {3000000021u, 0, 1000000007u, 0, 3000000020u, 2000000014u, 1000000007u};
    std::vector<Primitive> flat;
    for (int i = 0; i < 7; ++i) flat.push_back(prim(0, 10, orders[i], 0, 1.0 + i));
    draw(flat);
    EXPECT_EQ(painter.painted, (std::vector<int>{2, 4, 3, 7, 6, 5, 1}));
    // z1, z2, red_at_centre
    const std::tuple<double, double, int> cases[] = {
        {-100, -50, 10},  // first is nearer: it shows although the second comes later
        {-50, -100, 20},  // second nearer
        {-80, -80, 20},   // coplanar: painting order decides
        {0, 0, 20},
    };
    for (const auto& [z1, z2, red_at_centre] : cases)
        EXPECT_EQ(draw({prim(z1, 10, 0), prim(z2, 20, 1)}).at(80, 60, 2), red_at_centre) << z1 << " " << z2;
    // Nearer than the limit: nothing painted.
    EXPECT_EQ(draw({prim(-cam.distance() + 0.5, 10, 0)}).at(80, 60, 3), 0);
    // Halfway to the camera a quad looks twice as large.
    for (double z : {0.0, -cam.distance() / 2}) {
        const UBUFFER pic = draw({prim(z, 200, 0, 1e-12, 10)});
        int painted_row = 0;
        for (int x = 0; x < W; ++x) painted_row += pic.at(x, 60, 3) != 0;
        EXPECT_NEAR(painted_row, z == 0 ? 20 : 40, 2) << z;
        EXPECT_NEAR(depth.at(80, 60), W * 5.0 + z, 1e-6);  // the picture five widths away
    }
}

}  // namespace
}  // namespace velq
