#include "app/document_animation.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "animation/layer_animation.h"
#include "app/drawing_op.h"
#include "app/motion_pack_load.h"
#include "host/parallel.h"
#include "host/worker_pool.h"
#include "motion/pack_animation.h"
#include "render/band_paint.h"
#include "render/logo.h"
#include "render/paint.h"
#include "render/renderer.h"
#include "render/shape.h"

namespace velq {

namespace {

class RendererPainter : public ShapePainter {
public:
    RendererPainter(Host& host, int g) : host_(host), g_(g), painter_(host, g) {
        readiers_.resize(std::size_t(pool_.size()));
        for (std::size_t k = 1; k < readiers_.size(); ++k) readiers_[k] = std::make_unique<Painter>(host, g);
    }

    int paint(const Circle& c, UBUFFER& buffer) override {
        Placement p;
        static_cast<Circle&>(p) = c;
        PaintJob job;
        const int r = painter_.prepare(p, p.paint, job);
        if (r != 0) return r < 0 ? -1 : 0;
        painter_.paint_area(job, buffer, 0, buffer.height(), 0, buffer.width());
        return 0;
    }

    // A frame's shapes go to the kept threads: readied in parts, one Painter (with its own tables)
    // per thread, then painted in bands.
    int paint_all(std::span<const Circle> placements, UBUFFER& buffer) override {
        const std::size_t n = placements.size();
        // The list only grows: readying a job sets all that painting it reads.
        if (jobs_.size() < n) jobs_.resize(n);
        const int parts = n >= kJobsPerPart * 2 ? int(readiers_.size()) : 1;
        std::atomic<int> failures{0};
        pool_.run(parts, [&](int k) {
            Painter& painter = k == 0 ? painter_ : *readiers_[std::size_t(k)];
            int failed = 0;
            for (std::size_t i = n * std::size_t(k) / parts; i < n * std::size_t(k + 1) / parts; ++i)
                failed += painter.prepare(placements[i], placements[i].paint, jobs_[i]) < 0;
            failures += failed;
        });
        paint_jobs_in_bands(host_, painter_, std::span(jobs_.data(), n), buffer, pool_);
        return failures;
    }

    // Shapes at rest: readied once, in parts on threads, and painted from there when they settle,
    // bands shared out by their reaches alone. A frame's settling shapes lie close together in
    // `placements` (the order in which they settle), so their reaches are near at hand.
    void keep(std::span<const Circle> placements) override {
        const std::size_t n = placements.size();
        kept_.assign(n, PaintJob{});
        kept_failed_.assign(n, 0);
        kept_reach_.assign(n, JobReach{});
        const int parts = n >= kJobsPerPart * 2 ? int(readiers_.size()) : 1;
        // Threads of their own, not the kept ones: this runs once, before the frames, and the kept
        // threads are to be started by the thread that draws the frames (they take its priority).
        parallel_rows(
            0, parts,
            [&](int k0, int k1) {
                for (int k = k0; k < k1; ++k) {
                    Painter& painter = k == 0 ? painter_ : *readiers_[std::size_t(k)];
                    for (std::size_t i = n * std::size_t(k) / parts; i < n * std::size_t(k + 1) / parts;
                         ++i) {
                        kept_failed_[i] = painter.prepare(placements[i], placements[i].paint, kept_[i]) < 0;
                        kept_reach_[i] = job_reach(kept_[i]);
                    }
                }
            },
            1);
    }

    int paint_kept(std::span<const std::uint32_t> which, UBUFFER& buffer) override {
        int failures = 0;
        for (const std::uint32_t i : which) failures += kept_failed_[i];
        paint_jobs_in_bands(host_, painter_, kept_, kept_reach_, which, buffer, pool_);
        return failures;
    }

    std::shared_ptr<const UBUFFER> stencil(const SHAPE& shape, int side) override {
        auto st = shape.stencils.get(host_, shape.shade_plane, shape.mask_plane, side);
        if (!st) return nullptr;
        return std::shared_ptr<const UBUFFER>(st, &st->planes);
    }

    int global_brightness() const override { return g_; }

private:
    // Below this many jobs a part is not worth a thread.
    static constexpr std::size_t kJobsPerPart = 256;

