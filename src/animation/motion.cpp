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
    prepare(rng, ctx);
}

void MotionAnimation::rewind() {
    for (AnimationItem& it : items) it.settled = false;
    first_unsettled_ = 0;
}

void MotionAnimation::moving_mesh(const Camera&, double t, bool finished, Mesh& out) const {
    // Items are in start order, so the walk ends at the first one that has not started.
    for (std::size_t i = finished ? 0 : first_unsettled_; i < items.size(); ++i) {
        const AnimationItem& it = items[i];
        if (it.start > t) break;
        if (t < it.end) {
            out.add(pose(it, i, (it.end - t) / (it.end - it.start), t));
        } else if (!it.settled || finished) {
            out.add(rest(it));
        }
    }
}

void MotionAnimation::fixed_mesh(const Camera&, double t, SettleBoard& board, FixedMesh& out) {
    for (std::size_t i = first_unsettled_; i < items.size(); ++i) {
        AnimationItem& it = items[i];
        if (it.start > t) break;
        if (it.settled || t < it.end) continue;
        out.push_back({it.order, std::uint32_t(i)});
        it.settled = true;
        board.settle(it.order);
    }
    while (first_unsettled_ < items.size() && items[first_unsettled_].settled) ++first_unsettled_;
}

}  // namespace velq
