// The batch runs from the window: the dialogs keep their selections in the Document, the run goes
// through the worker, and the final message counts what was written.
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>

#include "app/batch_job.h"
#include "image/picture_writer.h"
#include "window_fixture.h"

using namespace velq;
using namespace velq::gui;
using namespace velq::gui::test;

class BatchRuns : public QObject {
    Q_OBJECT
private slots:
    void imageCyclingAndRoiRenderWriteEveryItem() {
        WindowFixture f;
        MainWindow& w = *f.window;
        const QDir dir(QString::fromStdString(velq::test::temp_dir("gui_batch")));
        const QString picture = dir.filePath("pic.png");
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
        QVERIFY(dir.mkpath("in/sub"));
        QVERIFY(QFile::copy(picture, dir.filePath("in/sub/a.png")));
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
        QVERIFY(QFile::exists(dir.filePath("out/sub/a.png")));
    }
};

QTEST_MAIN(BatchRuns)
#include "batch_runs.moc"
