#include <gtest/gtest.h>

#include <functional>

#include "render/layer.h"
#include "support/recording_host.h"

namespace velq {
namespace {

TEST(Layer, EditsClampAndRetone) {
    test::RecordingHost host;
    struct Case {
        char edit;  // Transparency, Size, Brightness
        int value, stored;
        bool changed;
        int mask_at_centre, shade_at_centre;
    } cases[] = {
        {'T', 400, 255, false, 255, 255}, {'T', -5, 0, true, 0, 255},       {'T', 128, 128, true, 128, 255},
        {'S', 350, 300, true, 255, 255},  {'S', -1, 0, true, 255, 255},     {'B', 1000, 1000, true, 255, 255},
        {'B', -3, 0, true, 255, 0},       {'B', 100, 100, false, 255, 255},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(testing::Message() << k.edit << " " << k.value);
        Layer l(host, true);
        const bool changed = k.edit == 'T'   ? l.set_transparency(k.value)
                             : k.edit == 'S' ? l.set_size(k.value)
                                             : l.set_brightness(k.value);
        EXPECT_EQ(k.edit == 'T' ? l.transparency : k.edit == 'S' ? l.size : l.brightness, k.stored);
        EXPECT_EQ(changed, k.changed);
        EXPECT_EQ(l.shapes[0]->mask_plane.at(512, 512), k.mask_at_centre);
        EXPECT_EQ(l.shapes[0]->shade_plane.at(512, 512), k.shade_at_centre);
    }
    Layer hidden(host, false);
    hidden.shown = false;
    hidden.set_transparency(7);
    hidden.set_size(8);
    hidden.set_brightness(9);
    EXPECT_EQ(hidden.list_text(5), "Ly5 - Hidden T(7)-S(8)-B(9)");
}

// Reset gives the first two layers back their disc and the others nothing; set-as-default gives any
// layer the disc.
TEST(Layer, ResetAndSetAsDefault) {
    test::RecordingHost host;
    auto layers = make_default_layers(host);
    for (const int i : {1, 5}) {
        layers[i].shapes.push_back(std::make_unique<SHAPE>(host));
        layers[i].transparency = 3;
        reset_layer(host, layers, i);
        EXPECT_EQ(layers[i].shapes.size(), i < 2 ? 1u : 0u) << i;
        EXPECT_EQ(layers[i].transparency, 255);
    }
    set_layer_as_default(host, layers, 5);
    ASSERT_EQ(layers[5].shapes.size(), 1u);
    EXPECT_EQ(layers[5].current, layers[5].shapes[0].get());
}

TEST(Layer, ShapeCursorSteps) {
    test::RecordingHost host;
    auto walk = [&](int n, int steps, const std::function<void(Layer&)>& setup) {
        Layer l(host, false);
        for (int i = 0; i < n; ++i) {
            l.shapes.push_back(std::make_unique<SHAPE>(host));
            l.shapes.back()->character = std::uint16_t(u"abc"[i]);
        }
        setup(l);
        l.rewind();
        std::vector<int> seen;
        for (int i = 0; i < steps; ++i, l.next_shape()) {
            int idx = -1;
            for (std::size_t k = 0; k < l.shapes.size(); ++k)
                if (l.shapes[k].get() == l.current) idx = int(k);
            seen.push_back(idx);
        }
        return seen;
    };
    using V = std::vector<int>;
    EXPECT_EQ(walk(0, 2, [](Layer&) {}), (V{-1, -1}));
    EXPECT_EQ(walk(3, 7, [](Layer&) {}), (V{0, 1, 2, 0, 1, 2, 0}));
    EXPECT_EQ(walk(3, 4, [](Layer& l) { l.first_shape_only = true; }), (V{0, 0, 0, 0}));
    // The first circle takes the first shape; then the passage's characters from the second on, an
    // unknown one falling back to the first shape, and the passage wrapping round.
    auto passage = [](bool fold) {
        return [fold](Layer& l) {
            l.passage_mode = true;
            l.passage = u"xCbAc";
            l.case_folding = fold;
        };
    };
    EXPECT_EQ(walk(3, 6, passage(false)), (V{0, 0, 1, 0, 2, 0}));
    EXPECT_EQ(walk(3, 5, passage(true)), (V{0, 2, 1, 0, 2}));

    Layer negative(host, false);
    for (int i = 0; i < 3; ++i) negative.shapes.push_back(std::make_unique<SHAPE>(host));
    negative.shape_cursor = -4;
    negative.next_shape();
    EXPECT_EQ(negative.current, negative.shapes[2].get());
}

}  // namespace
}  // namespace velq
