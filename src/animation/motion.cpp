#include "animation/motion.h"

#include "animation/scan_order.h"
#include "animation/settle_board.h"
#include "host/progress.h"

namespace velq {

double ANIMATION::last_end() const {
    double e = 0.0;
    for (const AnimationItem& it : items) e = std::max(e, it.end);
    return e;
}

Primitive MotionAnimation::rest(const AnimationItem& item) {
    Primitive p;
    p.look = item.look;
    p.look.x = item.x;
    p.look.y = item.y;
    p.look.radius = item.p;
    p.centre = {item.x, item.y, item.z};
    p.half = item.p;
    p.order = item.order;
    return p;
}

void MotionAnimation::pre_operation(Host& host, const AnimationContext& ctx) {
    Progress progress(host, "Snow animation Pre_operation");
    width_ = ctx.width;
    height_ = ctx.height;
    rewind();
    Random rng;
    apply_scan_order(items, mode_, rng, ctx.seed, ctx.width, ctx.height);
    assign_times(items, settings_);
    take_times();
    prepare(rng, ctx);
}

void MotionAnimation::take_times() {
    times_.resize(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) times_[i] = {items[i].start, items[i].end, items[i].order};
}

void MotionAnimation::rewind() {
    settled_.assign(items.size(), 0);
    first_unsettled_ = 0;
}

void MotionAnimation::moving_mesh(const Camera&, double t, bool finished, Mesh& out) const {
    // Items are in start order, so the walk ends at the first one that has not started.
    for (std::size_t i = finished ? 0 : first_unsettled_; i < items.size(); ++i) {
        const AnimationItem& it = items[i];
        if (it.start > t) break;
        if (t < it.end) {
            out.add(pose(it, i, (it.end - t) / (it.end - it.start), t));
        } else if (finished || !settled(i)) {
            out.add(rest(it));
        }
    }
}

void MotionAnimation::fixed_mesh(const Camera&, double t, SettleBoard& board, FixedMesh& out) {
    // Items given without being timed here (tests build them directly) are taken as they are.
    if (times_.size() != items.size()) take_times();
    settled_.resize(items.size(), 0);
    for (std::size_t i = first_unsettled_; i < items.size(); ++i) {
        const Timing& tm = times_[i];
        if (tm.start > t) break;
        if (t < tm.end || settled_[i]) continue;
        out.push_back({tm.order, std::uint32_t(i)});
        settled_[i] = 1;
        board.settle(tm.order);
    }
    while (first_unsettled_ < items.size() && settled_[first_unsettled_]) ++first_unsettled_;
}

}  // namespace velq
