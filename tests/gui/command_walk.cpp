// Walks the command table through the window: every command is in the menus with its text, greyed
// exactly as the busy model says at start-up, while busy and after a render, and never a silent no-op.
#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>

#include "app/commands.h"
#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

void collect(QMenu* menu, QList<QAction*>& out) {
    for (QAction* a : menu->actions()) {
        if (a->menu())
            collect(a->menu(), out);
        else if (!a->isSeparator())
            out << a;
    }
}

QList<QAction*> menu_actions(MainWindow& w) {
    QList<QAction*> out;
    for (QAction* top : w.menuBar()->actions())
        if (top->menu()) collect(top->menu(), out);
    return out;
}

// Every action's enabled state against the model; returns the first mismatch's description.
QString compare_with_model(MainWindow& w, const UiState& s) {
    for (const Command& c : command_table()) {
        const bool expected = command_enabled(c, s) && w.handles(c.id);
        if (w.action(c.id)->isEnabled() != expected)
            return QStringLiteral("%1 %2: enabled %3")
                .arg(c.id)
                .arg(QString::fromUtf8(c.text.data(), c.text.size()))
                .arg(!expected);
    }
    return {};
}

}  // namespace

class CommandWalk : public QObject {
    Q_OBJECT
private slots:
    void everyCommandIsReachableWithItsText() {
        WindowFixture f;
        const QList<QAction*> actions = menu_actions(*f.window);
        QSet<QString> names;
        for (QAction* a : actions) names << a->objectName();
        for (const Command& c : command_table()) {
            QAction* a = f.window->action(c.id);
            QVERIFY2(a, qPrintable(QString::number(c.id)));
            QVERIFY2(names.contains(action_name(c.id)), qPrintable(QString::number(c.id)));
            QCOMPARE(a->text(), QString::fromUtf8(c.text.data(), c.text.size()));
            QCOMPARE(a->isCheckable(), c.check != Check::Plain);
            if (!c.shortcut.empty())
                QCOMPARE(a->shortcut(), QKeySequence(QString::fromUtf8(c.shortcut.data())));
        }
        QCOMPARE(int(actions.size()), int(command_table().size()));
        QCOMPARE(f.window->action(cmd::kOpen)->shortcut(), QKeySequence(QStringLiteral("Ctrl+O")));
        QCOMPARE(f.window->action(cmd::kStop)->shortcut(), QKeySequence(Qt::Key_Escape));
        QCOMPARE(f.window->action(cmd::kRender)->shortcut(), QKeySequence(Qt::Key_F5));
    }

    void workingCommandsHaveAnActionOthersAreGreyedWithAReason() {
        WindowFixture f;
        for (const Command& c : command_table()) {
            QAction* a = f.window->action(c.id);
            if (c.unavailable.empty()) {
                QVERIFY2(f.window->handles(c.id), qPrintable(QString::number(c.id)));
            } else {
                QVERIFY(!a->isEnabled());
                QCOMPARE(a->toolTip(), QString::fromUtf8(c.unavailable.data(), c.unavailable.size()));
            }
        }
    }

    void enabledStatesFollowTheModelThroughStartUpBusyAndRender() {
        WindowFixture f;
        MainWindow& w = *f.window;
        UiState s;
        QCOMPARE(compare_with_model(w, s), QString());
        QVERIFY(!w.control<QLineEdit>(ctl::kThr)->isEnabled());  // until the first picture

        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        s.picture = true;
        QCOMPARE(compare_with_model(w, s), QString());
        QVERIFY(w.control<QLineEdit>(ctl::kThr)->isEnabled());

        HeldJob held;
        w.start_job(held.job(w.host()));
        QVERIFY(w.busy());
        s.busy = true;
        QCOMPARE(compare_with_model(w, s), QString());
        for (const Control& c : control_table())
            QCOMPARE(w.findChild<QWidget*>(control_name(c.id))->isEnabled(), control_enabled(c.id, s));
        QVERIFY(w.action(cmd::kStop)->isEnabled());
        QVERIFY(!w.action(cmd::kFilterNormal)->isEnabled());

        held.release = true;
        QTRY_VERIFY(!w.busy());
        QVERIFY(!held.ended_by_stop);
        s.busy = false;
        QCOMPARE(compare_with_model(w, s), QString());

        // A finished render: the Document says so, the window follows.
        w.document().transformed = true;
        w.document().rendered = true;
        w.document_changed();
        s.transformed = s.rendered = true;
        QCOMPARE(compare_with_model(w, s), QString());
    }

    void workerReportsReachTheWindowThroughQueuedSignals() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        std::atomic<bool> reported{false}, release{false};
        Host& host = w.host();
        w.start_job([&] {
            host.title("Velquinograph (Detecting segments...)");
            host.percent(42);
            const LiveCircle batch[2] = {{10, 10, 3}, {20, 12, 4}};
            host.circles_added(batch);
            reported = true;
            while (!release && !host.stopped()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        });
        QTRY_VERIFY(reported.load());
        QTRY_COMPARE(w.windowTitle(), QStringLiteral("Velquinograph (Detecting segments...)"));
        QTRY_COMPARE(w.control<QProgressBar>(ctl::kProgress)->value(), 42);
        QTRY_COMPARE(int(w.picture_view().overlay().circles.size()), 2);
        QVERIFY(w.busy());
        // The window answers while the worker runs: a view toggle works, Filter does not.
        QVERIFY(w.action(cmd::kViewEdges)->isEnabled());
        w.trigger(cmd::kViewEdges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
        QVERIFY(w.document().toggles.edges);  // the worker owns the Document until it ends
        release = true;
        QTRY_VERIFY(!w.busy());
        QVERIFY(!w.document().toggles.edges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
    }

    void stopEndsTheJobAndTheWindowIsUsableAgain() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        HeldJob held;
        w.start_job(held.job(w.host()));
        QVERIFY(w.busy());
        QTest::keyClick(&w, Qt::Key_Escape);  // Stop
        QTRY_VERIFY(!w.busy());
        QVERIFY(held.ended_by_stop);
        QVERIFY(w.action(cmd::kFilterNormal)->isEnabled());
        QVERIFY(w.control<QLineEdit>(ctl::kInt)->isEnabled());
    }

    void exitAndCloseAskBeforeQuitting() {
        WindowFixture f;
        MainWindow& w = *f.window;
        f.presenter->answers = {false};
        w.trigger(cmd::kExit);
        QCOMPARE(f.presenter->questions, QStringList{QStringLiteral("Really quit?")});
        QVERIFY(w.isVisible());
        f.presenter->answers = {false, true};
        QVERIFY(!w.close());
        QVERIFY(w.isVisible());
        QVERIFY(w.close());
        QCOMPARE(f.presenter->questions.size(), 3);
    }
};

QTEST_MAIN(CommandWalk)
#include "command_walk.moc"
