// The layer list and the controls that follow it: list texts, the Trans/Size/Bright clamps typed by a
// user, layer 0's locked colour options, the Layers menu and the Shape Detail dialog.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>

#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

void type_into(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

}  // namespace

class Layers : public QObject {
    Q_OBJECT
private slots:
    void listShowsEveryLayerWithItsValues() {
        WindowFixture f;
        auto* list = f.window->control<QListWidget>(ctl::kLayerList);
        QCOMPARE(list->count(), 9);
        QCOMPARE(list->currentRow(), 1);
        QCOMPARE(list->item(2)->text(), QStringLiteral("Ly2 - Shown T(255)-S(100)-B(100)"));
        QCOMPARE(f.window->control<QLineEdit>(ctl::kTrans)->text(), QStringLiteral("255"));
    }

    void typedValuesAreClampedIntoTheSelectedLayer_data() {
        QTest::addColumn<int>("control");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("stored");
        QTest::addColumn<QString>("line");
        QTest::newRow("Trans 400") << ctl::kTrans << "400" << 255 << "Ly2 - Shown T(255)-S(100)-B(100)";
        QTest::newRow("Trans -5") << ctl::kTrans << "-5" << 0 << "Ly2 - Shown T(0)-S(100)-B(100)";
        QTest::newRow("Trans 17") << ctl::kTrans << "17" << 17 << "Ly2 - Shown T(17)-S(100)-B(100)";
        QTest::newRow("Size 350") << ctl::kSize << "350" << 300 << "Ly2 - Shown T(255)-S(300)-B(100)";
        QTest::newRow("Size -1") << ctl::kSize << "-1" << 0 << "Ly2 - Shown T(255)-S(0)-B(100)";
        QTest::newRow("Bright 1000") << ctl::kBright << "1000" << 1000 << "Ly2 - Shown T(255)-S(100)-B(1000)";
        QTest::newRow("Bright -3") << ctl::kBright << "-3" << 0 << "Ly2 - Shown T(255)-S(100)-B(0)";
    }
    void typedValuesAreClampedIntoTheSelectedLayer() {
        QFETCH(int, control);
        QFETCH(QString, typed);
        QFETCH(int, stored);
        QFETCH(QString, line);
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        auto* list = f.window->control<QListWidget>(ctl::kLayerList);
        list->setCurrentRow(2);
        QCOMPARE(f.doc().selected_layer, 2);
        auto* edit = f.window->control<QLineEdit>(control);
        type_into(edit, typed);
        QCOMPARE(edit->text(), typed);  // the field keeps what was typed
        const Layer& l = f.doc().layers[2];
        const int value = control == ctl::kTrans  ? l.transparency
                          : control == ctl::kSize ? l.size
                                                  : l.brightness;
        QCOMPARE(value, stored);
        QCOMPARE(list->item(2)->text(), line);
        QCOMPARE(f.doc().layers[1].list_text(1), std::string("Ly1 - Shown T(255)-S(100)-B(100)"));
    }