    Host& host_;
    int g_;
    Painter painter_;
    WorkerPool pool_;
    std::vector<std::unique_ptr<Painter>> readiers_;  // the other threads' painters; [0] unused
    std::vector<PaintJob> jobs_;
    std::vector<PaintJob> kept_;  // shapes at rest, readied by keep()
    std::vector<JobReach> kept_reach_;
    std::vector<std::uint8_t> kept_failed_;
};

// Circles are measured in working pixels; a larger frame scales them as the still render does.
double radius_scale(const Document& doc, int width) {
    return doc.working && doc.working.width() > 0 ? double(width) / doc.working.width() : 1.0;
}

// Where render_logo puts the logo on a w x h picture, so the next frame can take it away again.
PixelRect logo_rect(const UBUFFER& logo, int w, int h, double fx, double fy) {
    if (!logo || logo.height() <= 0) return {};
    const int lh = int(h * 0.03);
    const int lw = int(double(logo.width()) * lh / logo.height());
    if (lw < 1 || lh < 1) return {};
    int x = std::max(0, int(w * fx - lw * 0.5)), y = std::max(0, int(h * fy - lh * 0.5));
    if (x + lw >= w) x = w - lw + 1;
    if (y + lh >= h) y = h - lh + 1;
    // One pixel of slack on every side costs nothing and covers any rounding of the painter.
    return {std::clamp(x - 1, 0, w), std::clamp(y - 1, 0, h), std::clamp(x + lw + 1, 0, w),
            std::clamp(y + lh + 1, 0, h)};
}

}  // namespace

std::unique_ptr<ShapePainter> make_renderer_painter(Host& host, int global_brightness) {
    return std::make_unique<RendererPainter>(host, global_brightness);
}

DocumentAnimation::DocumentAnimation(Document& doc, Host& host) : doc_(doc), host_(host) {}

DocumentAnimation::~DocumentAnimation() = default;

int DocumentAnimation::prepare(int width, int height, const char* alloc_message) {
    return prepare(width, height, alloc_message, 1, int(doc_.layers.size()) - 1, nullptr);
}

int DocumentAnimation::prepare_alone(int width, int height, int layer, const UBUFFER& base,
                                     const char* alloc_message) {
    if (layer < 1 || layer >= int(doc_.layers.size()) || base.width() != width || base.height() != height ||
        base.channels() != 4)
        return 1;
    return prepare(width, height, alloc_message, layer, layer, &base);
}

int DocumentAnimation::prepare_up_to(int width, int height, int layer, const char* alloc_message) {
    if (layer < 1 || layer >= int(doc_.layers.size())) return 1;
    return prepare(width, height, alloc_message, 1, layer, nullptr);
}

int DocumentAnimation::prepare(int width, int height, const char* alloc_message, int first, int last,
                               const UBUFFER* base_picture) {
    scene_.reset();
    const int g = doc_.settings.global_brightness;
    painter_ = make_renderer_painter(host_, g);
    const Camera camera(width, height);
    const AnimationContext ctx{width, height, doc_.settings.max_size, doc_.seeds.time_seed()};
    // Random colours are drawn once for the whole animation.
    Random random(doc_.seeds.time_seed());
    const double scale = radius_scale(doc_, width);
    std::vector<std::vector<Placement>> placements(doc_.layers.size());
    std::uint32_t order = 0;
    animations_.clear();
    animations_.resize(doc_.layers.size());
    // A motion pack's surface, sampled at the working size as its circles are, seen at this frame's.
    const MotionPack* pack = doc_.motion_pack_loaded ? doc_.motion_pack.get() : nullptr;
    PackSamples samples;
    if (pack) {
        samples = sample_pack(*pack, doc_.pack_view, doc_.working.width(), doc_.working.height(),
                              doc_.settings.max_size, doc_.settings.min_size);
        if (samples.too_many) {
            host_.message(too_many_samples_message(doc_.path));
            return 1;
        }
    }
    const std::span<const Circle> source_circles =
        pack ? std::span<const Circle>(samples.circles) : doc_.circles;
    for (std::size_t i = 0; i < doc_.layers.size(); ++i) {
        Layer& layer = doc_.layers[i];
        if (!layer.shown || !layer.has_shapes()) continue;
        // Shapes on a pack ride the model; the first layer paints nothing under it.
        if (pack && i == 0) continue;
        placements[i] = make_placements(host_, layer, doc_.palettes, doc_.segments, source_circles, width,
                                        height, scale, random);
        if (host_.stopped()) return 1;
        if (placements[i].empty()) {
            host_.message("Please complete the transform first");
            return 1;
        }
        std::vector<Circle> circles(placements[i].begin(), placements[i].end());
        std::vector<AnimationItem> items = make_items(circles, i == 0 ? 0 : order);
        if (pack) {
            for (AnimationItem& item : items) item.end = pack->duration();
            auto ride = std::make_unique<PackAnimation>(layer.anim, *pack, samples.samples,
                                                        pack->view(doc_.pack_view, width, height));
            ride->items = std::move(items);
            animations_[i] = std::move(ride);
        } else {
            // The first layer's shapes count in the duration but are painted into the base, not animated.
            animations_[i] = prepare_layer_animation(host_, layer, std::move(items), ctx);
        }
        if (i > 0) order += std::uint32_t(circles.size());
    }
    duration_ = pack ? pack->duration() : animation_duration(doc_.layers, animations_);

    UBUFFER base;
    if (!base.allocate(width, height, 4)) {
        host_.message(alloc_message);
        return -1;
    }
    if (base_picture) {
        if (!animations_[std::size_t(first)]) return 1;
        std::copy(base_picture->data(), base_picture->data() + base.size(), base.data());
    } else if (pack) {
        fill_background(base, doc_.background);
    } else if (doc_.rendered && doc_.rendered_settings.drawing.kind != DrawingKind::None) {
        // A drawing replaced the render: the animation starts from it.
        if (draw_picture(doc_, host_, doc_.rendered_settings.drawing, base, nullptr) != 0) return 1;
    } else if (!placements[0].empty()) {
        fill_background(base, doc_.background);
        if (!paint_placements(host_, placements[0], base, g, true, nullptr)) return 1;
    }
    scene_ = std::make_unique<AnimationScene>(host_, camera, *painter_);
    if (!scene_->allocate(std::move(base))) {
        scene_.reset();
        host_.message(alloc_message);
        return -1;
    }
    for (std::size_t i = 1; i < doc_.layers.size(); ++i)
        if (animations_[i] && !placements[i].empty() && int(i) >= first && int(i) <= last)
            scene_->add(*animations_[i]);
    scene_->build_board();
    return 0;
}

const UBUFFER* DocumentAnimation::frame(double t, double fx, double fy) {
    if (!scene_ || !scene_->render(t)) return nullptr;
    if (!doc_.logo) return &scene_->frame();
    UBUFFER& display = scene_->display();
    render_logo(host_, display, doc_.logo, doc_.logo_transparency, fx, fy);
    const PixelRect r = logo_rect(doc_.logo, display.width(), display.height(), fx, fy);
    if (!r.empty()) scene_->drew_over(r);
    return &display;
}

}  // namespace velq
