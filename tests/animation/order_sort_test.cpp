#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "animation/order_sort.h"

namespace velq {
namespace {

// Short and long lists (narrow and wide digits), orders that need one to four passes, many repeats:
// the same as a stable comparison sort.
TEST(OrderSort, SortsByOrderAndKeepsEqualOrdersAsTheyWere) {
    using Entry = std::pair<std::uint32_t, std::uint32_t>;  // order, place in the list
    std::mt19937 gen(11);
    for (const std::size_t n : {0u, 1u, 7u, 600u, 4095u, 4096u, 20000u}) {
        for (const std::uint32_t top : {0u, 255u, 256u, 70000u, 4000000000u}) {
            std::vector<Entry> items(n), spare;
            for (std::uint32_t i = 0; i < n; ++i)
                items[i] = {std::uniform_int_distribution<std::uint32_t>(0, top)(gen) / (i % 3 ? 1 : 1000),
                            i};
            std::vector<Entry> expected = items;
            std::stable_sort(expected.begin(), expected.end(),
                             [](const Entry& a, const Entry& b) { return a.first < b.first; });
            sort_by_order(items, spare, [](const Entry& e) { return e.first; });
            EXPECT_EQ(items, expected) << n << " " << top;
        }
    }
}

}  // namespace
}  // namespace velq
