// The picture control: shows the composed view or the render inside the view rectangle, draws the
// circles and segment outlines over the composed view, and turns the mouse into pan, wheel zoom and
// picking. It reads the Document only through what the window hands it while idle, so a running
// worker never races with a paint. What a running job sends is shown at most about 30 times a second:
// a screen shows no more, and every repaint takes time from the job.
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPolygonF>
#include <QTimer>
#include <QVector>
#include <QWidget>

#include "app/view.h"
#include "host/host.h"

namespace velq::gui {

// What the view draws over the composed picture, in working-picture pixels.
struct Overlay {
    QVector<LiveCircle> circles;
    QVector<QPolygonF> outlines;  // one closed polyline per segment, in segment order
    QVector<QPolygonF> inner;     // a letter's further rings (its counters, an 'i''s dot), never marked
};

class PictureView : public QWidget {
    Q_OBJECT
public:
    explicit PictureView(QWidget* parent = nullptr);

    // The picture to show and the size of the picture that view coordinates refer to (the working
    // picture, which the label map shares).
    void set_picture(const QImage& image, int picture_width, int picture_height, bool overlay_allowed);
    void set_overlay(Overlay overlay);
    void clear_overlay();
    void add_live_circles(const QVector<LiveCircle>& batch);
    // Outlines drawn marked: the selection (with the segments it encloses) and the hovered one.
    void set_outline_marks(QVector<int> selected, int hovered);
    // Whether mouse messages are handled (not while busy).
    void set_mouse_enabled(bool on) { mouse_enabled_ = on; }
    void set_show_edges(bool on);
    // Shows a picture sent by a running job (an export's frames), throttled like the live circles.
    void show_live_picture(const QImage& image);
    // Marks the picture as out of date with the settings (drawn as a banner), with the reason shown.
    void set_stale(const QString& reason);
    const QString& stale() const { return stale_; }
    // Paints so far, for checking the throttle.
    int paint_count() const { return paints_; }

    // Shortest time between two repaints asked for by a running job.
    static constexpr int kRefreshMs = 33;

    // Fits the picture into the control, centred.
    void reset_view();
    const ViewState& state() const { return state_; }
    ViewState& state() { return state_; }
    int picture_width() const { return pic_w_; }
    int picture_height() const { return pic_h_; }
    const Overlay& overlay() const { return overlay_; }
    const QImage& picture() const { return image_; }

signals:
    // Mouse positions in control pixels, for the window to pick segments with.
    void hovered_at(QPointF pos);
    void double_clicked_at(QPointF pos);
    void right_clicked();

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseReleaseEvent(QMouseEvent*) override;
    void mouseDoubleClickEvent(QMouseEvent*) override;
    void wheelEvent(QWheelEvent*) override;

private:
    void schedule_refresh();
    void draw_overlay(QPainter& p);

    QImage image_;
    int pic_w_ = 0, pic_h_ = 0;
    bool overlay_allowed_ = false;
    bool show_edges_ = true;
    Overlay overlay_;
    QVector<int> selected_outlines_;
    int hovered_outline_ = -1;
    ViewState state_;
    bool mouse_enabled_ = false;
    QString stale_;
    QTimer refresh_timer_;
    QElapsedTimer since_refresh_;  // since the last throttled repaint was asked for
    int paints_ = 0;
    // The circles drawn so far, at the current view rectangle; only new ones are drawn into it.
    QImage circle_layer_;
    ViewRect layer_rect_{};
    int layer_circles_ = 0;
};

}  // namespace velq::gui
