#include "render/layer.h"

#include <algorithm>
#include <cstdio>
#include <cwctype>

#include "host/progress.h"
#include "render/passage_shapes.h"

namespace velq {

Layer::Layer(Host& host, bool with_default_disc) {
    if (!with_default_disc) return;
    first_shape_only = true;
    shapes.push_back(std::make_unique<SHAPE>(host));
    current = shapes.front().get();
}

void Layer::clear_shapes() {
    shapes.clear();
    current = nullptr;
    shape_cursor = 0;
}

void Layer::apply_tone() {
    for (auto& s : shapes) s->apply_layer_tone(brightness, transparency);
}

namespace {
// From `cursor`, the first passage position the walk draws (or `cursor` when it draws none).
int drawn_position(const Layer& l, int cursor) {
    const int n = int(l.passage.size());
    for (int k = 0; k < n; ++k) {
        const int at = (cursor + k) % n;
        if (!passage_skips(l.passage[std::size_t(at)], l.keep_blanks)) return at;
    }
    return cursor;
}

// The shape drawing passage position `at`; the first shape when none does.
SHAPE* passage_shape(const Layer& l, int at) {
    char16_t ch = l.passage[std::size_t(at)];
    if (l.case_folding) ch = char16_t(std::towlower(wint_t(ch)));
    for (const auto& s : l.shapes)
        if (s->character == ch) return s.get();
    return l.shapes.front().get();
}
}  // namespace

void Layer::rewind() {
    shape_cursor = 0;
    passage_cursor = 0;
    current = shapes.empty() ? nullptr : shapes.front().get();
    if (current && passage_mode && !first_shape_only && !passage.empty()) {
        passage_cursor = drawn_position(*this, 0);
        current = passage_shape(*this, passage_cursor);
    }
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
        passage_cursor = drawn_position(*this, (passage_cursor + 1) % int(passage.size()));
        current = passage_shape(*this, passage_cursor);
        return;
    }
    shape_cursor = shape_cursor + 1;
    if (shape_cursor >= n) shape_cursor = 0;
    if (shape_cursor < 0) shape_cursor = n - 1;
    current = shapes[shape_cursor].get();
}

std::string Layer::list_text(int index) const {
    char buf[96];
    std::snprintf(buf, sizeof buf, "Ly%d - %s T(%d)-S(%d)-B(%d)", index, shown ? "Shown" : "Hidden",
                  transparency, size, brightness);
    return buf;
}

bool Layer::set_transparency(int value) {
    value = std::clamp(value, 0, 255);
    if (value == transparency) return false;
    transparency = value;
    apply_tone();
    return true;
}

bool Layer::set_size(int value) {
    value = std::clamp(value, 0, 300);
    if (value == size) return false;
    size = value;
    return true;
}

bool Layer::set_brightness(int value) {
    value = std::max(value, 0);
    if (value == brightness) return false;
    brightness = value;
    apply_tone();
    return true;
}

void reset_layer(Host& host, std::vector<Layer>& layers, int i) {
    if (i < 0 || i >= int(layers.size())) return;
    layers[i] = Layer(host, i < 2);
}

void set_layer_as_default(Host& host, std::vector<Layer>& layers, int i) {
    if (i < 0 || i >= int(layers.size())) return;
    layers[i] = Layer(host, true);
}

int load_shapes(Host& host, Layer& layer, std::span<const std::string> paths) {
    if (paths.empty()) return 0;
    layer.clear_shapes();
    auto title = [](const std::string& path) {
        return std::string(kAppName) + " (Loading shapes..." + path + ")";
    };
    int result = 0;
    {
        Progress progress(host, title(paths[0]), Progress::Raw{});
        const std::int64_t count = std::int64_t(paths.size());
        for (std::int64_t i = 0; i < count; ++i) {
            const std::string& path = paths[i];
            if (i > 0) progress.retitle(title(path));
            auto shape = std::make_unique<SHAPE>(host);
            if (shape->read_shape(host, path) != 0) {
                host.message("Failed to read shape in " + path);
                result = -1;
                break;
            }
            shape->apply_layer_tone(layer.brightness, layer.transparency);
            layer.shapes.push_back(std::move(shape));
            progress.update(i + 1, count);
        }
    }
    layer.passage_mode = false;
    layer.first_shape_only = false;
    layer.rewind();
    return result;
}

std::vector<Layer> make_default_layers(Host& host) {
    std::vector<Layer> layers;
    layers.reserve(Layer::kCount);
    for (int i = 0; i < Layer::kCount; ++i) layers.emplace_back(host, i < 2);
    return layers;
}

}  // namespace velq
