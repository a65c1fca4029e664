// Order labels for the packer's outline points: every point carries a 64-bit label, and a point
// inserted after another gets a label between it and its successor, so two positions compare in
// O(1). When no gap is left, a window of neighbours is spread out again (list labelling with
// density thresholds: amortised O(log^2 n) relabels per insertion).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velq::pack {

class OrderList {
public:
    // Makes room for ids below n.
    void reserve(int n);
    // Appends `id` at the end with evenly spread labels; for building the initial order.
    void push_back(int id);
    // Inserts `id` right after `after` (-1: at the front).
    void insert_after(int after, int id);
    // Inserts `ids`, in this order, right after `after`, spreading their labels over the gap.
    void insert_range_after(int after, const std::vector<int>& ids) {
        insert_range_after(after, ids.data(), ids.size());
    }
    void insert_range_after(int after, const int* ids, std::size_t count);
    void erase(int id);

    std::uint64_t label(int id) const { return nodes_[std::size_t(id)].label; }
    int next(int id) const { return nodes_[std::size_t(id)].next; }

    // Ids whose labels changed since the last call (to refresh keyed containers).
    std::vector<int>& relabelled() { return relabelled_; }

private:
    struct Node {
        std::uint64_t label = 0;
        int prev = -1, next = -1;
    };
    void relabel_around(int id);
    Node& node(int id);

    std::vector<Node> nodes_;
    int head_ = -1, tail_ = -1;
    std::vector<int> relabelled_;
};

}  // namespace velq::pack
