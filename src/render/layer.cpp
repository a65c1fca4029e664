#include "render/layer.h"

#include <cstdio>

namespace velq {

Layer::Layer(Host& host, bool with_default_disc) {
    if (!with_default_disc) return;
    first_shape_only = true;
    shapes.push_back(std::make_unique<SHAPE>(host));
    current = shapes.front().get();
}

void Layer::clear_shapes() {
    animation.reset();
    shapes.clear();
    current = nullptr;
    shape_cursor = 0;
}

void Layer::apply_tone() {
    for (auto& s : shapes) s->apply_layer_tone(brightness, transparency);
}

void Layer::rewind() {
    shape_cursor = 0;
    passage_cursor = 0;
    current = shapes.empty() ? nullptr : shapes.front().get();
}

void Layer::next_shape() {
    if (shapes.empty()) {
        current = nullptr;
        return;
    }
    const int n = int(shapes.size());
    if (first_shape_only) {
        shape_cursor = 0;
        current = shapes.front().get();
        return;
    }
    if (passage_mode && !passage.empty()) {
        passage_cursor = (passage_cursor + 1) % int(passage.size());
        char16_t ch = passage[passage_cursor];
        if (case_folding && ch >= u'A' && ch <= u'Z') ch = char16_t(ch - u'A' + u'a');
        current = shapes.front().get();
        for (auto& s : shapes) {
            if (s->character == ch) {
                current = s.get();
                break;
            }
        }
        return;
    }
    shape_cursor = shape_cursor + 1;
    if (shape_cursor >= n) shape_cursor = 0;
    if (shape_cursor < 0) shape_cursor = n - 1;
    current = shapes[shape_cursor].get();
}

std::string Layer::list_text(int index) const {
    char buf[96];
    std::snprintf(buf, sizeof buf, "Ly%d - %s T(%d)-S(%d)-B(%d)", index, shown ? "Shown" : "Hidden", transparency,
                  size, brightness);
    return buf;
}

std::vector<Layer> make_default_layers(Host& host) {
    std::vector<Layer> layers;
    layers.reserve(Layer::kCount);
    for (int i = 0; i < Layer::kCount; ++i) layers.emplace_back(host, i < 2);
    return layers;
}

}  // namespace velq
