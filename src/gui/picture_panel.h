// The picture panel, left of the settings column: the picture control with its progress bar and two
// status lines. It composes what the Document shows, keeps the overlay of circles and outlines, and
// turns mouse picks into segment selections.
#pragma once

#include <QPointF>
#include <QWidget>

#include "app/document.h"
#include "host/host.h"

class QLabel;
class QProgressBar;

namespace velq::gui {

class PictureView;

class PicturePanel : public QWidget {
    Q_OBJECT
public:
    PicturePanel(Document& doc, Host& host, QWidget* parent = nullptr);

    PictureView& view() { return *view_; }
    // While busy the worker owns the Document: nothing is composed and the mouse is ignored.
    void set_state(bool busy, bool picture);
    void set_progress(int percent);
    void set_status(int line, const QString& text);
    QString status(int line) const;

    void redraw();  // compose the view picture and show it
    void rebuild_overlay();
    void reset_view();
    void update_outline_marks();
    // Marks segment `n` as the selected outline and describes it; out-of-range numbers do nothing.
    void select_outline(int n);

signals:
    // A pick changed the selected segment, and with it what the Segments menu offers.
    void selection_changed();

private:
    void show_current_picture();
    void show_segment_details(int segment);
    void on_hovered_at(QPointF pos);
    void on_double_clicked_at(QPointF pos);
    void on_right_clicked();

    Document& doc_;
    Host& host_;
    PictureView* view_ = nullptr;
    QProgressBar* progress_ = nullptr;
    QLabel* status_[2] = {nullptr, nullptr};
    bool busy_ = false;
};

}  // namespace velq::gui
