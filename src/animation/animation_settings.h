// The per-layer animation settings that the Animation settings dialog, the tool and the settings
// block share.
#pragma once

#include <string>

namespace velq {

struct AnimationSettings {
    std::string name;            // motion-pack or preset name; empty by default
    double duration = 5.0;       // seconds over which the layer's shapes start, in scan order
    int motion = 0;              // motion kind: 0 Basic, 1 Snow, 2 Sparkle, 3 Wave, 4 Flower, 5 Firefly
    int scan = 1;                // scan order index (0 Transformed, 1 Random, 2..7 the ordered scans)
    int count = 1;               // the layer's integer n of the kinds' v * W * n / 100 parameter
    double motion_time = 1.0;    // seconds that each shape moves
    double timestamp = 0.0;      // when the layer's first shape starts, seconds

    bool operator==(const AnimationSettings&) const = default;
};

}  // namespace velq
