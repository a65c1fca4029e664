#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "animation/order_sort.h"
#include "animation/scan_order.h"
#include "render/animation_settings.h"

namespace velq {
namespace {

std::vector<AnimationItem> items_at(const std::vector<std::pair<double, double>>& xy) {
    std::vector<AnimationItem> items(xy.size());
    for (std::size_t i = 0; i < xy.size(); ++i)
        items[i].x = xy[i].first, items[i].y = xy[i].second, items[i].order = std::uint32_t(i);
    return items;
}

std::vector<std::uint32_t> orders(const std::vector<AnimationItem>& items) {
    std::vector<std::uint32_t> o;
    for (const auto& it : items) o.push_back(it.order);
    return o;
}

TEST(ScanOrder, OrdersByPlaceWithTiesInTransformOrder) {
    // In a 100 x 100 frame (centre 50, 50). Items 0 and 3 share x; 1 and 4 share the distance.
    const std::vector<std::pair<double, double>> xy = {{10, 50}, {50, 20}, {70, 90},
                                                       {10, 5},  {80, 50}, {50, 50}};
    // order, expected
    const std::tuple<int, std::vector<std::uint32_t>> cases[] = {
        {0, {0, 1, 2, 3, 4, 5}},  // Transformed
        {2, {5, 1, 4, 0, 2, 3}},  // Circular out: 0, 30, 30, 40, 44.7, 60.2
        {3, {3, 2, 0, 1, 4, 5}},  // Circular in
        {4, {0, 3, 1, 5, 2, 4}},  // Left to right
        {5, {3, 1, 0, 4, 5, 2}},  // Top to bottom
        {6, {4, 2, 1, 5, 0, 3}},  // Right to left
        {7, {2, 0, 4, 5, 1, 3}},  // Bottom to top
        {8, {0, 1, 2, 3, 4, 5}},  // the "To to bottom" label orders nothing
    };
    for (const auto& [order, expected] : cases) {
        auto items = items_at(xy);
        Random rng;
        apply_scan_order(items, order, rng, 1234, 100, 100);
        EXPECT_EQ(orders(items), expected) << kScanNames[order];
    }
}

TEST(ScanOrder, RandomDrawsFromTheRemainingItemsAndSeedsAsDescribed) {
    for (std::size_t n : {1u, 2u, 7u, 300u}) {
        auto items = items_at(std::vector<std::pair<double, double>>(n));
        Random rng;
        apply_scan_order(items, 1, rng, 77, 10, 10);
        // The plain way: erase from a list.
        Random ref(77);
        std::vector<std::uint32_t> left(n), expected;
        for (std::size_t i = 0; i < n; ++i) left[i] = std::uint32_t(i);
        for (std::size_t k = n; k-- > 0;) {
            const std::size_t at = std::size_t(ref.next() * double(k) / 32767.0);
            expected.push_back(left[at]);
            left.erase(left.begin() + at);
        }
        EXPECT_EQ(orders(items), expected) << n;
        // The generator goes on from where the shuffle left it.
        EXPECT_EQ(rng.next(), ref.next());
    }
    // Transformed seeds with the time's low 8 bits.
    auto items = items_at({{0, 0}});
    Random rng, ref(0x1234 & 0xFF);
    apply_scan_order(items, 0, rng, 0x1234, 10, 10);
    EXPECT_EQ(rng.next(), ref.next());
}

TEST(ScanOrder, StartTimesSpreadOverTheDurationAfterTheTimestamp) {
    auto items = items_at({{0, 0}, {1, 1}, {2, 2}, {3, 3}});
    AnimationSettings s;
    s.timestamp = 1.0, s.duration = 2.0, s.motion_time = 0.5;
    assign_times(items, s);
    std::vector<std::pair<double, double>> times;
    for (const auto& it : items) times.emplace_back(it.start, it.end);
    EXPECT_EQ(times,
              (std::vector<std::pair<double, double>>{{1.0, 1.5}, {1.5, 2.0}, {2.0, 2.5}, {2.5, 3.0}}));
}

TEST(AnimationSettings, NamesAndNumbersFindTheirIndex) {
    // text, motion, scan
    const std::tuple<const char*, int, int> cases[] = {{"Basic", 0, -1},
                                                       {"firefly", 5, -1},
                                                       {"left-to-right", -1, 4},
                                                       {"Bottom_to_top", -1, 7},
                                                       {"3", 3, 3},
                                                       {"To to bottom", -1, -1},
                                                       {"8", -1, -1},
                                                       {"", -1, -1},
                                                       {"circular out", -1, 2}};
    for (const auto& [text, motion, scan] : cases) {
        EXPECT_EQ(motion_index(text), motion) << text;
        EXPECT_EQ(scan_index(text), scan) << text;
    }
}

// Short and long lists (narrow and wide digits), orders that need one to four passes, many repeats:
// the same as a stable comparison sort.
TEST(OrderSort, SortsByOrderAndKeepsEqualOrdersAsTheyWere) {
    using Entry = std::pair<std::uint32_t, std::uint32_t>;  // order, place in the list
    std::mt19937 gen(11);
    for (const std::size_t n : {0u, 1u, 7u, 600u, 4095u, 4096u, 20000u})
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

}  // namespace
}  // namespace velq
