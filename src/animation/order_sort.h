// A stable sort of a frame's shapes by their place in the still render's painting order: least
// significant digit first, 8 or 11 bits a pass, only as many passes as the largest order needs. A frame
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
    // Short lists take narrower digits: clearing and summing the buckets would cost more than the
    // extra pass.
    const int bits = items.size() < 4096 ? 8 : 11;
    const std::size_t buckets = std::size_t(1) << bits, mask = buckets - 1;
    spare.resize(items.size());
    for (int shift = 0; shift < 32 && (std::uint64_t(top) >> shift) != 0; shift += bits) {
        std::size_t start[std::size_t(1) << 11];
        std::fill_n(start, buckets, std::size_t(0));
        for (const T& it : items) ++start[(std::uint32_t(order_of(it)) >> shift) & mask];
        std::size_t at = 0;
        for (std::size_t b = 0; b < buckets; ++b) {
            const std::size_t n = start[b];
            start[b] = at;
            at += n;
        }
        for (const T& it : items) spare[start[(std::uint32_t(order_of(it)) >> shift) & mask]++] = it;
        items.swap(spare);
    }
}

}  // namespace velq
