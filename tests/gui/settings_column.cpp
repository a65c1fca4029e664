// The settings column: the size fields rewrite each other, typed layer values go into the selected
// layer and its list line, and the colour options follow the selected layer.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

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

class SettingsColumnTest : public QObject {
    Q_OBJECT
private slots:
    // One session of edits, each followed by what both fields and the output width show.
    void sizeFieldsRewriteEachOther() {
        struct Step {
            int control;  // a field typed into, or ctl::kUnit with the index as text
            const char* input;
            const char* wid;
            const char* hgt;
            int out_width;
        };
        const Step steps[] = {
            {ctl::kWid, "58", "58", "38", 58},           {ctl::kHgt, "152", "232", "152", 232},
            {ctl::kUnit, "1", "2.4167", "1.5833", 232},   // inch at 96 DPI
            {ctl::kDpi, "200", "1.1600", "0.7600", 232},  // the pixel size stays
            {ctl::kUnit, "2", "2.9464", "1.9304", 232},   // cm
            {ctl::kWid, "2.54", "2.54", "1.6641", 200},
        };
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 1)));  // working 116 x 76 at INT 5
        QCOMPARE(w.control<QLineEdit>(ctl::kWid)->text(), QStringLiteral("116"));
        for (const Step& s : steps) {
            if (s.control == ctl::kUnit)
                w.control<QComboBox>(ctl::kUnit)->setCurrentIndex(QString(s.input).toInt());
            else
                type_into(w.control<QLineEdit>(s.control), QString(s.input));
            QCOMPARE(w.control<QLineEdit>(ctl::kWid)->text(), QString(s.wid));
            QCOMPARE(w.control<QLineEdit>(ctl::kHgt)->text(), QString(s.hgt));
            QCOMPARE(f.doc().settings.out_width, s.out_width);
        }
    }

    // Each field keeps what was typed while the layer and its line take the value within range.
    void typedLayerValuesGoIntoTheSelectedLayerAndItsLine() {
        struct Step {
            int control;
            const char* typed;
            const char* line;
        };
        const Step steps[] = {
            {ctl::kTrans, "17", "Ly2 - Shown T(17)-S(100)-B(100)"},
            {ctl::kSize, "350", "Ly2 - Shown T(17)-S(300)-B(100)"},
            {ctl::kBright, "-3", "Ly2 - Shown T(17)-S(300)-B(0)"},
        };
        WindowFixture f(velq::test::noise_picture(30, 20, 3));
        auto* list = f.window->control<QListWidget>(ctl::kLayerList);
        list->setCurrentRow(2);
        for (const Step& s : steps) {
            auto* edit = f.window->control<QLineEdit>(s.control);
            type_into(edit, QString(s.typed));
            QCOMPARE(edit->text(), QString(s.typed));
            QCOMPARE(list->item(2)->text(), QString(s.line));
        }
        QCOMPARE(list->item(1)->text(), QStringLiteral("Ly1 - Shown T(255)-S(100)-B(100)"));
    }

    void colourOptionsFollowTheSelectedLayer() {
        WindowFixture f;
        MainWindow& w = *f.window;
        auto* list = w.control<QListWidget>(ctl::kLayerList);
        QCOMPARE(list->currentRow(), 1);
        QVERIFY(f.load_picture(velq::test::noise_picture(30, 20, 3)));
        f.doc().layers[3].shuffle = true;
        f.doc().layers[3].palette = 4;
        const int options[] = {ctl::kRandom, ctl::kShuffle, ctl::kInvert, ctl::kConvert, ctl::kPalette};
        list->setCurrentRow(0);
        for (int id : options) QVERIFY(!w.findChild<QWidget*>(control_name(id))->isEnabled());
        list->setCurrentRow(3);
        for (int id : options) QVERIFY(w.findChild<QWidget*>(control_name(id))->isEnabled());
        QVERIFY(w.control<QCheckBox>(ctl::kShuffle)->isChecked());
        QCOMPARE(w.control<QComboBox>(ctl::kPalette)->currentText(), QStringLiteral("Metal Ice"));

        // A click stores all four boxes into the layer and turns Final result off.
        f.doc().toggles.final_result = true;
        w.control<QCheckBox>(ctl::kInvert)->click();
        QVERIFY(f.doc().layers[3].invert && f.doc().layers[3].shuffle);
        QVERIFY(!f.doc().toggles.final_result);
        QVERIFY(!w.action(cmd::kViewFinal)->isChecked());
        w.control<QComboBox>(ctl::kPalette)->setCurrentIndex(7);
        QCOMPARE(f.doc().layers[3].palette, 7);
        // Layer 0 has no palette: the box and its preview show none, not the last layer's.
        list->setCurrentRow(0);
        QCOMPARE(w.control<QComboBox>(ctl::kPalette)->currentIndex(), -1);
        QVERIFY(w.control<QLabel>(ctl::kPalettePreview)->pixmap().isNull());
        QCOMPARE(f.doc().layers[3].palette, 7);
    }
};

QTEST_MAIN(SettingsColumnTest)
#include "settings_column.moc"
