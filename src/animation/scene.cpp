#include "animation/scene.h"

#include <algorithm>
#include <cstring>

#include "animation/motion.h"
#include "animation/order_sort.h"

namespace velq {

AnimationScene::AnimationScene(Host& host, const Camera& camera, ShapePainter& painter)
    : host_(host), camera_(camera), painter_(painter) {}

bool AnimationScene::allocate(UBUFFER base) {
    const int w = camera_.width(), h = camera_.height();
    if (!base || base.width() != w || base.height() != h || base.channels() != 4) return false;
    base_ = std::move(base);
    background_ = base_.clone();
    if (!base_ || !background_ || !display_.allocate(w, h, 4, Init::Uninitialised) ||
        !moving_depth_.allocate(w, h, 1, Init::Uninitialised))
        return false;
    display_dirty_.reset(w, h);
    depth_dirty_.reset(w, h);
    fresh_ = true;
    shows_background_ = false;
    return true;
}

void AnimationScene::build_board() {
    // Every shape at rest, by painting order for the board, and one animation after another for the
    // painter, which readies them once: they are painted as they are whenever they settle.
    std::vector<Circle> placements, rest;
    std::size_t count = 0, orders = 0;
    for (const ANIMATION* a : animations_) {
        count += a->items.size();
        for (const AnimationItem& it : a->items) orders = std::max<std::size_t>(orders, it.order + 1);
    }
    placements.resize(orders);
    rest.resize(count);
    rest_rects_.resize(count);
    first_rest_.clear();
    std::size_t k = 0;
    for (ANIMATION* a : animations_) {
        first_rest_.push_back(std::uint32_t(k));
        for (const AnimationItem& it : a->items) {
            Circle& c = rest[k];
            c = it.look;
            c.x = it.x;
            c.y = it.y;
            c.radius = it.p;
            placements[it.order] = c;
            rest_rects_[k++] = c.shape ? flat_rect(c, camera_.width(), camera_.height()) : PixelRect{};
        }
    }
    painter_.keep(rest);
    std::vector<Footprint> prints = find_footprints(placements, painter_, camera_.width(), camera_.height());
    const std::vector<Overlap> overlaps = find_overlaps(prints, camera_.width(), camera_.height());
    board_.reset(placements, prints, overlaps, painter_);
}

bool AnimationScene::rewind() {
    for (ANIMATION* a : animations_) a->rewind();
    board_.rewind();
    if (!copy_to(host_, base_, background_)) return false;
    display_dirty_.clear();
    depth_dirty_.clear();
    fresh_ = true;
    shows_background_ = false;
    return true;
}

void AnimationScene::mark(std::vector<PixelRect>& rects, DirtyTiles& tiles) {
    for (const PixelRect& r : rects) tiles.mark(r);
    rects.clear();
}

bool AnimationScene::gather(double t) {
    fixed_.clear();
    moving_.clear();
    for (std::size_t k = 0; k < animations_.size(); ++k) {
        if (host_.stopped()) return false;
        const std::size_t from = fixed_.size();
        animations_[k]->fixed_mesh(camera_, t, board_, fixed_);
        for (std::size_t i = from; i < fixed_.size(); ++i) fixed_[i].item += first_rest_[k];
    }
    for (ANIMATION* a : animations_) {
        if (host_.stopped()) return false;
        a->moving_mesh(camera_, t, false, moving_);
    }
    return true;
}

bool AnimationScene::draw_fixed() {
    if (host_.stopped()) return false;
    // Shapes at rest lie flat on the picture and never touch depth, so the still render's order alone
    // decides. It matters only among shapes that share pixels (few); the others go as they came.
    which_.clear();
    sharing_.clear();
    for (const RestEntry& e : fixed_) {
        if (board_.has_neighbours(e.order))
            sharing_.push_back(e);
        else
            which_.push_back(e.item);
        if (!rest_rects_[e.item].empty()) touched_.push_back(rest_rects_[e.item]);
    }
    sort_by_order(sharing_, spare_, [](const RestEntry& e) { return e.order; });
    for (const RestEntry& e : sharing_) which_.push_back(e.item);
    painter_.paint_kept(which_, background_);
    // Pixels the frame's shapes share with shapes painted after them in the still render lie inside
    // the rectangles just marked.
    board_.repair(base_, background_);
    mark(touched_, display_dirty_);
    return true;
}

void AnimationScene::restore_display() {
    if (full_copies_ || fresh_) {
        copy_to(host_, background_, display_);
        depth_stale_ = true;
        fresh_ = false;
    } else {
        display_dirty_.for_each_run([&](const PixelRect& r) {
            const std::size_t n = std::size_t(r.x1 - r.x0) * 4;
            for (int y = r.y0; y < r.y1; ++y)
                std::memcpy(display_.row(y) + std::size_t(r.x0) * 4,
                            background_.row(y) + std::size_t(r.x0) * 4, n);
        });
    }
    display_dirty_.clear();
}

UBUFFER& AnimationScene::display() {
    if (shows_background_) {
        restore_display();
        shows_background_ = false;
    }
    return display_;
}

bool AnimationScene::draw_moving() {
    if (host_.stopped()) return false;
    const auto& prims = moving_.primitives();
    // Nothing moves: the frame is the background as it stands. The display is brought back from
    // everything marked meanwhile when something is drawn on it or moves again, the depth only when
    // something moves again.
    if (prims.empty() && !full_copies_) {
        shows_background_ = true;
        return true;
    }
    shows_background_ = false;
    restore_display();
    // The background's depth is far everywhere (shapes at rest lie flat on the picture and write
    // none), so bringing the moving depth back is filling it with far depth.
    if (!depth_stale_) {
        depth_dirty_.for_each_run([&](const PixelRect& r) {
            for (int y = r.y0; y < r.y1; ++y)
                std::fill(moving_depth_.row(y) + r.x0, moving_depth_.row(y) + r.x1, kFarDepth);
        });
    }
    depth_dirty_.clear();
    // The moving depth is brought up to date only when a quad is about to use it: shapes that lie
    // flat on the picture never read or write depth.
    if (depth_stale_ &&
        std::any_of(prims.begin(), prims.end(), [](const Primitive& p) { return !p.flat(); })) {
        moving_depth_.fill(kFarDepth);
        depth_stale_ = false;
    }
    moving_.transform(camera_);
    rasterise(moving_, camera_, painter_, display_, moving_depth_, &touched_, &depth_touched_, &scratch_);
    mark(touched_, display_dirty_);
    mark(depth_touched_, depth_dirty_);
    return true;
}

}  // namespace velq
