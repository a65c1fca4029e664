#include "image/matte.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace velq {

bool matte_from_black_and_white(const UBUFFER& over_black, const UBUFFER& over_white, UBUFFER& out,
                                const UBUFFER* beneath, const UBUFFER* drawn) {
    if (!over_black || !over_black.same_shape(over_white) || over_black.channels() != 4) return false;
    if (bool(beneath) != bool(drawn) ||
        (beneath && !(beneath->same_shape(over_black) && drawn->same_shape(over_black))))
        return false;
    if (&out != &over_black && !out.same_shape(over_black) &&
        !out.allocate(over_black.width(), over_black.height(), 4))
        return false;
    for (int y = 0; y < over_black.height(); ++y) {
        const std::uint8_t* k = over_black.row(y);
        const std::uint8_t* w = over_white.row(y);
        const std::uint8_t* b = beneath ? beneath->row(y) : nullptr;
        const std::uint8_t* d = drawn ? drawn->row(y) : nullptr;
        std::uint8_t* o = out.row(y);
        for (int x = 0; x < over_black.width(); ++x, k += 4, w += 4, o += 4) {
            const int through = (w[0] - k[0]) + (w[1] - k[1]) + (w[2] - k[2]);  // 3 * 255 B
            const int alpha = std::clamp(int(std::lround(255 - through / 3.0)), 0, 255);
            std::uint8_t px[4] = {0, 0, 0, std::uint8_t(alpha)};
            for (int c = 0; c < 3 && alpha > 0; ++c)
                px[c] = std::uint8_t(std::clamp(std::lround(k[c] * 255.0 / alpha), 0L, 255L));
            if (b) {
                const std::uint8_t* bp = b + 4 * std::size_t(x);
                const std::uint8_t* dp = d + 4 * std::size_t(x);
                for (int c = 0; c < 3; ++c)
                    if (std::abs((px[c] * alpha + bp[c] * (255 - alpha) + 127) / 255 - dp[c]) > 1) {
                        std::copy(dp, dp + 3, px);
                        px[3] = 255;
                        break;
                    }
            }
            std::copy(px, px + 4, o);
        }
    }
    return true;
}

}  // namespace velq
