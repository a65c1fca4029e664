#include "gui/picture_view.h"

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
    update();
}

void PictureView::clear_overlay() {
    overlay_ = {};
    update();
}

void PictureView::add_live_circles(const QVector<LiveCircle>& batch) {
    overlay_.circles += batch;
    update();
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
    QPainter p(this);
    p.fillRect(rect(), QColor(48, 48, 48));
    if (image_.isNull()) return;
    const ViewRect& r = state_.rect;
    const QRectF target(r.left, r.top, r.width(), r.height());
    p.setRenderHint(QPainter::SmoothPixmapTransform, target.width() < image_.width());
    p.drawImage(target, image_);
    if (!overlay_allowed_ || !show_edges_ || pic_w_ <= 0 || pic_h_ <= 0) return;

    const double sx = double(r.width()) / pic_w_;
    const double sy = double(r.height()) / pic_h_;
    p.setRenderHint(QPainter::Antialiasing, true);
    p.translate(r.left, r.top);
    p.scale(sx, sy);
    QPen outline_pen(QColor(0, 255, 0), 0);  // cosmetic: one pixel whatever the zoom
    p.setBrush(Qt::NoBrush);
    for (int i = 0; i < overlay_.outlines.size(); ++i) {
        if (i == hovered_outline_ || selected_outlines_.contains(i)) continue;
        p.setPen(outline_pen);
        p.drawPolygon(overlay_.outlines[i]);
    }
    p.setPen(QPen(QColor(255, 220, 0, 140), 0));  // see-through, so dense packings still show the picture
    for (const LiveCircle& c : overlay_.circles) p.drawEllipse(QPointF(c.x, c.y), c.r, c.r);
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
