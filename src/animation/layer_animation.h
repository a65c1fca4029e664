// The animation of the Document's layers: each enabled layer with shapes gets a new object of its
// motion kind for every render or video, with one item per placement, and the animation's length
// is read from them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "animation/animation.h"
#include "render/layer.h"

namespace velq {

// One item per placement, in placement order, numbered from `first_order` in the still render's
// painting order.
std::vector<AnimationItem> make_items(std::span<const Circle> placements, std::uint32_t first_order);

// The factory step for one layer: a new object of the layer's kind (none for an index outside
// 0..5), given the items and prepared. Null when no object was made.
std::unique_ptr<ANIMATION> prepare_layer_animation(Host& host, const Layer& layer,
                                                   std::vector<AnimationItem> items,
                                                   const AnimationContext& ctx);

// The length of the whole animation: over every enabled layer that has shapes, the largest end
// time of its items, plus 2.5 s for Snow; 0.0 when no layer qualifies. `animations[i]` is layer i's
// object, null when it has none.
double animation_duration(std::span<const Layer> layers,
                          std::span<const std::unique_ptr<ANIMATION>> animations);

}  // namespace velq
