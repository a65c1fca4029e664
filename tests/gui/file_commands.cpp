// File commands through the window: Open with its messages, drops, Save with the type list and the
// settings block, and the clipboard commands.
#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QUrl>

#include "app/metadata.h"
#include "support/recording_host.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

namespace {

QString write_png(const QString& folder, const QString& name, int w, int h) {
    QImage img(w, h, QImage::Format_RGB32);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) img.setPixel(x, y, qRgb(x * 255 / w, y * 255 / h, 90));
    const QString path = QDir(folder).filePath(name);
    img.save(path);
    return path;
}

QString folder(const char* name) {
    return QString::fromStdString(velq::test::temp_dir(name));
}

}  // namespace

class FileCommands : public QObject {
    Q_OBJECT
private slots:
    void openReadsThePictureAndSaysWhatFails() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QString dir = folder("gui_open");
        f.presenter->open_names = {QString()};  // cancelled
        w.trigger(cmd::kOpen);
        QVERIFY(!w.busy());
        QVERIFY(!f.doc().source);
        QVERIFY(f.presenter->file_types.front().startsWith("All Graphics Types|*.bmp;*.jpg;"));

        f.presenter->open_names = {write_png(dir, "a.png", 30, 20)};
        w.trigger(cmd::kOpen);
        QTRY_VERIFY(!w.busy());
        QVERIFY(f.presenter->messages.isEmpty());
        QCOMPARE(f.doc().source.width(), 30);
        QCOMPARE(w.control<QLineEdit>(ctl::kMin)->text(), QStringLiteral("0.000500"));
        QCOMPARE(w.control<QLineEdit>(ctl::kWid)->text(), QStringLiteral("146"));
        QCOMPARE(w.windowTitle(), QStringLiteral("Velquinograph"));
        QVERIFY(w.action(cmd::kFilterNormal)->isEnabled());
        QVERIFY(!w.action(cmd::kRender)->isEnabled());
        QVERIFY(w.control<QLineEdit>(ctl::kThr)->isEnabled());

