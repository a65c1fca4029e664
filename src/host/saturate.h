// Double-to-int truncation toward zero that saturates instead of overflowing: an absurd setting or
// coordinate gives an extreme value rather than undefined behaviour. NaN becomes 0.
#pragma once

#include <climits>

namespace velq {

inline int saturate_int(double v) {
    if (!(v == v)) return 0;
    if (v >= double(INT_MAX)) return INT_MAX;
    if (v <= double(INT_MIN)) return INT_MIN;
    return static_cast<int>(v);
}

}  // namespace velq
