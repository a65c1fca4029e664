// The main window's file and clipboard commands: Open (also from the command line and drops), Save,
// and Copy metadata; and the Segments menu, which acts on the picked segment.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>

#include "app/metadata.h"
#include "app/open_picture.h"
#include "app/save_result.h"
#include "app/segment_commands.h"
#include "app/transform_driver.h"
#include "app/units.h"
#include "gui/main_window.h"
#include "gui/picture_view.h"
#include "gui/qt_text.h"
#include "image/file_types.h"

namespace velq::gui {

static const char* const kSettingsMime = "application/x-velquinograph-settings";

void MainWindow::cmd_open() {
    const QString name = presenter_->open_file(this, single_entry(kOpenPictureTypes), last_folder());
    if (name.isEmpty()) return;
    open_path(name);
}

void MainWindow::open_path(const QString& path) {
    if (ui_.busy || path.isEmpty()) return;
    remember_folder(path);
    view_->state().dragging = false;
    doc_.hovered_outline = -1;
    const std::string p = local_path(path);
    start_job([this, p] { open_or_reuse(doc_, host_, p); },
              [this] {
                  if (!doc_.picture_loaded || !doc_.source) return;
                  set_field_text(ctl::kMin, QString::fromStdString(format_double(doc_.settings.min_size)));
                  reset_view();
              });
}

void MainWindow::cmd_transform(int mode) {
    start_job([this, mode] { do_transform(doc_, host_, TransformMode(mode), true); },
              [this] { reset_view(); });
}

void MainWindow::cmd_paste_metadata() {
    const QMimeData* data = QApplication::clipboard()->mimeData();
    const QByteArray bytes = data ? data->data(QString::fromLatin1(kSettingsMime)) : QByteArray();
    std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
    start_job([this, copy = std::move(copy)] { paste_metadata(doc_, host_, copy); },
              [this] { reset_view(); });
}

void MainWindow::cmd_save() {
    QList<FileType> types;
    for (const FileFilter& f : kSaveTypes) types.push_back({q(f.label), q(f.pattern)});
    int chosen = 2;
    const QString name = presenter_->save_file(this, types, 2, chosen, last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    const std::string p = local_path(name);
    const int entry = chosen + 1;
    start_job([this, p, entry] { save_result(doc_, host_, p, entry); });
}

void MainWindow::cmd_copy_metadata() {
    const std::vector<std::uint8_t> bytes = copy_metadata(doc_, host_);
    if (bytes.empty()) return;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(kSettingsMime),
                  QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size())));
    QApplication::clipboard()->setMimeData(data);
}

void MainWindow::cmd_segments_enabled(bool enabled) {
    set_selected_segments_enabled(doc_, host_, enabled);
    update_ui();
}

void MainWindow::cmd_all_segments_enabled(bool enabled) {
    set_all_segments_enabled(doc_, host_, enabled);
    update_ui();
}

void MainWindow::cmd_change_color() {
    std::uint32_t initial = 0;
    if (!segment_chooser_colour(doc_, initial)) return;
    status1_->setText(QStringLiteral("Color picking..."));
    auto chosen = presenter_->choose_colour(
        this, QColor(colorref_red(initial), colorref_green(initial), colorref_blue(initial)));
    if (!chosen) return;
    change_segment_colour(doc_, host_, pack_colorref(chosen->red(), chosen->green(), chosen->blue()));
}

void MainWindow::cmd_all_enclosed() {
    toggle_all_enclosed(doc_, host_);
    update_check_marks();
    update_outline_marks();
}

}  // namespace velq::gui
