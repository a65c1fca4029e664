// Wid, Hgt, DPI and Unit: typing one side keeps the picture's aspect, the output pixel size follows,
// and DPI or unit changes rewrite both fields from that pixel size.
#include <QComboBox>
#include <QLineEdit>

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

class SizeFields : public QObject {
    Q_OBJECT
private slots:
    void sidesKeepTheAspectAndUnitsConvert() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 1)));  // working 116 x 76 at INT 5
        auto* wid = w.control<QLineEdit>(ctl::kWid);
        auto* hgt = w.control<QLineEdit>(ctl::kHgt);
        auto* dpi = w.control<QLineEdit>(ctl::kDpi);
        QCOMPARE(wid->text(), QStringLiteral("116"));
        QCOMPARE(dpi->text(), QStringLiteral("96"));

        type_into(wid, QStringLiteral("58"));
        QCOMPARE(hgt->text(), QStringLiteral("38"));
        QCOMPARE(f.doc().settings.out_width, 58);
        QCOMPARE(f.doc().settings.out_height, 38);

        type_into(hgt, QStringLiteral("152"));
        QCOMPARE(wid->text(), QStringLiteral("232"));
        QCOMPARE(f.doc().settings.out_width, 232);

        w.control<QComboBox>(ctl::kUnit)->setCurrentIndex(1);  // inch
        QCOMPARE(wid->text(), QStringLiteral("2.4167"));
        QCOMPARE(hgt->text(), QStringLiteral("1.5833"));
        type_into(dpi, QStringLiteral("200"));
        QCOMPARE(wid->text(), QStringLiteral("1.1600"));
        QCOMPARE(f.doc().settings.out_width, 232);  // the pixel size is authoritative

        w.control<QComboBox>(ctl::kUnit)->setCurrentIndex(2);  // cm
        type_into(wid, QStringLiteral("2.54"));
        QCOMPARE(f.doc().settings.out_width, 200);
        QCOMPARE(hgt->text(), QStringLiteral("1.6641"));  // 76 * 2.54 / 116
        QCOMPARE(f.doc().settings.out_height, 131);

        type_into(wid, QStringLiteral("-4"));  // negative widths count as 0
        QCOMPARE(f.doc().settings.out_width, 0);
    }

    void withoutAPictureNothingDividesByZero() {
        WindowFixture f;
        MainWindow& w = *f.window;
        auto* wid = w.control<QLineEdit>(ctl::kWid);
        wid->setEnabled(true);  // fields are locked until a picture; force it to check the guard
        type_into(wid, QStringLiteral("100"));
        QCOMPARE(w.control<QLineEdit>(ctl::kHgt)->text(), QString());
        QCOMPARE(f.doc().settings.out_width, 0);
    }
};

QTEST_MAIN(SizeFields)
#include "size_fields.moc"