    void transparencyReachesTheShapes() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        type_into(f.window->control<QLineEdit>(ctl::kTrans), QStringLiteral("128"));
        const SHAPE& disc = *f.doc().layers[1].shapes.front();
        QCOMPARE(int(disc.alt_buffer.at(512, 512, 1)), 255 * 128 / 255);
    }

    void layerZeroLocksTheColourOptions() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        MainWindow& w = *f.window;
        f.doc().layers[3].shuffle = true;
        f.doc().layers[3].palette = 4;
        auto* list = w.control<QListWidget>(ctl::kLayerList);
        list->setCurrentRow(0);
        for (int id : {ctl::kRandom, ctl::kShuffle, ctl::kInvert, ctl::kConvert, ctl::kPalette})
            QVERIFY2(!w.findChild<QWidget*>(control_name(id))->isEnabled(), qPrintable(QString::number(id)));
        list->setCurrentRow(3);
        for (int id : {ctl::kRandom, ctl::kShuffle, ctl::kInvert, ctl::kConvert, ctl::kPalette})
            QVERIFY(w.findChild<QWidget*>(control_name(id))->isEnabled());
        QVERIFY(w.control<QCheckBox>(ctl::kShuffle)->isChecked());
        QVERIFY(!w.control<QCheckBox>(ctl::kInvert)->isChecked());
        QCOMPARE(w.control<QComboBox>(ctl::kPalette)->currentText(), QStringLiteral("Metal Ice"));

        // A click stores all four boxes into the layer and turns Final result off.
        w.control<QCheckBox>(ctl::kInvert)->click();
        QVERIFY(f.doc().layers[3].invert);
        QVERIFY(f.doc().layers[3].shuffle);
        QVERIFY(!f.doc().toggles.final_result);
        // Choosing a palette stores it into the selected layer.
        w.control<QComboBox>(ctl::kPalette)->setCurrentIndex(7);
        QCOMPARE(f.doc().layers[3].palette, 7);
        QCOMPARE(f.doc().selected_palette, 7);
    }

    void layersMenuActsOnTheSelectedLayer() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        MainWindow& w = *f.window;
        auto* list = w.control<QListWidget>(ctl::kLayerList);

        list->setCurrentRow(4);
        QVERIFY(w.action(cmd::kLayerDisable)->isEnabled());
        QVERIFY(!w.action(cmd::kLayerEnable)->isEnabled());
        w.trigger(cmd::kLayerDisable);
        QVERIFY(!f.doc().layers[4].shown);
        QCOMPARE(list->item(4)->text(), QStringLiteral("Ly4 - Hidden T(255)-S(100)-B(100)"));
        QVERIFY(!w.action(cmd::kLayerDisable)->isEnabled());
        QVERIFY(w.action(cmd::kLayerEnable)->isEnabled());
        w.trigger(cmd::kLayerEnable);
        QVERIFY(f.doc().layers[4].shown);

        // Reset layer: 0 and 1 get the default disc back, the others come back empty.
        f.doc().layers[1].shapes.clear();
        f.doc().layers[5].size = 50;
        list->setCurrentRow(1);
        w.trigger(cmd::kResetLayer);
        QCOMPARE(int(f.doc().layers[1].shapes.size()), 1);
        list->setCurrentRow(5);
        w.trigger(cmd::kResetLayer);
        QCOMPARE(int(f.doc().layers[5].shapes.size()), 0);
        QCOMPARE(f.doc().layers[5].size, 100);
        // Set as default always gives the disc.
        w.trigger(cmd::kSetAsDefault);
        QCOMPARE(int(f.doc().layers[5].shapes.size()), 1);

        f.presenter->colours = {QColor(10, 20, 30)};
        w.trigger(cmd::kBackgroundColor);
        QCOMPARE(f.presenter->colour_initials.front(), QColor(0, 0, 0));
        QCOMPARE(f.doc().background, pack_colorref(10, 20, 30));
        w.trigger(cmd::kBackgroundColor);  // cancelled: unchanged
        QCOMPARE(f.doc().background, pack_colorref(10, 20, 30));
    }

    void setAnimationEditsTheSelectedLayersSettings() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        MainWindow& w = *f.window;
        f.presenter->on_dialog = [&](QDialog& d) {
            d.findChild<QComboBox*>("motion")->setCurrentIndex(1);
            d.findChild<QComboBox*>("scan")->setCurrentIndex(4);
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kSetAnimation);
        QCOMPARE(f.presenter->dialogs, QStringList{QStringLiteral("Animation settings")});
        QCOMPARE(f.doc().layers[1].anim.motion, 1);
        QCOMPARE(f.doc().layers[1].anim.scan, 4);
        QCOMPARE(f.doc().layers[1].anim.duration, 5.0);
        // A layer without shapes has nothing to animate.
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(6);
        w.trigger(cmd::kSetAnimation);
        QCOMPARE(f.presenter->dialogs.size(), 1);
    }

    void shapesAreLoadedFromFilesIntoTheSelectedLayer() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QImage star(1024, 1024, QImage::Format_ARGB32);
        star.fill(Qt::transparent);
        QPainter p(&star);
        p.setBrush(QColor(200, 200, 200));
        p.setPen(Qt::NoPen);
        p.drawRect(300, 300, 424, 424);
        p.end();
        const QString path = QString::fromStdString(velq::test::temp_dir("gui_shapes")) + "/square.png";
        QVERIFY(star.save(path));

        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(0);  // Files is offered from start-up on
        w.trigger(cmd::kLoadShapesFiles);
        QCOMPARE(f.presenter->messages, QStringList{QStringLiteral("Please select layer!")});

        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(3);
        f.presenter->open_lists = {{path}};
        w.trigger(cmd::kLoadShapesFiles);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.presenter->messages.size(), 1);
        QCOMPARE(int(f.doc().layers[3].shapes.size()), 1);
        QCOMPARE(f.doc().layers[3].shapes.front()->name, path.toStdString());
        QVERIFY(f.presenter->file_types.front().startsWith(QStringLiteral("All Graphics Types|*.bmp;")));
    }

    void shapeDetailStepsThroughTheShapes() {
        WindowFixture f;
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        MainWindow& w = *f.window;
        Layer& l = f.doc().layers[1];
        l.shapes.push_back(std::make_unique<SHAPE>(w.host()));
        l.shapes.push_back(std::make_unique<SHAPE>(w.host()));
        l.first_shape_only = false;
        QStringList titles;
        f.presenter->on_dialog = [&](QDialog& d) {
            titles << d.windowTitle();
            auto* next = d.findChild<QPushButton*>(QStringLiteral("NEXT"));
            auto* prev = d.findChild<QPushButton*>(QStringLiteral("PREV"));
            next->click();
            titles << d.windowTitle();
            next->click();
            next->click();
            titles << d.windowTitle();
            prev->click();
            titles << d.windowTitle();
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kShowShapes);
        QCOMPARE(titles, (QStringList{"Shape Detail", "Shape - 1/3", "Shape - 0/3", "Shape - 2/3"}));
        QCOMPARE(l.shape_cursor, 2);

        // Layer 0 has no Shape Detail.
        f.presenter->dialogs.clear();
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(0);
        w.trigger(cmd::kShowShapes);
        QVERIFY(f.presenter->dialogs.isEmpty());
    }
};

QTEST_MAIN(Layers)
#include "layers.moc"