        QFile video(QDir(dir).filePath("clip.mp4"));
        QVERIFY(video.open(QIODevice::WriteOnly));
        video.write("not a video");
        video.close();
        f.presenter->open_names = {video.fileName()};
        w.trigger(cmd::kOpen);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.presenter->messages, QStringList{QStringLiteral("Invalid file")});
        QCOMPARE(f.doc().source.width(), 30);  // the open picture stays

        QFile broken(QDir(dir).filePath("broken.png"));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("garbage");
        broken.close();
        f.presenter->messages.clear();
        w.open_path(broken.fileName());
        QTRY_VERIFY(!w.busy());
        QVERIFY(f.presenter->messages.contains(QStringLiteral("Failed to read image")));
    }

    void theLastFolderIsRememberedBetweenWindows() {
        const QString dir = folder("gui_last_folder");
        const QString path = write_png(dir, "b.png", 8, 8);
        {
            WindowFixture f;
            f.presenter->open_names = {path};
            f.window->trigger(cmd::kOpen);
            QTRY_VERIFY(!f.window->busy());
        }
        WindowFixture g;
        g.window->trigger(cmd::kOpen);  // cancelled
        QCOMPARE(g.presenter->folders, QStringList{QFileInfo(path).absolutePath()});
    }

    void droppedPictureIsOpened() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QString path = write_png(folder("gui_drop"), "dropped.png", 12, 10);
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &drop);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.doc().source.width(), 12);
    }

    void saveNeedsARenderThenWritesTheChosenTypeWithItsBlock() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QString dir = folder("gui_save");
        QVERIFY(f.load_picture(velq::test::noise_picture(20, 10, 2)));
        w.trigger(cmd::kSave);
        QCOMPARE(f.presenter->messages, QStringList{QStringLiteral("Please render the shape first!")});
        QVERIFY(f.presenter->file_types.isEmpty());

        f.doc().layers[3].set_size(77);
        f.doc().render_buffer = velq::test::noise_picture(30, 15, 4);
        f.doc().rendered = true;
        f.doc().rendered_settings = f.doc().settings;
        w.document_changed();
        f.presenter->save_names = {QDir(dir).filePath("result")};
        f.presenter->save_type = 2;  // "Portable Network Graphic (.png)"
        w.trigger(cmd::kSave);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(f.presenter->file_types,
                 (QStringList{"Photoshop (.psd)", "Joint Photographic Experts Group (.jpg)",
                              "Portable Network Graphic (.png)", "Bitmap Files (*.bmp)"}));
        const QString saved = QDir(dir).filePath("result.png");
        QVERIFY(QFile::exists(saved));
        QCOMPARE(QImage(saved).size(), QSize(30, 15));
        velq::test::RecordingHost host;
        QVERIFY(detect_metadata(host, saved.toStdString()));

        // Load layers takes the saved layers back; a plain picture has none.
        WindowFixture g;
        g.presenter->open_names = {write_png(dir, "plain.png", 8, 8), saved};
        g.window->trigger(cmd::kLoadLayers);
        QTRY_VERIFY(!g.window->busy());
        QCOMPARE(g.presenter->messages, QStringList{QStringLiteral("No metadata found!")});
        g.window->trigger(cmd::kLoadLayers);
        QTRY_VERIFY(!g.window->busy());
        QCOMPARE(g.doc().layers[3].size, 77);
        QCOMPARE(g.window->control<QListWidget>(ctl::kLayerList)->item(3)->text(),
                 QStringLiteral("Ly3 - Shown T(255)-S(77)-B(100)"));
    }

    void clipboardCarriesTheSettingsBlock() {
        WindowFixture f;
        MainWindow& w = *f.window;
        QVERIFY(f.load_picture(velq::test::noise_picture(20, 10, 2)));
        w.trigger(cmd::kCopyMetadata);
        const QMimeData* data = QApplication::clipboard()->mimeData();
        QVERIFY(data);
        const QByteArray bytes = data->data(QStringLiteral("application/x-velquinograph-settings"));
        QVERIFY(bytes.size() > 5220);
        QVERIFY(bytes.startsWith("Velquinograph"));
        w.trigger(cmd::kClearClipboard);
        data = QApplication::clipboard()->mimeData();
        QVERIFY(!data || !data->hasFormat(QStringLiteral("application/x-velquinograph-settings")));
    }

    void pasteAppliesTheCopiedSettingsToTheOpenPicture() {
        WindowFixture from;
        QVERIFY(from.load_picture(velq::test::noise_picture(24, 16, 3)));
        from.window->control<QLineEdit>(ctl::kThr)->setText(QStringLiteral("33"));
        from.window->control<QLineEdit>(ctl::kMax)->setText(QStringLiteral("0.05"));
        from.doc().layers[2].set_size(140);
        from.window->trigger(cmd::kFilterNormal);  // the fields go into the settings
        QTRY_VERIFY(!from.window->busy());
        from.window->trigger(cmd::kCopyMetadata);

        WindowFixture to;
        MainWindow& w = *to.window;
        QVERIFY(to.load_picture(velq::test::noise_picture(24, 16, 3)));
        QVERIFY(w.action(cmd::kPasteMetadata)->isEnabled());
        w.trigger(cmd::kPasteMetadata);
        QTRY_VERIFY(!w.busy());
        QVERIFY2(to.presenter->messages.isEmpty(), qPrintable(to.presenter->messages.join('|')));
        QCOMPARE(w.control<QLineEdit>(ctl::kThr)->text(), QStringLiteral("33"));
        QCOMPARE(w.control<QLineEdit>(ctl::kMax)->text(), QStringLiteral("0.050000"));
        QCOMPARE(to.doc().layers[2].size, 140);
        QVERIFY(to.doc().transformed);
        QVERIFY(w.action(cmd::kRender)->isEnabled());

        QApplication::clipboard()->clear();
        w.trigger(cmd::kPasteMetadata);
        QTRY_VERIFY(!w.busy());
        QCOMPARE(to.presenter->messages, QStringList{QStringLiteral("Invalid metadata in paste_metadata()")});
    }
};

QTEST_MAIN(FileCommands)
#include "file_commands.moc"
