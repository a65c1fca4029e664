// A whole session driven through the window's commands: open a picture, filter, transform (with the
// live circles), choose layers and a logo, render, save, export a frame with its layers, reopen the
// result with its settings, and turn it into a cell picture.
#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

#include "gui/image_adapter.h"
#include "gui/picture_view.h"
#include "image/picture_writer.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

class FullRun : public QObject {
    Q_OBJECT
private slots:
    void openFilterTransformRenderSaveAndReopen() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QString dir = QString::fromStdString(velq::test::temp_dir("gui_full_run"));
        // A small scene: sky, ground and a sun, so segments and circle sizes vary.
        const UBUFFER scene = velq::test::make_picture(64, 48, [](int x, int y) {
            if ((x - 42) * (x - 42) + (y - 12) * (y - 12) < 64) return 0xFFFAD23Cu;
            return y < 24 ? 0xFF466EC8u : 0xFF288C32u;
        });
        f.presenter->open_names = {QDir(dir).filePath("scene.png")};
        QVERIFY(write_picture(f.presenter->open_names[0].toStdString(), scene, 96) == PictureError::None);
        w.trigger(cmd::kOpen);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(w.windowTitle(), QStringLiteral("scene.png[*] - Velquinograph"));
        QVERIFY(!w.isWindowModified());
        auto status = [&w](int id) { return w.findChild<QLabel*>(control_name(id))->text(); };
        QVERIFY(status(ctl::kStatus1).startsWith(QStringLiteral("Image Open completed")));

        w.trigger(cmd::kFilterHalfShuffle);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(status(ctl::kStatus1), QString());  // the open's report does not outlive the next job
        QVERIFY(w.action(cmd::kFilterHalfShuffle)->isChecked());
        w.trigger(cmd::kTransformNormal);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QVERIFY(w.action(cmd::kTransformNormal)->isChecked());
        // The count is a quiet note, not a box to click away.
        QCOMPARE(status(ctl::kStatus1),
                 QStringLiteral("The number of circles is %1").arg(f.doc().circles.size()));
        QVERIFY(f.presenter->messages.isEmpty());
        QVERIFY(w.isWindowModified());
        // A new filter would throw the transform away: it asks first, and No keeps it.
        w.trigger(cmd::kFilterNormal);
        QCOMPARE(f.presenter->questions,
                 QStringList{QStringLiteral("The current work is not saved. Discard it?")});
        QVERIFY(!w.busy() && f.doc().transformed);

        // Layer 2 gets the disc, a palette and a smaller size; a text logo goes on top.
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(2);
        w.trigger(cmd::kSetAsDefault);
        w.control<QComboBox>(ctl::kPalette)->setCurrentIndex(7);
        w.control<QLineEdit>(ctl::kSize)->setText(QStringLiteral("60"));
        f.doc().layers[2].set_size(60);
        f.presenter->on_dialog = [](QDialog& d) {
            d.accept();
            return d.result();
        };
        w.trigger(cmd::kLoadLogo);
        QVERIFY(f.doc().logo);

        w.trigger(cmd::kRender);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QVERIFY2(f.presenter->messages.isEmpty(), qPrintable(f.presenter->messages.join('|')));
        QCOMPARE(w.picture_view().picture(), to_qimage(f.doc().render_buffer));

        // Saved as the offered Portable Network Graphic, whose extension the name gets.
        const QString saved = QDir(dir).filePath("art.png");
        f.presenter->save_names = {QDir(dir).filePath("art")};
        w.trigger(cmd::kSave);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(
            f.presenter->file_types,
            (QStringList{"All Graphics Types", "Photoshop (.psd)", "Joint Photographic Experts Group (.jpg)",
                         "Portable Network Graphic (.png)", "Bitmap Files (*.bmp)"}));
        QVERIFY(QFileInfo::exists(saved));
        QCOMPARE(w.windowTitle(), QStringLiteral("art.png[*] - Velquinograph"));
        QVERIFY(!w.isWindowModified());

        // A frame of the animation with its layers.
        f.presenter->numbers = {0.5};
        f.presenter->save_names = {QDir(dir).filePath("frame")};
        w.trigger(cmd::kFramePsd);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QVERIFY2(f.presenter->messages.isEmpty(), qPrintable(f.presenter->messages.join('|')));
        QVERIFY(QDir(dir).exists(QStringLiteral("frame.psd")));

        // Bright re-renders by itself (and marks the work unsaved); THR needs more, which the view says.
        const QImage before = to_qimage(f.doc().render_buffer);
        auto* bright = w.control<QLineEdit>(ctl::kBright);
        bright->selectAll();
        QTest::keyClicks(bright, QStringLiteral("40"));
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy() && f.doc().rendered && to_qimage(f.doc().render_buffer) != before,
                                 60000);
        QCOMPARE(w.picture_view().picture(), to_qimage(f.doc().render_buffer));
        QVERIFY(w.isWindowModified());
        QTest::keyClicks(w.control<QLineEdit>(ctl::kThr), QStringLiteral("5"));
        QVERIFY(w.picture_view().stale().contains(QStringLiteral("THR")));

        // A new window reopens the result with its settings when asked.
        WindowFixture g;
        g.presenter->answers = {true};
        g.presenter->open_names = {saved};
        g.window->trigger(cmd::kOpen);
        QTRY_VERIFY_WITH_TIMEOUT(!g.window->busy(), 60000);
        QCOMPARE(g.presenter->questions, QStringList{QStringLiteral("Meta data detect. Use it?")});
        // What the reopened result restores is the reuse's own matter; the window shows it.
        QCOMPARE(g.window->control<QListWidget>(ctl::kLayerList)->item(2)->text(),
                 QStringLiteral("Ly2 - Shown T(255)-S(60)-B(100)"));

        // Run > Spike drawing turns the result into crystal cells of layer 2, as its dialog says.
        QString spike_width;
        g.presenter->on_dialog = [&spike_width](QDialog& d) {
            spike_width = d.findChild<QLineEdit*>(QStringLiteral("spike_width"))->text();
            d.findChild<QComboBox*>(QStringLiteral("kind"))->setCurrentIndex(1);
            d.findChild<QComboBox*>(QStringLiteral("layer"))->setCurrentIndex(2);
            d.findChild<QLineEdit*>(QStringLiteral("lead"))->setText(QStringLiteral("2"));
            d.accept();
            return d.result();
        };
        g.window->trigger(cmd::kSpike);
        QTRY_VERIFY_WITH_TIMEOUT(!g.window->busy(), 60000);
        QVERIFY2(g.presenter->messages.isEmpty(), qPrintable(g.presenter->messages.join('|')));
        QCOMPARE(spike_width, QStringLiteral("1"));
        QVERIFY(g.doc().rendered_settings.drawing.kind == DrawingKind::CrystalCells);
        QCOMPARE(g.doc().rendered_settings.drawing.layer, 2);
        QCOMPARE(g.doc().rendered_settings.drawing.lead, 2);
    }
};

QTEST_MAIN(FullRun)
#include "full_run.moc"
