// Render and the logo through the window: a transformed Document renders into a shown result that Save
// writes, and the logo dialog puts a text logo in place or keeps itself open on a bad picture path.
#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

#include "app/view.h"
#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

// A few free circles, as a Normal transform leaves them: centres as fractions, radii in working pixels.
void transform_by_hand(Document& doc) {
    const double spots[][3] = {{0.25, 0.3, 6}, {0.7, 0.6, 9}, {0.5, 0.5, 4}};
    for (const auto& s : spots) {
        Circle c;
        c.x = s[0];
        c.y = s[1];
        c.radius = s[2];
        c.own = ColourRecord{200, 40, 10, 255, 0, true};
        doc.circles.push_back(c);
    }
    doc.transformed = true;
}

}  // namespace

class Render : public QObject {
    Q_OBJECT
private slots:
    void renderShowsTheResultAndSaveWritesIt() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 9)));
        QVERIFY(!w.action(cmd::kRender)->isEnabled());
        transform_by_hand(f.doc());
        w.document_changed();
        QVERIFY(w.action(cmd::kRender)->isEnabled());
        QCOMPARE(int(w.picture_view().overlay().circles.size()), 3);

        QTest::keyClick(&w, Qt::Key_F5);
        QTRY_VERIFY(!w.busy());
        QVERIFY(f.presenter->messages.isEmpty());
        QVERIFY(f.doc().rendered);
        QCOMPARE(f.doc().render_buffer.width(), f.doc().settings.out_width);
        QCOMPARE(view_source(f.doc()), ViewSource::Render);
        QCOMPARE(w.picture_view().picture().size(),
                 QSize(f.doc().render_buffer.width(), f.doc().render_buffer.height()));
        // The second layer's white-tinted disc lies over the black background at the first circle.
        const UBUFFER& r = f.doc().render_buffer;
        const int cx = int(0.25 * r.width()), cy = int(0.3 * r.height());
        QVERIFY(r.at(cx, cy, 2) > 0);
        QCOMPARE(int(r.at(0, r.height() - 1, 2)), 0);

        const QString dir = QString::fromStdString(velq::test::temp_dir("gui_render"));
        f.presenter->save_names = {QDir(dir).filePath("art.png")};
        QTest::keyClick(&w, Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(!w.busy());
        QVERIFY(QFile::exists(QDir(dir).filePath("art.png")));

        // The smallest video size, as an MPEG-4 file named without its extension.
        f.presenter->save_names = {QDir(dir).filePath("clip")};
        f.presenter->save_type = 0;
        f.presenter->file_types.clear();
        w.trigger(cmd::kVideo640);
        QCOMPARE(f.presenter->file_types.front(), QStringLiteral("MPEG-4 Part 14 (.mp4)"));
        QCOMPARE(f.presenter->file_types.size(), 8);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 120000);
        QVERIFY2(f.presenter->messages.isEmpty(), qPrintable(f.presenter->messages.join('|')));
        QVERIFY(QFileInfo(QDir(dir).filePath("clip.mp4")).size() > 1000);
        QCOMPARE(f.doc().settings.video_width, 640);

        // Render frame: a timestamp inside the animation shows that frame, one past its end says so.
        f.presenter->numbers = {1.0, 500.0};
        w.trigger(cmd::kRenderFrame);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QCOMPARE(f.presenter->number_labels.front(), QStringLiteral("Timestamp"));
        QVERIFY(f.doc().frame_buffer);
        QCOMPARE(w.picture_view().picture().width(), f.doc().frame_buffer.width());
        w.trigger(cmd::kRenderFrame);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QCOMPARE(f.presenter->messages.size(), 1);
        QVERIFY(f.presenter->messages.front().startsWith(
            QStringLiteral("Invalid timestamp (must be between 0.0 and ")));
    }

    // With VELQ_GUI_SHOTS set to a folder, a picture of the window after a render is left there.
    void screenshotOfARenderedWindow() {
        const QString shots = qEnvironmentVariable("VELQ_GUI_SHOTS");
        if (shots.isEmpty()) QSKIP("VELQ_GUI_SHOTS is not set");
        WindowFixture f;
        MainWindow& w = *f.window;
        w.resize(1280, 820);
        f.presenter->open_names = {QStringLiteral(VELQ_DATA_DIR "/demo.jpg")};
        w.trigger(cmd::kOpen);
        QTRY_VERIFY(!w.busy());
        // Circles on a hexagonal grid, coloured from the working picture, as a transform would leave them.
        Document& d = f.doc();
        const int W = d.working.width(), H = d.working.height();
        const double r = W / 90.0;
        for (int row = 0; row * r * 1.7 < H; ++row)
            for (int col = 0; col * r * 2 < W; ++col) {
                const double x = col * r * 2 + (row % 2) * r, y = row * r * 1.7;
                if (x >= W || y >= H) continue;
                Circle c;
                c.x = x / W;
                c.y = y / H;
                c.radius = r * 0.95;
                const int px = int(x), py = int(y);
                c.own = ColourRecord{double(d.working.at(px, py, 2)),
                                     double(d.working.at(px, py, 1)),
                                     double(d.working.at(px, py, 0)),
                                     255,
                                     0,
                                     true};
                d.circles.push_back(c);
            }
        d.transformed = true;
        w.document_changed();
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(2);
        w.trigger(cmd::kSetAsDefault);
        w.control<QComboBox>(ctl::kPalette)->setCurrentIndex(8);
        d.layers[2].set_size(45);
        w.trigger(cmd::kRender);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QVERIFY(d.rendered);
        QVERIFY(w.grab().save(QDir(shots).filePath(QStringLiteral("render.png"))));
    }

    void logoDialogTakesATextLogoAndRefusesAMissingPicture() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(w.action(cmd::kLoadLogo)->isEnabled());  // usable from start-up on
        int results[2] = {-1, -1};
        int round = 0;
        f.presenter->on_dialog = [&](QDialog& d) {
            if (round == 0) {
                d.findChild<QLineEdit*>("text")->setText(QStringLiteral("Hello"));
                d.findChild<QLineEdit*>("Transparency")->setText(QStringLiteral("400"));
            } else {
                d.findChild<QRadioButton*>("image_logo")->setChecked(true);
                d.findChild<QLineEdit*>("path")->setText(QStringLiteral("/no/such/logo.png"));
            }
            d.accept();
            results[round] = d.result();
            ++round;
            return d.result();
        };
        w.trigger(cmd::kLoadLogo);
        QCOMPARE(results[0], int(QDialog::Accepted));
        QVERIFY(f.doc().logo);
        QCOMPARE(f.doc().logo_transparency, 255);
        const int logo_width = f.doc().logo.width();

        w.trigger(cmd::kLoadLogo);
        QCOMPARE(results[1], int(QDialog::Rejected));  // still open: the user can correct the path
        QCOMPARE(f.presenter->messages, QStringList{QStringLiteral("Please select a valid image path!")});
        QCOMPARE(f.doc().logo.width(), logo_width);  // the previous logo stays
    }
};

QTEST_MAIN(Render)
#include "render.moc"
