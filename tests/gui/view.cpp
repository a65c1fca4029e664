// The picture control: fitting, panning with the left button, zooming with the wheel about the cursor
// (never below 1 % of the control), and mouse messages ignored while the window is busy.
#include <QImage>
#include <QWheelEvent>

#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;

namespace {

void wheel(QWidget* w, QPointF at, int delta) {
    QWheelEvent e(at, w->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
}

struct Fitted {
    PictureView view;
    Fitted() {
        view.resize(800, 600);
        view.show();
        (void)QTest::qWaitForWindowExposed(&view);
        QImage img(400, 200, QImage::Format_ARGB32);
        img.fill(Qt::gray);
        view.set_picture(img, 400, 200, true);
        view.reset_view();
        view.set_mouse_enabled(true);
    }
};

}  // namespace

class View : public QObject {
    Q_OBJECT
private slots:
    void resetFitsThePictureIntoTheControl() {
        Fitted f;
        QCOMPARE(f.view.size(), QSize(800, 600));
        QCOMPARE(f.view.state().rect, (ViewRect{0, 100, 800, 500}));
        f.view.resize(800, 800);  // a new control size fits again
        QCOMPARE(f.view.state().rect, (ViewRect{0, 200, 800, 600}));
    }

    void wheelZoomsAboutTheCursorAndStopsAtOnePercent() {
        Fitted f;
        wheel(&f.view, QPointF(400, 300), 120);
        QCOMPARE(f.view.state().rect, (ViewRect{-120, 40, 920, 560}));
        for (int i = 0; i < 50; ++i) wheel(&f.view, QPointF(400, 300), -120);
        const ViewRect r = f.view.state().rect;
        QVERIFY(r.width() >= 8 && r.height() >= 6);
        QVERIFY(r.width() < 8 + 240);  // it did shrink as far as whole notches allow
        wheel(&f.view, QPointF(400, 300), -120);
        QCOMPARE(f.view.state().rect, r);
    }

    void leftDragPansAndBusyIgnoresTheMouse() {
        Fitted f;
        QTest::mousePress(&f.view, Qt::LeftButton, Qt::NoModifier, QPoint(100, 150));
        QTest::mouseMove(&f.view, QPoint(130, 140));
        QMouseEvent move(QEvent::MouseMove, QPointF(130, 140), f.view.mapToGlobal(QPointF(130, 140)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&f.view, &move);
        QTest::mouseRelease(&f.view, Qt::LeftButton, Qt::NoModifier, QPoint(130, 140));
        QCOMPARE(f.view.state().rect, (ViewRect{30, 90, 830, 490}));

        f.view.set_mouse_enabled(false);
        wheel(&f.view, QPointF(400, 300), 120);
        QCOMPARE(f.view.state().rect, (ViewRect{30, 90, 830, 490}));
        f.view.reset_view();
        QCOMPARE(f.view.state().rect, (ViewRect{0, 100, 800, 500}));
    }

    void resetViewCommandRefitsTheWindowsView() {
        velq::gui::test::WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(64, 32, 5)));
        PictureView& v = f.window->picture_view();
        const ViewRect fitted = v.state().rect;
        QCOMPARE(fitted, reset_view(v.width(), v.height(), v.picture_width(), v.picture_height()));
        wheel(&v, QPointF(v.width() / 2.0, v.height() / 2.0), 240);
        QVERIFY(v.state().rect != fitted);
        f.window->trigger(cmd::kResetView);
        QCOMPARE(v.state().rect, fitted);
    }
};

QTEST_MAIN(View)
#include "view.moc"
