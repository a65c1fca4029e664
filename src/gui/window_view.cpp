// The main window's view: composing the Document's view picture, choosing what the picture control
// shows, and the overlay of circles and outlines drawn over it.
#include <QLabel>

#include "app/segment_commands.h"
#include "app/view.h"
#include "gui/image_adapter.h"
#include "gui/main_window.h"
#include "gui/picture_view.h"

namespace velq::gui {

void MainWindow::redraw() {
    if (ui_.busy) return;  // the worker owns the Document until it reports the end
    if (!compose_view(doc_)) host_.message("Failed to allocate buffer in compose_view()");
    show_current_picture();
}

void MainWindow::show_current_picture() {
    const ViewSource src = view_source(doc_);
    const int pw = doc_.view ? doc_.view.width() : 0;
    const int ph = doc_.view ? doc_.view.height() : 0;
    view_->set_show_edges(doc_.toggles.edges);
    switch (src) {
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

void MainWindow::rebuild_overlay() {
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
        }
    }
    view_->set_overlay(std::move(o));
    update_outline_marks();
}

void MainWindow::reset_view() {
    if (!ui_.busy) {
        doc_.selected_outline = -1;
        doc_.hovered_outline = -1;
        update_outline_marks();
    }
    view_->reset_view();
}

}  // namespace velq::gui
