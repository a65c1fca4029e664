// The window's commands. The command table walked through the window: every command is in the
// menus with its text and shortcut, greyed exactly as the table says at start-up, with a picture,
// while busy and after a render; a refused command shows its message instead of acting; Esc and
// quitting. And the commands whose work lies in the window: drops open a picture, the file choosers
// start in the last folder, the fields are read when a job starts and the settings block travels on
// the clipboard, the dialogs fill the settings, the Layers commands act on the selected layer, and the
// batch runs report what they wrote.
#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSet>
#include <QSpinBox>
#include <QUrl>
#include <tuple>

#include "app/batch_job.h"
#include "app/commands.h"
#include "gui/picture_view.h"
#include "image/picture_writer.h"
#include "support/gltf_strip.h"
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
        // Every menu opens with its own Alt+letter.
        QSet<QChar> keys;
        for (QAction* top : f.window->menuBar()->actions()) {
            const QString title = top->text();
            QVERIFY2(title.count('&') == 1, qPrintable(title));
            keys.insert(title[title.indexOf('&') + 1].toLower());
        }
        QCOMPARE(int(keys.size()), int(f.window->menuBar()->actions().size()));
    }

    // While a job runs the window is greyed as the table says, until Esc stops the job whichever widget
    // has the focus; the window says it stopped.
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

        for (int id : {ctl::kShapeNumber, ctl::kSelect, ctl::kPicture, ctl::kLayerList}) {
            HeldJob held;
            w.start_job(held.job(w.host()));
            s.busy = true;
            QCOMPARE(compare_with_table(w, s), QString());
            w.findChild<QWidget*>(control_name(id))->setFocus();
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &w, Qt::Key_Escape);
            QTRY_VERIFY(!w.busy());
            QVERIFY2(held.ended_by_stop, qPrintable(control_name(id)));
            QCOMPARE(w.control<QLabel>(ctl::kStatus1)->text(), QStringLiteral("Stopped"));
            s.busy = false;
            QCOMPARE(compare_with_table(w, s), QString());
        }

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
        WindowFixture f(velq::test::noise_picture(40, 30, 7));
        MainWindow& w = *f.window;
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
        QCOMPARE(refused, 17);  // Spike drawing, Cycling and Load shapes from Passage among them
    }

    // The title, the bar and the live circles reach the window while the job runs; the circles are
    // painted without waiting for anything else to repaint the view.
    void workerReportsReachTheWindowAndTogglesWaitForTheEnd() {
        WindowFixture f(velq::test::noise_picture(40, 30, 7));
        MainWindow& w = *f.window;
        HeldJob held, circles;
        Host& host = w.host();
        w.start_job([&] {
            host.title("Velquinograph (Detecting segments...)");
            host.percent(42);
            circles.job(host)();
            const LiveCircle batch[2] = {{10, 10, 3}, {20, 12, 4}};
            host.circles_added(batch);
            held.job(host)();
        });
        QTRY_COMPARE(w.windowTitle(), QStringLiteral("Velquinograph (Detecting segments...)"));
        QTRY_COMPARE(w.control<QProgressBar>(ctl::kProgress)->value(), 42);
        QTest::qWait(2 * PictureView::kRefreshMs);
        const int paints = w.picture_view().paint_count();
        circles.release = true;
        QTRY_COMPARE(int(w.picture_view().overlay().circles.size()), 2);
        QTRY_VERIFY(w.picture_view().paint_count() > paints);
        w.trigger(cmd::kViewEdges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
        QVERIFY(w.document().toggles.edges);  // the worker owns the Document until it ends
        held.release = true;
        QTRY_VERIFY(!w.busy());
        QVERIFY(!w.document().toggles.edges);
        QVERIFY(!w.action(cmd::kViewEdges)->isChecked());
    }

    // Quitting asks only what is worth asking: to stop a running job, or to lose unsaved work. The first
    // No keeps the window open; closing it again and saying Yes quits (and stops the job).
    void quittingAsksOnlyWhatIsWorthAsking() {
        const QString lose = QStringLiteral("Really quit?"),
                      stop = QStringLiteral("An operation is running. Stop it and quit?");
        const std::tuple<bool, bool, QString> cases[] = {
            {false, false, {}}, {true, false, lose}, {false, true, stop}};
        for (const auto& [unsaved, busy, question] : cases) {
            WindowFixture f;
            MainWindow& w = *f.window;
            HeldJob held;
            w.set_unsaved(unsaved);
            if (busy) w.start_job(held.job(w.host()));
            f.presenter->answers = {false, true};
            QTest::keySequence(&w, QKeySequence(QStringLiteral("Ctrl+Q")));
            QCOMPARE(w.isVisible(), !question.isEmpty());
            if (w.isVisible()) QVERIFY(w.busy() == busy && w.close());
            QCOMPARE(f.presenter->questions,
                     (question.isEmpty() ? QStringList() : QStringList{question, question}));
            QTRY_VERIFY(held.ended_by_stop == busy && !w.busy());
            QVERIFY(!w.isVisible());
        }
    }

    // A dropped picture opens, and the next chooser starts in its folder; a motion pack loads from its
    // own chooser and greys Filter and Transform.
    void dropsAndChoosersOpenFiles() {
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
        const std::string model = dir.toStdString() + "/strip.gltf";
        velq::test::write_strip_gltf(model);
        g.presenter->open_names.push_back(QString::fromStdString(model));
        g.window->trigger(cmd::kLoadMotionPack);
        QTRY_VERIFY(!g.window->busy());
        QCOMPARE(g.presenter->file_types, (QStringList{"All Graphics Types", "3D model files"}));
        QVERIFY(g.doc().motion_pack_loaded);
        QVERIFY(!g.window->action(cmd::kFilterNormal)->isEnabled());
        QVERIFY(!g.window->action(cmd::kTransformNormal)->isEnabled());
        QVERIFY(g.window->action(cmd::kRender)->isEnabled());
    }

    // The fields and the memory limit go into the settings when a job starts, and the sizes the job made
    // come back; the settings block travels on the clipboard.
    void fieldsAreReadWhenAJobStartsAndTravelOnTheClipboard() {
        WindowFixture from(velq::test::noise_picture(24, 16, 3)), to(velq::test::noise_picture(24, 16, 3));
        MainWindow& w = *from.window;
        w.control<QLineEdit>(ctl::kThr)->setText(QStringLiteral("33"));
        w.control<QLineEdit>(ctl::kInt)->setText(QStringLiteral("2"));
        w.trigger(cmd::kMemory30);
        w.trigger(cmd::kFilterNormal);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(from.doc().settings.interpolation, 2);
        QCOMPARE(from.doc().settings.memory_limit, kMemoryLimits[1]);
        QVERIFY(w.action(cmd::kMemory30)->isChecked());
        QCOMPARE(w.control<QLineEdit>(ctl::kWid)->text(), QStringLiteral("47"));  // (24 - 1) * 2 + 1 at INT 2
        QCOMPARE(w.control<QLineEdit>(ctl::kHgt)->text(), QStringLiteral("31"));
        w.trigger(cmd::kCopyMetadata);
        to.window->trigger(cmd::kPasteMetadata);
        QTRY_VERIFY(!to.window->busy());
        QCOMPARE(to.window->control<QLineEdit>(ctl::kThr)->text(), QStringLiteral("33"));
        to.window->trigger(cmd::kClearClipboard);
        const QMimeData* data = QApplication::clipboard()->mimeData();
        QVERIFY(!data || data->formats().isEmpty());
    }

    void layersCommandsActOnTheSelectedLayer() {
        WindowFixture f(velq::test::noise_picture(30, 20, 3));
        MainWindow& w = *f.window;
        auto* list = w.control<QListWidget>(ctl::kLayerList);
        list->setCurrentRow(4);
        w.trigger(cmd::kLayerDisable);
        QVERIFY(!f.doc().layers[4].shown);
        QCOMPARE(list->item(4)->text(), QStringLiteral("Ly4 - Hidden T(255)-S(100)-B(100)"));
        QVERIFY(!w.action(cmd::kLayerDisable)->isEnabled());

        f.presenter->on_dialog = [](QDialog& d) {
            d.findChild<QComboBox*>("scan")->setCurrentIndex(4);
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kSetAnimation);  // layer 4 has no shapes: nothing to animate
        QVERIFY(f.presenter->dialogs.isEmpty());
        w.trigger(cmd::kSetAsDefault);
        w.trigger(cmd::kSetAnimation);
        QCOMPARE(f.presenter->dialogs, QStringList{QStringLiteral("Animation settings")});
        QCOMPARE(f.doc().layers[4].anim.scan, 4);
        QCOMPARE(f.doc().layers[1].anim.scan, 1);  // other layers keep theirs

        f.presenter->colours = {QColor(10, 20, 30)};
        w.trigger(cmd::kBackgroundColor);
        QCOMPARE(f.doc().background, pack_colorref(10, 20, 30));
    }

    void alphabetDialogSetsTheText() {
        WindowFixture f(velq::test::noise_picture(60, 40, 5));
        MainWindow& w = *f.window;
        f.presenter->on_dialog = [](QDialog& d) {
            d.findChild<QPlainTextEdit*>("text")->setPlainText(QStringLiteral("Ab"));
            d.findChild<QSpinBox*>("rows")->setValue(2);
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kTransformAlphabet);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.doc().settings.alphabet.text, std::string("Ab"));
        QCOMPARE(f.doc().settings.alphabet.rows, 2);
        QVERIFY(w.action(cmd::kTransformAlphabet)->isChecked());
    }

    void shapeDetailStepsRoundTheSelectedLayersShapes() {
        WindowFixture f(velq::test::noise_picture(30, 20, 3));
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

    void passageDialogDrawsTheSelectedLayersCharacters() {
        WindowFixture f(velq::test::noise_picture(30, 20, 3));
        MainWindow& w = *f.window;
        // text, style, case folding; an empty text is refused and the layer stays as it was
        const std::tuple<QString, int, bool, std::u16string> cases[] = {
            {QStringLiteral("Ab a"), 4, true, u"ab"},
            {QStringLiteral(" "), 1, true, u"ab"},
            {QStringLiteral("Ab a"), 1, false, u"Aba"},
        };
        w.control<QListWidget>(ctl::kLayerList)->setCurrentRow(2);
        int command = cmd::kLoadShapesPassage;
        for (const auto& [text, style, fold, chars] : cases) {
            f.presenter->messages.clear();
            QString shown;
            f.presenter->on_dialog = [&](QDialog& d) {
                auto* edit = d.findChild<QPlainTextEdit*>("text");
                shown = edit->toPlainText();
                edit->setPlainText(text);
                d.findChild<QLabel*>("face")->setText(QStringLiteral("DejaVu Sans"));
                d.findChild<QComboBox*>("style")->setCurrentIndex(style);
                d.findChild<QCheckBox*>("case_folding")->setChecked(fold);
                return int(QDialog::Accepted);
            };
            w.trigger(command);
            QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 30000);
            const Layer& l = f.doc().layers[2];
            std::u16string made;
            for (const auto& s : l.shapes) made += char16_t(s->character);
            QVERIFY(made == chars);
            QCOMPARE(f.presenter->messages.isEmpty(), text != QStringLiteral(" "));
            // Change passage reopens the dialog on the layer's own passage.
            if (command == cmd::kChangePassage) QCOMPARE(shown, QStringLiteral("Ab a"));
            QVERIFY(w.action(cmd::kChangePassage)->isEnabled());
            command = cmd::kChangePassage;
        }
        QCOMPARE(f.doc().layers[2].passage_style, PassageStyle::Outline);
    }

    // The batch runs keep their dialogs' selections in the Document, run on the worker, and say what
    // they wrote.
    void imageCyclingAndRoiRenderWriteEveryItem() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QDir dir(QString::fromStdString(velq::test::temp_dir("gui_batch")));
        const QString picture = dir.filePath("in/sub/pic.png");
        QVERIFY(dir.mkpath("in/sub"));
        QVERIFY(write_picture(picture.toStdString(), velq::test::noise_picture(24, 16, 5), 96) ==
                PictureError::None);

        // Image cycling: Matrix and K-mean only, into "cycled".
        f.presenter->on_dialog = [&](QDialog& d) {
            for (int i = kCyclingFilterAt; i < kCyclingFilterAt + kCyclingFilters; ++i)
                d.findChild<QCheckBox*>(QStringLiteral("choice%1").arg(i))->setChecked(i == 15 || i == 20);
            d.findChild<QLineEdit*>(QStringLiteral("input"))->setText(picture);
            d.findChild<QLineEdit*>(QStringLiteral("output"))->setText(dir.filePath("cycled"));
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kImageCycling);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QCOMPARE(f.presenter->messages, QStringList{"2 written, 0 skipped, 0 failed (see batch.log)"});
        QVERIFY(QFile::exists(dir.filePath("cycled/pic-f3-matrix.png")));
        for (int i = kCyclingFilterAt; i < kCyclingFilterAt + kCyclingFilters; ++i)
            QCOMPARE(f.doc().cycling[std::size_t(i)], i == 15 || i == 20);
        QVERIFY(f.doc().cycling[0]);

        // ROI render over a folder whose only picture is in a subfolder: found only when recursive.
        f.presenter->messages.clear();
        f.presenter->on_dialog = [&](QDialog& d) {
            d.findChild<QLineEdit*>(QStringLiteral("folders"))->setText(dir.filePath("in"));
            d.findChild<QCheckBox*>(QStringLiteral("recursive"))->setChecked(true);
            d.findChild<QLineEdit*>(QStringLiteral("output"))->setText(dir.filePath("out"));
            return int(QDialog::Accepted);
        };
        w.trigger(cmd::kRoiRender);
        QTRY_VERIFY_WITH_TIMEOUT(!w.busy(), 60000);
        QCOMPARE(f.presenter->messages, QStringList{"1 written, 0 skipped, 0 failed (see batch.log)"});
        QVERIFY(QFile::exists(dir.filePath("out/sub/pic.png")));
    }
};

QTEST_MAIN(CommandWalk)
#include "command_walk.moc"
