#include "gui/picture_panel.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "app/commands.h"
#include "app/segment_commands.h"
#include "app/view.h"
#include "gui/image_adapter.h"
#include "gui/picture_view.h"
#include "gui/window_names.h"

namespace velq::gui {

PicturePanel::PicturePanel(Document& doc, Host& host, QWidget* parent)
    : QWidget(parent), doc_(doc), host_(host) {
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
    view_ = new PictureView(this);
    view_->setObjectName(control_name(ctl::kPicture));
    progress_ = new QProgressBar(this);
    progress_->setObjectName(control_name(ctl::kProgress));
    progress_->setRange(0, 100);
    progress_->setValue(0);
    box->addWidget(view_, 1);
    box->addWidget(progress_);
    const int ids[2] = {ctl::kStatus1, ctl::kStatus2};
    for (int i = 0; i < 2; ++i) {
        QLabel* l = status_[i] = new QLabel(this);
        l->setObjectName(control_name(ids[i]));
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        l->setMinimumHeight(l->fontMetrics().height());
        box->addWidget(l);
    }
    connect(view_, &PictureView::hovered_at, this, &PicturePanel::on_hovered_at);
    connect(view_, &PictureView::double_clicked_at, this, &PicturePanel::on_double_clicked_at);
    connect(view_, &PictureView::right_clicked, this, &PicturePanel::on_right_clicked);
}

void PicturePanel::set_state(bool busy, bool picture) {
    busy_ = busy;
    view_->set_mouse_enabled(!busy && picture);
}

void PicturePanel::set_progress(int percent) {
    progress_->setValue(percent);
}

void PicturePanel::set_status(int line, const QString& text) {
    status_[line == 2 ? 1 : 0]->setText(text);
}

QString PicturePanel::status(int line) const {
    return status_[line == 2 ? 1 : 0]->text();
}

void PicturePanel::redraw() {
    if (busy_) return;  // the worker owns the Document until it reports the end
    if (!compose_view(doc_)) host_.message("Failed to allocate buffer in compose_view()");
    show_current_picture();
}

void PicturePanel::show_current_picture() {
    const int pw = doc_.view ? doc_.view.width() : 0;
    const int ph = doc_.view ? doc_.view.height() : 0;
    view_->set_show_edges(doc_.toggles.edges);
    switch (view_source(doc_)) {
        case ViewSource::None:
            view_->set_picture(QImage(), 0, 0, false);
            break;
        case ViewSource::Composed:
            view_->set_picture(to_qimage(doc_.view), pw, ph, true);
            break;
        case ViewSource::Render:
            view_->set_picture(to_qimage(doc_.render_buffer), pw, ph, false);
            break;
    }
}

void PicturePanel::rebuild_overlay() {
    Overlay o;
    const int w = doc_.view ? doc_.view.width() : doc_.working.width();
    const int h = doc_.view ? doc_.view.height() : doc_.working.height();
    auto add_circle = [&](const Circle& c) { o.circles.push_back(LiveCircle{c.x * w, c.y * h, c.radius}); };
    if (doc_.transformed) {
        for (const Circle& c : doc_.circles) add_circle(c);
        for (const Segment& s : doc_.segments) {
            QPolygonF poly;
            for (const BoundaryPoint& p : s.loop.points) poly << QPointF(p.x, p.y);
            o.outlines.push_back(poly);
            for (const Circle& c : s.circles) add_circle(c);
            // A letter shows all its rings; other Segments' children are Segments drawn on their own.
            if (s.own_circle_colours)
                for (const BoundaryPiece& child : s.children) {
                    QPolygonF& ring = o.inner.emplace_back();
                    for (const BoundaryPoint& p : child.points) ring << QPointF(p.x, p.y);
                }
        }
    }
    view_->set_overlay(std::move(o));
    update_outline_marks();
}

void PicturePanel::reset_view() {
    if (!busy_) {
        doc_.selected_outline = -1;
        doc_.hovered_outline = -1;
        update_outline_marks();
    }
    view_->reset_view();
}

void PicturePanel::update_outline_marks() {
    QVector<int> selected;
    const int n = int(doc_.segments.size());
    if (doc_.selected_outline >= 0 && doc_.selected_outline < n) selected << doc_.selected_outline;
    if (doc_.toggles.all_enclosed)
        for (std::size_t i : selected_segments(doc_))
            if (!selected.contains(int(i))) selected << int(i);
    view_->set_outline_marks(selected, doc_.hovered_outline < n ? doc_.hovered_outline : -1);
}

void PicturePanel::select_outline(int n) {
    if (n < 0 || n >= int(doc_.segments.size())) return;
    doc_.selected_outline = n;
    show_segment_details(n);
    update_outline_marks();
}

void PicturePanel::show_segment_details(int i) {
    if (i < 0 || i >= int(doc_.segments.size())) return;
    const Segment& s = doc_.segments[i];
    set_status(2, QStringLiteral("Segment %1: %2 circles, colour (%3, %4, %5), %6")
                      .arg(i)
                      .arg(s.circles.size())
                      .arg(int(s.colour.c0))
                      .arg(int(s.colour.c1))
                      .arg(int(s.colour.c2))
                      .arg(s.enabled ? QStringLiteral("enabled") : QStringLiteral("disabled")));
}

void PicturePanel::on_hovered_at(QPointF pos) {
    if (busy_ || !doc_.transformed) return;
    if (hover_segment(doc_, host_, view_->state().rect, pos.x(), pos.y()) && doc_.hovered_outline >= 0)
        show_segment_details(doc_.hovered_outline);
}

void PicturePanel::on_double_clicked_at(QPointF pos) {
    if (busy_ || !doc_.transformed) return;
    if (double_click_segment(doc_, host_, view_->state().rect, pos.x(), pos.y()))
        show_segment_details(doc_.selected_segment);
    emit selection_changed();
}

void PicturePanel::on_right_clicked() {
    if (busy_) return;
    clear_segment_selection(doc_, host_);
}

}  // namespace velq::gui
