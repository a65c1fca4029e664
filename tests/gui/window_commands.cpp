// Commands whose work lies in the window: drops open a picture, the file choosers start in the last
// folder, the settings block travels on the clipboard, and the Layers commands act on the selected
// layer and its dialogs.
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>

#include "support/gltf_strip.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

class WindowCommands : public QObject {
    Q_OBJECT
private slots:
    void dropOpensAndTheNextChooserStartsInItsFolder() {
        const QString dir = QString::fromStdString(velq::test::temp_dir("gui_drop"));
        const QString path = QDir(dir).filePath("dropped.png");
        QVERIFY(QImage(12, 10, QImage::Format_RGB32).save(path));
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        {
            WindowFixture f;
            QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(f.window.get(), &enter);
            QVERIFY(enter.isAccepted());
            QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(f.window.get(), &drop);
            QTRY_VERIFY(!f.window->busy());
            QCOMPARE(f.doc().source.width(), 12);
        }
        WindowFixture g;
        g.window->trigger(cmd::kOpen);  // cancelled
        QCOMPARE(g.presenter->folders, QStringList{QFileInfo(path).absolutePath()});
        QVERIFY(!g.doc().source);
    }

    void aMotionPackLoadsFromItsChooserAndGreysFilterAndTransform() {
        const std::string model = velq::test::temp_dir("gui_pack") + "/strip.gltf";
        velq::test::write_strip_gltf(model);
        WindowFixture f;
        f.presenter->open_names.push_back(QString::fromStdString(model));
        f.window->trigger(cmd::kLoadMotionPack);
        QTRY_VERIFY(!f.window->busy());
        QCOMPARE(f.presenter->file_types, QStringList{QStringLiteral("3D model files")});
        QVERIFY(f.doc().motion_pack_loaded);
        QVERIFY(!f.window->action(cmd::kFilterNormal)->isEnabled());
        QVERIFY(!f.window->action(cmd::kTransformNormal)->isEnabled());
        QVERIFY(f.window->action(cmd::kRender)->isEnabled());
    }

    void settingsTravelOnTheClipboard() {
        WindowFixture from, to;
        QVERIFY(from.load_picture(velq::test::noise_picture(24, 16, 3)));
        QVERIFY(to.load_picture(velq::test::noise_picture(24, 16, 3)));
        from.window->control<QLineEdit>(ctl::kThr)->setText(QStringLiteral("33"));
        from.window->trigger(cmd::kFilterNormal);  // the fields go into the settings
        QTRY_VERIFY(!from.window->busy());
        from.window->trigger(cmd::kCopyMetadata);
        to.window->trigger(cmd::kPasteMetadata);
        QTRY_VERIFY(!to.window->busy());
        QCOMPARE(to.window->control<QLineEdit>(ctl::kThr)->text(), QStringLiteral("33"));
        QVERIFY(to.window->action(cmd::kRender)->isEnabled());
        to.window->trigger(cmd::kClearClipboard);
        const QMimeData* data = QApplication::clipboard()->mimeData();
        QVERIFY(!data || data->formats().isEmpty());
    }

    void layersCommandsActOnTheSelectedLayer() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        auto* list = w.control<QListWidget>(ctl::kLayerList);
        list->setCurrentRow(4);
        w.trigger(cmd::kLayerDisable);
        QVERIFY(!f.doc().layers[4].shown);
        QCOMPARE(list->item(4)->text(), QStringLiteral("Ly4 - Hidden T(255)-S(100)-B(100)"));
        QVERIFY(!w.action(cmd::kLayerDisable)->isEnabled());
        QVERIFY(w.action(cmd::kLayerEnable)->isEnabled());

        f.presenter->on_dialog = [](QDialog& d) {
            d.findChild<QComboBox*>("scan")->setCurrentIndex(4);
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kSetAnimation);  // layer 4 has no shapes: nothing to animate
        QVERIFY(f.presenter->dialogs.isEmpty());
        w.trigger(cmd::kSetAsDefault);
        QCOMPARE(int(f.doc().layers[4].shapes.size()), 1);
        w.trigger(cmd::kSetAnimation);
        QCOMPARE(f.presenter->dialogs, QStringList{QStringLiteral("Animation settings")});
        QCOMPARE(f.doc().layers[4].anim.scan, 4);
        QCOMPARE(f.doc().layers[1].anim.scan, 1);  // other layers keep theirs

        f.presenter->colours = {QColor(10, 20, 30)};
        w.trigger(cmd::kBackgroundColor);
        QCOMPARE(f.doc().background, pack_colorref(10, 20, 30));
    }

    void shapeDetailStepsRoundTheSelectedLayersShapes() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        Layer& l = f.doc().layers[1];
        l.shapes.push_back(std::make_unique<SHAPE>(f.window->host()));
        l.shapes.push_back(std::make_unique<SHAPE>(f.window->host()));
        l.first_shape_only = false;
        QStringList titles;
        f.presenter->on_dialog = [&](QDialog& d) {
            for (const char* button : {"NEXT", "NEXT", "NEXT", "PREV"}) {
                d.findChild<QPushButton*>(button)->click();
                titles << d.windowTitle();
            }
            return int(QDialog::Accepted);
        };
        f.window->trigger(cmd::kShowShapes);
        QCOMPARE(titles, (QStringList{"Shape - 1/3", "Shape - 2/3", "Shape - 0/3", "Shape - 2/3"}));
        QCOMPARE(l.shape_cursor, 2);
    }
};

QTEST_MAIN(WindowCommands)
#include "window_commands.moc"
