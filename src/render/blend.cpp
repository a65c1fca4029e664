#include "render/blend.h"

namespace velq {

int blend_channel(int s, int m, int o, double c, int global_brightness, int transparency, double k) {
    const double t = double(transparency) * m / 255;
    const double v = ((s * c / 255 + global_brightness) * t + o * (255 - t)) * k / 255;
    return int(std::clamp(v, 0.0, 255.0));
}

}  // namespace velq
