#include "animation/scan_order.h"

#include <algorithm>

namespace velq {

namespace {

// Counts of items not yet taken, to find the k-th remaining one in O(log n).
class Remaining {
public:
    explicit Remaining(std::size_t n) : tree_(n + 1, 0) {
        for (std::size_t i = 1; i <= n; ++i) {
            tree_[i] += 1;
            const std::size_t parent = i + (i & (~i + 1));
            if (parent <= n) tree_[parent] += tree_[i];
        }
        top_ = 1;
        while (top_ * 2 <= n) top_ *= 2;
    }
    // Index (0-based, in the original order) of the k-th (0-based) remaining item; removes it.
    std::size_t take(std::size_t k) {
        std::size_t pos = 0;
        for (std::size_t step = top_; step > 0; step /= 2) {
            if (pos + step < tree_.size() && tree_[pos + step] <= k) {
                pos += step;
                k -= tree_[pos];
            }
        }
        for (std::size_t i = pos + 1; i < tree_.size(); i += i & (~i + 1)) --tree_[i];
        return pos;
    }

private:
    std::vector<std::size_t> tree_;
    std::size_t top_ = 1;
};

template <class Key>
void stable_by(std::vector<AnimationItem>& items, Key key) {
    std::stable_sort(items.begin(), items.end(),
                     [&](const AnimationItem& a, const AnimationItem& b) { return key(a) < key(b); });
}

}  // namespace

void apply_scan_order(std::vector<AnimationItem>& items, int order, Random& rng, std::uint32_t time_seed,
                      int width, int height) {
    const double cx = width * 0.5, cy = height * 0.5;
    auto dist2 = [&](const AnimationItem& a) { return (a.x - cx) * (a.x - cx) + (a.y - cy) * (a.y - cy); };
    switch (order) {
        case 0:
            rng.seed(time_seed & 0xFF);
            return;
        case 1: {
            rng.seed(time_seed);
            const std::size_t n = items.size();
            std::vector<AnimationItem> out;
            out.reserve(n);
            Remaining left(n);
            for (std::size_t k = n; k-- > 0;) {
                const std::size_t at = std::size_t(rng.next() * double(k) / 32767.0);
                out.push_back(std::move(items[left.take(at)]));
            }
            items = std::move(out);
            return;
        }
        case 2:
            stable_by(items, [&](const AnimationItem& a) { return dist2(a); });
            break;
        case 3:
            stable_by(items, [&](const AnimationItem& a) { return -dist2(a); });
            break;
        case 4:
            stable_by(items, [](const AnimationItem& a) { return a.x; });
            break;
        case 5:
            stable_by(items, [](const AnimationItem& a) { return a.y; });
            break;
        case 6:
            stable_by(items, [](const AnimationItem& a) { return -a.x; });
            break;
        case 7:
            stable_by(items, [](const AnimationItem& a) { return -a.y; });
            break;
        default:
            break;
    }
    rng.seed(time_seed);
}

void assign_times(std::vector<AnimationItem>& items, const AnimationSettings& s) {
    const std::size_t n = items.size();
    for (std::size_t i = 0; i < n; ++i) {
        items[i].start = s.timestamp + s.duration * double(i) / double(n);
        items[i].end = items[i].start + s.motion_time;
    }
}

}  // namespace velq
