// The picture panel: the mouse pans and zooms the picture (not while busy), Reset view fits it again,
// and after a transform the mouse and the Select button pick segments for the Segments menu.
#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QWheelEvent>

#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

void wheel(QWidget* w, QPointF at, int delta) {
    QWheelEvent e(at, w->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
}

void drag(QWidget* w, QPoint from, QPoint to) {
    QTest::mousePress(w, Qt::LeftButton, Qt::NoModifier, from);
    QMouseEvent move(QEvent::MouseMove, QPointF(to), w->mapToGlobal(QPointF(to)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(w, &move);
    QTest::mouseRelease(w, Qt::LeftButton, Qt::NoModifier, to);
}

// Four vertical bands of labels 0, 1, 2, 3 over the working picture, and three Segments.
void segment_by_hand(Document& doc) {
    const int w = doc.working.width(), h = doc.working.height();
    QVERIFY(doc.label_map.allocate(w, h, 1));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) doc.label_map.at(x, y) = std::uint32_t(x * 4 / w);
    doc.segments.resize(3);
    for (int i = 0; i < 3; ++i) {
        const double x0 = (i + 1) * w / 4.0, x1 = (i + 2) * w / 4.0;
        doc.segments[i].loop.closed = true;
        doc.segments[i].loop.points = {{x0, 0}, {x1, 0}, {x1, double(h)}, {x0, double(h)}};
        doc.segments[i].colour = ColourRecord{10.0 * i, 20, 30, 255, 0, true};
    }
    doc.segments[2].circles.resize(2);
    doc.transformed = true;
}

QPoint band_centre(PictureView& v, int band) {
    const ViewRect& r = v.state().rect;
    return QPoint(r.left + r.width() * (2 * band + 1) / 8, (r.top + r.bottom) / 2);
}

}  // namespace

class PicturePanelTest : public QObject {
    Q_OBJECT
private slots:
    void mousePansAndZoomsExceptWhileBusy() {
        WindowFixture f(velq::test::noise_picture(64, 32, 5));
        MainWindow& w = *f.window;
        PictureView& v = w.picture_view();
        const ViewRect fitted = v.state().rect;
        QCOMPARE(fitted, reset_view(v.width(), v.height(), v.picture_width(), v.picture_height()));

        const QPointF centre(v.width() / 2.0, v.height() / 2.0);
        wheel(&v, centre, 120);
        const ViewRect zoomed = v.state().rect;
        QVERIFY(zoomed.width() > fitted.width());
        drag(&v, QPoint(100, 150), QPoint(130, 140));
        const ViewRect panned{zoomed.left + 30, zoomed.top - 10, zoomed.right + 30, zoomed.bottom - 10};
        QCOMPARE(v.state().rect, panned);

        HeldJob held;
        w.start_job(held.job(w.host()));
        wheel(&v, centre, 120);
        drag(&v, QPoint(100, 150), QPoint(200, 200));
        QCOMPARE(v.state().rect, panned);
        held.release = true;
        QTRY_VERIFY(!w.busy());

        w.trigger(cmd::kResetView);
        QCOMPARE(v.state().rect, fitted);
    }

    void picksReachTheSegmentsMenuAndTheStatusLine() {
        WindowFixture f(velq::test::noise_picture(24, 16, 5));
        MainWindow& w = *f.window;
        segment_by_hand(f.doc());
        w.document_changed();
        PictureView& v = w.picture_view();
        QCOMPARE(int(v.overlay().outlines.size()), 3);

        QTest::mouseDClick(&v, Qt::LeftButton, Qt::NoModifier, band_centre(v, 2));
        QCOMPARE(f.doc().selected_segment, 1);
        w.trigger(cmd::kSegmentDisable);
        QVERIFY(!f.doc().segments[1].enabled);
        QVERIFY(w.action(cmd::kSegmentEnable)->isEnabled());
        f.presenter->colours = {QColor(200, 150, 90)};
        w.trigger(cmd::kChangeColor);  // the chosen colour goes to the picked segment
        QCOMPARE(f.doc().segments[1].colour.c0, 200.0);

        QTest::mouseMove(&v, band_centre(v, 3));
        QVERIFY(w.control<QLabel>(ctl::kStatus2)->text().startsWith(QStringLiteral("Segment 2: 2 circles")));
        QTest::mouseClick(&v, Qt::RightButton, Qt::NoModifier, band_centre(v, 1));
        QCOMPARE(f.doc().selected_outline, -1);

        // The Select button picks by number; a number out of range changes nothing.
        for (const char* typed : {"0", "3"}) {
            w.control<QLineEdit>(ctl::kShapeNumber)->setText(QString(typed));
            QTest::mouseClick(w.findChild<QWidget*>(control_name(ctl::kSelect)), Qt::LeftButton);
            QCOMPARE(f.doc().selected_outline, 0);
            QVERIFY(
                w.control<QLabel>(ctl::kStatus2)->text().startsWith(QStringLiteral("Segment 0: 0 circles")));
        }
    }
};

QTEST_MAIN(PicturePanelTest)
#include "picture_panel.moc"
