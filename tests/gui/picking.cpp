// Picking segments with the mouse after a transform: hovering marks any segment, a double click
// selects all but the last one (the asymmetry is kept), the Segments menu follows the pick, and a
// right click clears the selection.
#include <QAction>
#include <QLabel>
#include <QLineEdit>

#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

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
    doc.transformed = true;
}

QPoint band_centre(PictureView& v, int band) {
    const ViewRect& r = v.state().rect;
    return QPoint(r.left + r.width() * (2 * band + 1) / 8, (r.top + r.bottom) / 2);
}

void double_click(PictureView& v, QPoint at) {
    QTest::mouseDClick(&v, Qt::LeftButton, Qt::NoModifier, at);
}

}  // namespace

class Picking : public QObject {
    Q_OBJECT
private slots:
    void doubleClickCannotPickTheLastSegmentWhileHoverCan() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 5)));
        segment_by_hand(f.doc());
        w.document_changed();
        PictureView& v = w.picture_view();
        QCOMPARE(int(v.overlay().outlines.size()), 3);

        double_click(v, band_centre(v, 2));  // label 2: the second segment
        QCOMPARE(f.doc().selected_segment, 1);
        QCOMPARE(f.doc().selected_outline, 1);
        QVERIFY(w.action(cmd::kSegmentDisable)->isEnabled());
        QVERIFY(!w.action(cmd::kSegmentEnable)->isEnabled());
        w.trigger(cmd::kSegmentDisable);
        QVERIFY(!f.doc().segments[1].enabled);
        QVERIFY(!w.action(cmd::kSegmentDisable)->isEnabled());
        QVERIFY(w.action(cmd::kSegmentEnable)->isEnabled());

        double_click(v, band_centre(v, 3));  // label 3 = the count: only the raw label is kept
        QCOMPARE(f.doc().selected_segment, 3);
        QCOMPARE(f.doc().selected_outline, 1);
        QVERIFY(!w.action(cmd::kSegmentDisable)->isEnabled());
        QVERIFY(!w.action(cmd::kSegmentEnable)->isEnabled());

        QTest::mouseMove(&v, band_centre(v, 3));  // hovering takes the last segment
        QCOMPARE(f.doc().hovered_outline, 2);
        QTest::mouseMove(&v, band_centre(v, 0));
        QCOMPARE(f.doc().hovered_outline, -1);

        QTest::mouseClick(&v, Qt::RightButton, Qt::NoModifier, band_centre(v, 1));
        QCOMPARE(f.doc().selected_outline, -1);
    }

    void selectButtonPicksByNumberAndChangeColorRecolours() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 5)));
        segment_by_hand(f.doc());
        f.doc().segments[2].circles.resize(2);
        w.document_changed();
        w.control<QLineEdit>(ctl::kShapeNumber)->setText(QStringLiteral("2"));
        QTest::mouseClick(w.findChild<QWidget*>(control_name(ctl::kSelect)), Qt::LeftButton);
        QCOMPARE(f.doc().selected_outline, 2);
        QVERIFY(w.control<QLabel>(ctl::kStatus2)->text().startsWith(QStringLiteral("Segment 2: 2 circles")));
        w.control<QLineEdit>(ctl::kShapeNumber)->setText(QStringLiteral("-1"));
        QTest::mouseClick(w.findChild<QWidget*>(control_name(ctl::kSelect)), Qt::LeftButton);
        QCOMPARE(f.doc().selected_outline, 2);

        double_click(w.picture_view(), band_centre(w.picture_view(), 1));
        f.presenter->colours = {QColor(1, 2, 3)};
        w.trigger(cmd::kChangeColor);
        QCOMPARE(f.presenter->colour_initials.front(), QColor(0, 20, 30));
        QCOMPARE(f.doc().segments[0].colour.c0, 1.0);
        QCOMPARE(f.doc().segments[0].colour.c2, 3.0);
        QCOMPARE(w.control<QLabel>(ctl::kStatus1)->text(), QStringLiteral("Color Picking Succeed"));
    }
};

QTEST_MAIN(Picking)
#include "picking.moc"
