#include <gtest/gtest.h>

#include "render/layer.h"
#include "support/recording_host.h"

namespace velq {
namespace {

TEST(Layer, NineLayersWithTheirDefaults) {
    test::RecordingHost host;
    const auto layers = make_default_layers(host);
    ASSERT_EQ(layers.size(), 9u);
    for (int i = 0; i < 9; ++i) {
        const Layer& l = layers[i];
        EXPECT_EQ(l.shapes.size(), i < 2 ? 1u : 0u) << i;
        EXPECT_EQ(l.first_shape_only, i < 2) << i;
        EXPECT_EQ(l.current, i < 2 ? l.shapes[0].get() : nullptr) << i;
        EXPECT_EQ(l.transparency, 255);
        EXPECT_EQ(l.size, 100);
        EXPECT_EQ(l.brightness, 100);
        EXPECT_EQ(l.palette, 0);
        EXPECT_TRUE(l.shown);
        EXPECT_FALSE(l.random || l.shuffle || l.invert || l.convert || l.passage_mode);
        EXPECT_EQ(l.font.face, "Courier New");
    }
    EXPECT_EQ(layers[2].list_text(2), "Ly2 - Shown T(255)-S(100)-B(100)");
}

TEST(Layer, EditsClampAndRetone) {
    test::RecordingHost host;
    struct Case {
        const char* edit;
        int value, stored;
        bool changed;
        int mask_at_centre;
    } cases[] = {
        {"Trans", 400, 255, false, 255}, {"Trans", -5, 0, true, 0},        {"Trans", 128, 128, true, 128},
        {"Size", 350, 300, true, 255},   {"Size", -1, 0, true, 255},       {"Bright", 1000, 1000, true, 255},
        {"Bright", -3, 0, true, 255},    {"Bright", 100, 100, false, 255},
    };
    for (const Case& k : cases) {
        Layer l(host, true);
        const std::string e = k.edit;
        bool changed = false;
        int stored = 0;
        if (e == "Trans") {
            changed = l.set_transparency(k.value);
            stored = l.transparency;
        } else if (e == "Size") {
            changed = l.set_size(k.value);
            stored = l.size;
        } else {
            changed = l.set_brightness(k.value);
            stored = l.brightness;
        }
        EXPECT_EQ(stored, k.stored) << e << " " << k.value;
        EXPECT_EQ(changed, k.changed) << e << " " << k.value;
        EXPECT_EQ(l.shapes[0]->mask_plane.at(512, 512), k.mask_at_centre) << e << " " << k.value;
        if (e == "Bright") {
            EXPECT_EQ(l.shapes[0]->shade_plane.at(512, 512), k.stored == 0 ? 0 : 255);
        }
    }
    Layer hidden(host, false);
    hidden.shown = false;
    hidden.set_transparency(7);
    hidden.set_size(8);
    hidden.set_brightness(9);
    EXPECT_EQ(hidden.list_text(5), "Ly5 - Hidden T(7)-S(8)-B(9)");
}

TEST(Layer, ResetAndSetAsDefault) {
    test::RecordingHost host;
    auto layers = make_default_layers(host);
    for (int i : {1, 5}) {
        layers[i].clear_shapes();
        layers[i].shapes.push_back(std::make_unique<SHAPE>(host));
        layers[i].shapes.push_back(std::make_unique<SHAPE>(host));
        layers[i].transparency = 3;
        layers[i].shown = false;
    }
    reset_layer(host, layers, 1);
    reset_layer(host, layers, 5);
    EXPECT_EQ(layers[1].shapes.size(), 1u);
    EXPECT_TRUE(layers[1].first_shape_only);
    EXPECT_EQ(layers[1].transparency, 255);
    EXPECT_TRUE(layers[1].shown);
    EXPECT_TRUE(layers[5].shapes.empty());
    set_layer_as_default(host, layers, 5);
    EXPECT_EQ(layers[5].shapes.size(), 1u);
    EXPECT_EQ(layers[5].current, layers[5].shapes[0].get());
    reset_layer(host, layers, 9);  // out of range: nothing
    EXPECT_EQ(layers.size(), 9u);
}

TEST(Layer, ShapeCursorCases) {
    test::RecordingHost host;
    auto with_shapes = [&](int n, const char16_t* chars) {
        Layer l(host, false);
        for (int i = 0; i < n; ++i) {
            l.shapes.push_back(std::make_unique<SHAPE>(host));
            if (chars) l.shapes.back()->character = std::uint16_t(chars[i]);
        }
        l.rewind();
        return l;
    };
    auto walk = [](Layer& l, int steps) {
        std::vector<int> seen;
        for (int i = 0; i < steps; ++i) {
            int idx = -1;
            for (std::size_t k = 0; k < l.shapes.size(); ++k)
                if (l.shapes[k].get() == l.current) idx = int(k);
            seen.push_back(idx);
            l.next_shape();
        }
        return seen;
    };

    Layer empty(host, false);
    EXPECT_EQ(walk(empty, 2), (std::vector<int>{-1, -1}));

    Layer cycling = with_shapes(3, nullptr);
    EXPECT_EQ(walk(cycling, 7), (std::vector<int>{0, 1, 2, 0, 1, 2, 0}));

    Layer first = with_shapes(3, nullptr);
    first.first_shape_only = true;
    EXPECT_EQ(walk(first, 4), (std::vector<int>{0, 0, 0, 0}));

    Layer passage = with_shapes(3, u"abc");
    passage.passage_mode = true;
    passage.passage = u"xCbAc";
    // The first circle takes the first shape; then the passage's characters from the second on,
    // an unknown one falling back to the first shape, and the passage wrapping round.
    EXPECT_EQ(walk(passage, 6), (std::vector<int>{0, 0, 1, 0, 2, 0}));
    passage.rewind();
    passage.case_folding = true;
    EXPECT_EQ(walk(passage, 5), (std::vector<int>{0, 2, 1, 0, 2}));

    Layer negative = with_shapes(3, nullptr);
    negative.shape_cursor = -4;
    negative.next_shape();
    EXPECT_EQ(negative.current, negative.shapes[2].get());
}

}  // namespace
}  // namespace velq
