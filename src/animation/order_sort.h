// A stable sort of a frame's shapes by their place in the still render's painting order: least
// significant digit first, 11 bits a pass, only as many passes as the largest order needs. A frame
// has a few hundred to tens of thousands of shapes, for which this beats comparison sorts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velq {

// Sorts `items` by order_of(item) (an unsigned 32-bit order), keeping equal orders as they were.
// `spare` is working space that a caller sorting every frame keeps.
template <class T, class OrderOf>
void sort_by_order(std::vector<T>& items, std::vector<T>& spare, OrderOf order_of) {
    if (items.size() < 2) return;
    std::uint32_t top = 0;
    for (const T& it : items) top = std::max(top, std::uint32_t(order_of(it)));
    constexpr int kBits = 11;
    constexpr std::size_t kBuckets = std::size_t(1) << kBits;
    spare.resize(items.size());
    for (int shift = 0; shift < 32 && (std::uint64_t(top) >> shift) != 0; shift += kBits) {
        std::size_t start[kBuckets] = {};
        for (const T& it : items) ++start[(std::uint32_t(order_of(it)) >> shift) & (kBuckets - 1)];
        std::size_t at = 0;
        for (std::size_t& b : start) {
            const std::size_t n = b;
            b = at;
            at += n;
        }
        for (const T& it : items)
            spare[start[(std::uint32_t(order_of(it)) >> shift) & (kBuckets - 1)]++] = it;
        items.swap(spare);
    }
}

}  // namespace velq
