#include "transform/order_list.h"

#include <array>
#include <cmath>
#include <span>

namespace velq::pack {
namespace {
constexpr int kBits = 62;
constexpr std::uint64_t kSpace = std::uint64_t(1) << kBits;
// Spacing of labels appended at the end.
constexpr std::uint64_t kAppendStep = std::uint64_t(1) << 32;
}  // namespace

OrderList::Node& OrderList::node(int id) {
    if (std::size_t(id) >= nodes_.size()) nodes_.resize(std::size_t(id) + 1 + nodes_.size() / 2);
    return nodes_[std::size_t(id)];
}

void OrderList::reserve(int n) {
    if (std::size_t(n) > nodes_.size()) nodes_.resize(std::size_t(n));
}

void OrderList::push_back(int id) {
    insert_after(tail_, id);
}

void OrderList::insert_after(int after, int id) {
    Node& n = node(id);
    const int next = after < 0 ? head_ : nodes_[std::size_t(after)].next;
    n.prev = after;
    n.next = next;
    if (after < 0) {
        head_ = id;
    } else {
        nodes_[std::size_t(after)].next = id;
    }
    if (next < 0) {
        tail_ = id;
    } else {
        nodes_[std::size_t(next)].prev = id;
    }
    const std::uint64_t lo = after < 0 ? 0 : nodes_[std::size_t(after)].label;
    if (next < 0) {
        // At the end: a fixed step while it fits, else halfway to the end of the label space.
        if (kSpace - lo > 2 * kAppendStep) {
            n.label = lo + kAppendStep;
        } else if (kSpace - lo >= 2) {
            n.label = lo + (kSpace - lo) / 2;
        } else {
            relabel_around(id);
        }
        return;
    }
    const std::uint64_t hi = nodes_[std::size_t(next)].label;
    if (hi - lo >= 2) {
        n.label = lo + (hi - lo) / 2;
    } else {
        relabel_around(id);
    }
}

void OrderList::insert_range_after(int after, const int* ids, std::size_t count) {
    if (count == 0) return;
    const int next = after < 0 ? head_ : nodes_[std::size_t(after)].next;
    const std::uint64_t lo = after < 0 ? 0 : nodes_[std::size_t(after)].label;
    const std::uint64_t hi = next < 0 ? kSpace : nodes_[std::size_t(next)].label;
    int prev = after;
    for (const int id : std::span(ids, count)) {
        Node& n = node(id);
        n.prev = prev;
        n.label = lo;  // inside any window around `after`, for a relabel below
        if (prev < 0) {
            head_ = id;
        } else {
            nodes_[std::size_t(prev)].next = id;
        }
        prev = id;
    }
    nodes_[std::size_t(prev)].next = next;
    if (next < 0) {
        tail_ = prev;
    } else {
        nodes_[std::size_t(next)].prev = prev;
    }
    const std::uint64_t k = count;
    if (hi - lo > k) {
        const std::uint64_t step = (hi - lo) / (k + 1);
        std::uint64_t label = lo;
        for (const int id : std::span(ids, count)) nodes_[std::size_t(id)].label = label += step;
        return;
    }
    relabel_around(ids[0]);  // the window around `after` holds every new node (label lo)
}

void OrderList::erase(int id) {
    Node& n = nodes_[std::size_t(id)];
    if (n.prev < 0) {
        head_ = n.next;
    } else {
        nodes_[std::size_t(n.prev)].next = n.next;
    }
    if (n.next < 0) {
        tail_ = n.prev;
    } else {
        nodes_[std::size_t(n.next)].prev = n.prev;
    }
    n.prev = n.next = -1;
}

void OrderList::relabel_around(int id) {
    // Grow an aligned label window around the neighbours until it is sparse enough, then spread the
    // nodes inside it evenly. Each window holds the one before it, so the walks over the nodes whose
    // labels fall into it go on from where the last window's ended.
    // A window of 2^i labels may hold (2 / 1.5)^i nodes: windows stay small, and spreading leaves
    // them sparse, so relabels stay cheap (amortised O(log n) per insertion).
    static const auto room = [] {
        std::array<double, kBits + 1> r{};
        for (int i = 0; i <= kBits; ++i) r[std::size_t(i)] = std::pow(2.0 / 1.5, i);
        return r;
    }();
    const int anchor =
        nodes_[std::size_t(id)].prev >= 0 ? nodes_[std::size_t(id)].prev : nodes_[std::size_t(id)].next;
    const std::uint64_t at = anchor >= 0 ? nodes_[std::size_t(anchor)].label : 0;
    int first = id, last = id;
    std::uint64_t count = 1;
    for (int i = 1; i <= kBits; ++i) {
        const std::uint64_t size = std::uint64_t(1) << i;
        const std::uint64_t base = at & ~(size - 1);
        auto inside = [&](int p) {
            return nodes_[std::size_t(p)].label >= base && nodes_[std::size_t(p)].label - base < size;
        };
        for (int p = nodes_[std::size_t(first)].prev; p >= 0 && inside(p); p = nodes_[std::size_t(p)].prev) {
            first = p;
            ++count;
        }
        for (int q = nodes_[std::size_t(last)].next; q >= 0 && inside(q); q = nodes_[std::size_t(q)].next) {
            last = q;
            ++count;
        }
        if (double(count + 1) > room[std::size_t(i)] && i < kBits) continue;
        const std::uint64_t step = size / (count + 1);
        if (step == 0) continue;
        std::uint64_t label = base + step;
        for (int p = first;; p = nodes_[std::size_t(p)].next) {
            nodes_[std::size_t(p)].label = label;
            relabelled_.push_back(p);
            label += step;
            if (p == last) break;
        }
        return;
    }
}

}  // namespace velq::pack
