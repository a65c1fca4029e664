// Walks the command table through the window: every command is in the menus with its text and
// shortcut, greyed exactly as the table says at start-up, with a picture, while busy and after a
// render; a refused command shows its message instead of acting; Stop and quitting.
#include <QAction>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QSet>

#include "app/commands.h"
#include "gui/picture_view.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

QString text(std::string_view s) {
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

void collect(QMenu* menu, QList<QAction*>& out) {
    for (QAction* a : menu->actions()) {
        if (a->menu())
            collect(a->menu(), out);
        else if (!a->isSeparator())
            out << a;
    }
}

// The first command whose action or settings control disagrees with the table, or empty.
QString compare_with_table(MainWindow& w, const UiState& s) {
    for (const Command& c : command_table())
        if (w.action(c.id)->isEnabled() !=
            ((command_enabled(c, s) || (c.id == cmd::kExit && s.busy)) && w.handles(c.id)))
            return QString::number(c.id) + ' ' + text(c.text);
    for (const Control& c : control_table())
        if (w.findChild<QWidget*>(control_name(c.id))->isEnabled() != control_enabled(c.id, s))
            return QStringLiteral("control ") + QString::number(c.id);
    return {};
}

}  // namespace

class CommandWalk : public QObject {
    Q_OBJECT
private slots:
    void everyCommandIsReachableWithItsTextAndShortcut() {
        WindowFixture f;
        QList<QAction*> in_menus;
        for (QAction* top : f.window->menuBar()->actions()) collect(top->menu(), in_menus);
        QCOMPARE(int(in_menus.size()), int(command_table().size()));
        for (const Command& c : command_table()) {
            QAction* a = f.window->action(c.id);
            QVERIFY2(a && in_menus.contains(a), qPrintable(QString::number(c.id)));
            QCOMPARE(a->text(), text(c.text));
            QCOMPARE(a->isCheckable(), c.check != Check::Plain);
            QCOMPARE(a->shortcut(), QKeySequence(text(c.shortcut)));
            // Working commands have a handler; the others are greyed and say why.
            QCOMPARE(f.window->handles(c.id), c.unavailable.empty());
            if (!c.unavailable.empty()) QCOMPARE(a->toolTip(), text(c.unavailable));
        }
        QCOMPARE(f.window->action(cmd::kStop)->shortcut(), QKeySequence(Qt::Key_Escape));
        // Every menu opens with its own Alt+letter.
        QSet<QChar> keys;
        for (QAction* top : f.window->menuBar()->actions()) {
            const QString title = top->text();
            QVERIFY2(title.count('&') == 1, qPrintable(title));
            keys.insert(title[title.indexOf('&') + 1].toLower());
        }
        QCOMPARE(int(keys.size()), int(f.window->menuBar()->actions().size()));
    }

    void enabledStatesFollowTheTableThroughStartUpBusyAndRender() {
        WindowFixture f;
        MainWindow& w = *f.window;
        UiState s;
        QCOMPARE(compare_with_table(w, s), QString());
        QCOMPARE(w.action(cmd::kSave)->toolTip(), QStringLiteral("Waits for a picture: File > Open"));
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        s.picture = true;
        QCOMPARE(compare_with_table(w, s), QString());
        QCOMPARE(w.action(cmd::kRender)->toolTip(),
                 QStringLiteral("Waits for a transform: Transform > Normal or Vectorize"));
        QCOMPARE(w.action(cmd::kSave)->toolTip(), QStringLiteral("Needs a render first: Transform > Render"));
        QCOMPARE(w.action(cmd::kSegmentDisable)->toolTip(),
                 QStringLiteral("Waits for a transform: Transform > Normal or Vectorize"));

        HeldJob held;
        w.start_job(held.job(w.host()));
        s.busy = true;
        QCOMPARE(compare_with_table(w, s), QString());
        held.release = true;
        QTRY_VERIFY(!w.busy());
        s.busy = false;
        QCOMPARE(compare_with_table(w, s), QString());

        w.document().transformed = w.document().rendered = true;
        w.document_changed();
        s.transformed = s.rendered = true;
        QCOMPARE(compare_with_table(w, s), QString());
        QCOMPARE(w.action(cmd::kSave)->toolTip(), QString(w.action(cmd::kSave)->text()));
        QCOMPARE(w.action(cmd::kSegmentDisable)->toolTip(),
                 QStringLiteral("Waits for a segment: double-click one in the picture"));
    }

