// Scan orders and timing: the order in which a layer's shapes start, and when each one starts and
// comes to rest.
#pragma once

#include <cstdint>
#include <vector>

#include "animation/animation.h"
#include "host/random.h"

namespace velq {

// Puts the items in scan order and seeds the generator as the order prescribes:
// 0 Transformed keeps the order and seeds with the time masked to 8 bits; 1 Random seeds with the
// time and draws each next item from those left at trunc(rand() * k / 32767.0), k from n - 1 down;
// 2 Circular out / 3 Circular in sort by distance from the frame centre, nearest / farthest first;
// 4 Left to right, 5 Top to bottom, 6 Right to left, 7 Bottom to top sort by x or y. Sorts are
// stable, so equal keys keep the transform's order. 2..7 and any other index seed with the time;
// an index above 7 keeps the order.
void apply_scan_order(std::vector<AnimationItem>& items, int order, Random& rng, std::uint32_t time_seed,
                      int width, int height);

// Item i of n starts at timestamp + duration * i / n and comes to rest motion_time later.
void assign_times(std::vector<AnimationItem>& items, const AnimationSettings& settings);

}  // namespace velq
