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

std::unique_ptr<ANIMATION> prepare_layer_animation(Host& host, const Layer& layer,
                                                   std::vector<AnimationItem> items,
                                                   const AnimationContext& ctx) {
    std::unique_ptr<ANIMATION> animation =
        make_animation(layer.anim.motion, layer.anim, ctx.max_size, layer.anim.scan);
    if (!animation) return nullptr;
    animation->items = std::move(items);
    animation->pre_operation(host, ctx);
    return animation;
}

double animation_duration(std::span<const Layer> layers,
                          std::span<const std::unique_ptr<ANIMATION>> animations) {
    double d = 0.0;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const Layer& layer = layers[i];
        if (!layer.shown || !layer.has_shapes()) continue;
        double e = i < animations.size() && animations[i] ? animations[i]->last_end() : 0.0;
        if (layer.anim.motion == 1) e += SNOW_ANIMATION::kHold;
        d = std::max(d, e);
    }
    return d;
}

}  // namespace velq
