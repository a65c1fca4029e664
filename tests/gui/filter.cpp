// Filters from the window: they run on the worker, come back with the result shown and checked, and a
// refused filter (K-Mn below 2) says so and keeps the previous result.
#include <cstring>

#include <QAction>
#include <QLineEdit>

#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {
bool same_bytes(const UBUFFER& a, const UBUFFER& b) {
    return a.same_shape(b) && std::memcmp(a.data(), b.data(), a.size()) == 0;
}
}  // namespace

class Filter : public QObject {
    Q_OBJECT
private slots:
    void kMeanBelowTwoKeepsThePreviousResult() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 11)));
        w.trigger(cmd::kFilterHalfShuffle);
        QTRY_VERIFY(!w.busy());
        QVERIFY(f.presenter->messages.isEmpty());
        QCOMPARE(f.doc().settings.filter_kind, 1);
        QVERIFY(w.action(cmd::kFilterHalfShuffle)->isChecked());
        const UBUFFER before = f.doc().filtered.clone();

        w.control<QLineEdit>(ctl::kKMean)->setText(QStringLiteral("1"));
        w.trigger(cmd::kFilterKMean);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.presenter->messages,
                 QStringList{QStringLiteral("Invalid K-Mean value. It must be larger than 1")});
        QVERIFY(same_bytes(f.doc().filtered, before));
        QCOMPARE(f.doc().settings.filter_kind, 1);
        QVERIFY(w.action(cmd::kFilterHalfShuffle)->isChecked());  // the mark goes back to the filter in force
    }

    void filterReadsTheFieldsWhenItStarts() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(24, 16, 11)));
        w.control<QLineEdit>(ctl::kInt)->setText(QStringLiteral("2"));
        w.control<QLineEdit>(ctl::kBlu)->setText(QStringLiteral("0"));
        w.trigger(cmd::kFilterNormal);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.doc().working.width(), (24 - 1) * 2 + 1);
        QCOMPARE(f.doc().settings.out_width, (24 - 1) * 2 + 1);
        QCOMPARE(w.control<QLineEdit>(ctl::kWid)->text(), QStringLiteral("47"));
        QCOMPARE(w.control<QLineEdit>(ctl::kHgt)->text(), QStringLiteral("31"));
        QCOMPARE(w.windowTitle(), QStringLiteral("Velquinograph"));

        w.control<QLineEdit>(ctl::kInt)->setText(QStringLiteral("0"));
        w.trigger(cmd::kFilterNormal);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.presenter->messages.size(), 1);
        QCOMPARE(f.doc().working.width(), 47);
    }
};

QTEST_MAIN(Filter)
#include "filter.moc"
