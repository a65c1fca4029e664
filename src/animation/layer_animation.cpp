#include "animation/layer_animation.h"

#include <algorithm>

#include "animation/kinds.h"

namespace velq {

std::vector<AnimationItem> make_items(std::span<const Circle> placements, std::uint32_t first_order) {
    std::vector<AnimationItem> items(placements.size());
    for (std::size_t i = 0; i < placements.size(); ++i) {
        const Circle& c = placements[i];
        AnimationItem& it = items[i];
        it.x = c.x;
        it.y = c.y;
        it.z = 0.0;
        it.p = c.radius;
        it.order = first_order + std::uint32_t(i);
        it.look = c;
    }
    return items;
}

bool prepare_layer_animation(Host& host, Layer& layer, std::vector<AnimationItem> items,
                             const AnimationContext& ctx) {
    layer.animation.reset();
    layer.animation = make_animation(layer.anim.motion, layer.anim, ctx.max_size, layer.anim.scan);
    if (!layer.animation) return false;
    layer.animation->items = std::move(items);
    layer.animation->pre_operation(host, ctx);
    return true;
}

double animation_duration(std::span<const Layer> layers) {
    double d = 0.0;
    for (const Layer& layer : layers) {
        if (!layer.shown || !layer.has_shapes()) continue;
        double e = layer.animation ? layer.animation->last_end() : 0.0;
        if (layer.anim.motion == 1) e += SNOW_ANIMATION::kHold;
        d = std::max(d, e);
    }
    return d;
}

}  // namespace velq
