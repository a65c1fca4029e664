// The brush-size map written out ring by ring, exactly as the walk is told: the reference that the
// fast map is checked against, in the tests and in the benchmark.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "image/buffer.h"

namespace velq::test {

inline IBUFFER ring_scan(const UBUFFER& pic, double thr, int maxpx, int minpx) {
    minpx = std::max(minpx, 0);
    IBUFFER out;
    out.allocate(pic.width(), pic.height(), 1);
    const int w = pic.width(), h = pic.height();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int s = minpx < 1 ? 1 : minpx;
            auto differs = [&](int i, int j) {
                for (int c = 0; c < 4; ++c)
                    if (std::abs(double(pic.at(i, j, c)) - double(pic.at(x, y, c))) > thr) return true;
                return false;
            };
            for (int k = minpx + 1; k < maxpx; ++k) {
                if (y - k < 0 || y + k >= h || x - k < 0 || x + k >= w) break;
                bool fail = false;
                for (int i = x - k; i <= x + k && !fail; ++i) fail = differs(i, y - k) || differs(i, y + k);
                for (int j = y - k; j <= y + k && !fail; ++j) fail = differs(x - k, j) || differs(x + k, j);
                if (fail) break;
                s = k;
            }
            out.at(x, y) = std::uint32_t(s);
        }
    return out;
}

}  // namespace velq::test
