#include "gui/picture_view.h"

#include <algorithm>

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

namespace velq::gui {

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
    setMinimumSize(320, 240);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
    refresh_timer_.setSingleShot(true);
    connect(&refresh_timer_, &QTimer::timeout, this, [this] {
        since_refresh_.restart();
        update();
    });
    since_refresh_.start();
}

// At most one repaint per kRefreshMs for what a job sends; the waiting data is shown by the next one.
void PictureView::schedule_refresh() {
    if (refresh_timer_.isActive()) return;
    refresh_timer_.start(int(std::max<qint64>(0, kRefreshMs - since_refresh_.elapsed())));
}

void PictureView::show_live_picture(const QImage& image) {
    const bool new_size = image.width() != pic_w_ || image.height() != pic_h_;
    image_ = image;
    pic_w_ = image.width();
    pic_h_ = image.height();
    overlay_allowed_ = false;
    if (new_size) reset_view();
    schedule_refresh();
}

void PictureView::set_stale(const QString& reason) {
    if (reason == stale_) return;
    stale_ = reason;
    setToolTip(reason);
    update();
}

void PictureView::set_picture(const QImage& image, int pw, int ph, bool overlay_allowed) {
    const bool new_size = pw != pic_w_ || ph != pic_h_;
    image_ = image;
    pic_w_ = pw;
    pic_h_ = ph;
    overlay_allowed_ = overlay_allowed;
    if (new_size) reset_view();
    update();
}

void PictureView::set_overlay(Overlay overlay) {
    overlay_ = std::move(overlay);
    circle_layer_ = QImage();
    update();
}

void PictureView::clear_overlay() {
    overlay_ = {};
    circle_layer_ = QImage();
    update();
}

void PictureView::add_live_circles(const QVector<LiveCircle>& batch) {
    overlay_.circles += batch;
    schedule_refresh();
}

void PictureView::set_outline_marks(QVector<int> selected, int hovered) {
    selected_outlines_ = std::move(selected);
    hovered_outline_ = hovered;
    update();
}

void PictureView::set_show_edges(bool on) {
    show_edges_ = on;
    update();
}

void PictureView::reset_view() {
    state_.control_width = width();
    state_.control_height = height();
    state_.rect = velq::reset_view(width(), height(), pic_w_, pic_h_);
    update();
}

void PictureView::resizeEvent(QResizeEvent*) {
    reset_view();
}

void PictureView::paintEvent(QPaintEvent*) {
    ++paints_;
    QPainter p(this);
    p.fillRect(rect(), QColor(48, 48, 48));
    if (image_.isNull()) return;
    const ViewRect& r = state_.rect;
    const QRectF target(r.left, r.top, r.width(), r.height());
    p.setRenderHint(QPainter::SmoothPixmapTransform, target.width() < image_.width());
    p.drawImage(target, image_);
    if (overlay_allowed_ && show_edges_ && pic_w_ > 0 && pic_h_ > 0) draw_overlay(p);
    if (!stale_.isEmpty()) {
        p.resetTransform();
        const QRect band(0, 0, width(), fontMetrics().height() + 8);
        p.fillRect(band, QColor(120, 80, 0, 200));
        p.setPen(Qt::white);
        p.drawText(band.adjusted(8, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft, stale_);
    }
}

void PictureView::draw_overlay(QPainter& p) {
    const ViewRect& r = state_.rect;
    const double sx = double(r.width()) / pic_w_;
    const double sy = double(r.height()) / pic_h_;
    auto to_picture = [&](QPainter& painter) {
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.translate(r.left, r.top);
        painter.scale(sx, sy);
        painter.setBrush(Qt::NoBrush);
    };
    // Circles go into a layer kept between paints, so a live view draws each new circle once.
    if (circle_layer_.size() != size() || !(layer_rect_ == r) || layer_circles_ > overlay_.circles.size()) {
        circle_layer_ = QImage(size(), QImage::Format_ARGB32_Premultiplied);
        circle_layer_.fill(Qt::transparent);
        layer_rect_ = r;
        layer_circles_ = 0;
    }
    if (layer_circles_ < overlay_.circles.size()) {
        QPainter layer(&circle_layer_);
        to_picture(layer);
        layer.setPen(
            QPen(QColor(255, 220, 0, 140), 0));  // see-through: dense packings still show the picture
        for (int i = layer_circles_; i < overlay_.circles.size(); ++i) {
            const LiveCircle& c = overlay_.circles[i];
            layer.drawEllipse(QPointF(c.x, c.y), c.r, c.r);
        }
        layer_circles_ = int(overlay_.circles.size());
    }

    to_picture(p);
    QPen outline_pen(QColor(0, 255, 0), 0);  // cosmetic: one pixel whatever the zoom
    for (int i = 0; i < overlay_.outlines.size(); ++i) {
        if (i == hovered_outline_ || selected_outlines_.contains(i)) continue;
        p.setPen(outline_pen);
        p.drawPolygon(overlay_.outlines[i]);
    }
    p.setPen(outline_pen);
    for (const QPolygonF& ring : overlay_.inner) p.drawPolygon(ring);
    p.save();
    p.resetTransform();
    p.drawImage(0, 0, circle_layer_);
    p.restore();
    auto mark = [&](int i, QColor colour) {
        if (i < 0 || i >= overlay_.outlines.size()) return;
        QPen pen(colour, 2);
        pen.setCosmetic(true);
        p.setPen(pen);
        p.drawPolygon(overlay_.outlines[i]);
    };
    mark(hovered_outline_, QColor(0, 200, 255));
    for (int i : selected_outlines_) mark(i, QColor(255, 40, 40));
}

void PictureView::mousePressEvent(QMouseEvent* e) {
    if (!mouse_enabled_) return;
    const QPointF pos = e->position();
    if (e->button() == Qt::LeftButton) {
        state_.anchor_x = pos.x();
        state_.anchor_y = pos.y();
        state_.dragging = true;
    } else if (e->button() == Qt::RightButton) {
        emit right_clicked();
    }
}

void PictureView::mouseMoveEvent(QMouseEvent* e) {
    if (!mouse_enabled_) return;
    const QPointF pos = e->position();
    if ((e->buttons() & Qt::LeftButton) && state_.dragging) {
        drag_to(state_, pos.x(), pos.y());
        update();
    }
    emit hovered_at(pos);
}

void PictureView::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() == Qt::LeftButton) state_.dragging = false;
}

void PictureView::mouseDoubleClickEvent(QMouseEvent* e) {
    if (!mouse_enabled_ || e->button() != Qt::LeftButton) return;
    emit double_clicked_at(e->position());
}

void PictureView::wheelEvent(QWheelEvent* e) {
    if (!mouse_enabled_) return;
    const QPointF pos = e->position();
    auto zoomed =
        wheel_zoom(state_.rect, e->angleDelta().y(), pos.x(), pos.y(), width(), height(), pic_w_, pic_h_);
    if (zoomed) {
        state_.rect = *zoomed;
        update();
    }
    e->accept();
}

}  // namespace velq::gui