    // With a picture, no render and layer 0 selected, every enabled command with a need says its
    // message and asks nothing else.
    void refusedCommandsShowTheirMessageInsteadOfActing() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(0);
        UiState s = w.ui_state();
        int refused = 0;
        for (const Command& c : command_table()) {
            auto refusal = command_refusal(c, s);
            if (!refusal || !w.action(c.id)->isEnabled()) continue;
            f.presenter->messages.clear();
            w.trigger(c.id);
            QVERIFY(!w.busy());
            QCOMPARE(f.presenter->messages, refusal->empty() ? QStringList() : QStringList{text(*refusal)});
            QVERIFY2(f.presenter->file_types.isEmpty() && f.presenter->dialogs.isEmpty(),
                     qPrintable(QString::number(c.id)));
            ++refused;
        }
        QCOMPARE(refused, 15);
    }

    void workerReportsReachTheWindowAndTogglesWaitForTheEnd() {
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
        w.trigger(cmd::kViewEdges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
        QVERIFY(w.document().toggles.edges);  // the worker owns the Document until it ends
        release = true;
        QTRY_VERIFY(!w.busy());
        QVERIFY(!w.document().toggles.edges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
    }

    // Esc stops the job whichever widget has the focus, and the window says it stopped.
    void escapeStopsTheJobFromAnyWidget() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(40, 30, 7)));
        for (int id : {ctl::kShapeNumber, ctl::kSelect, ctl::kPicture, ctl::kLayerList}) {
            HeldJob held;
            w.start_job(held.job(w.host()));
            QWidget* target = w.findChild<QWidget*>(control_name(id));
            target->setFocus();
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &w, Qt::Key_Escape);
            QTRY_VERIFY(!w.busy());
            QVERIFY2(held.ended_by_stop, qPrintable(control_name(id)));
            QCOMPARE(w.findChild<QLabel*>(control_name(ctl::kStatus1))->text(), QStringLiteral("Stopped"));
        }
        QVERIFY(w.action(cmd::kFilterNormal)->isEnabled());
    }

    // Quitting asks only what is worth asking: to stop a running job, or to lose unsaved work.
    void quittingAsksOnlyWhatIsWorthAsking() {
        {
            WindowFixture f;
            f.window->trigger(cmd::kExit);
            QVERIFY(f.presenter->questions.isEmpty());
            QVERIFY(!f.window->isVisible());
        }
        {
            WindowFixture f;
            f.window->set_unsaved(true);
            f.presenter->answers = {false, true};
            f.window->trigger(cmd::kExit);
            QVERIFY(f.window->isVisible());
            QVERIFY(f.window->close());
            QCOMPARE(f.presenter->questions, (QStringList{"Really quit?", "Really quit?"}));
        }
        WindowFixture f;
        MainWindow& w = *f.window;
        HeldJob held;
        w.start_job(held.job(w.host()));
        f.presenter->answers = {false, true};
        QTest::keySequence(&w, QKeySequence(QStringLiteral("Ctrl+Q")));
        QVERIFY(w.busy() && w.isVisible());
        QVERIFY(w.close());
        const QString stop_and_quit = QStringLiteral("An operation is running. Stop it and quit?");
        QCOMPARE(f.presenter->questions, (QStringList{stop_and_quit, stop_and_quit}));
        QTRY_VERIFY(held.ended_by_stop);
        QVERIFY(!w.isVisible());
    }
};

QTEST_MAIN(CommandWalk)
#include "command_walk.moc"
