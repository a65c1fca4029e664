// The File and Edit commands: Open (also from the command line and drops), Load motion-pack, Load
// layers, Load logo, Save, Exit and the settings block on the clipboard.
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QMimeData>

#include <memory>

#include "app/metadata.h"
#include "app/motion_pack_load.h"
#include "app/save_result.h"
#include "gui/command_handlers.h"
#include "gui/last_folder.h"
#include "gui/logo_dialog.h"
#include "gui/main_window.h"
#include "gui/picture_panel.h"
#include "gui/qt_text.h"
#include "image/file_types.h"
#include "render/logo.h"

namespace velq::gui {

namespace {

const char* const kSettingsMime = "application/x-velquinograph-settings";

void open_chosen(MainWindow& w, int) {
    const QString name = w.presenter().open_file(&w, single_entry(kOpenPictureTypes), last_folder());
    if (!name.isEmpty()) w.open_path(name);
}

void load_layers_from(MainWindow& w, int) {
    const QString name = w.presenter().open_file(&w, single_entry(kOpenPictureTypes), last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    const std::string path = local_path(name);
    w.start_job([&w, path] { load_layers(w.document(), w.host(), path); });
}

void load_pack(MainWindow& w, int) {
    if (!w.may_discard_work()) return;
    const QString name = w.presenter().open_file(&w, single_entry(kMotionPackTypes), last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    const std::string path = local_path(name);
    if (!file_exists(path)) return;
    w.start_job([&w, path] { load_motion_pack(w.document(), w.host(), path); },
                [&w, name] {
                    if (!w.document().motion_pack_loaded) return;
                    w.set_unsaved(false);
                    w.set_file_name(name);
                    w.picture_panel().reset_view();
                });
}

void load_logo(MainWindow& w, int) {
    LogoDialog dialog(
        w.presenter(),
        [&w](const LogoChoice& choice) {
            if (!w.busy()) return choose_logo(w.document(), w.host(), choice);
            w.choose_logo_when_idle(choice);  // the running render reads the logo; take it when it ends
            return 0;
        },
        [&w](const std::string& text, const std::string& face, UBUFFER& out) {
            return draw_text_logo(w.host(), text, face, out);
        },
        &w);
    w.presenter().exec(dialog);
}

void save(MainWindow& w, int) {
    QList<FileType> types;
    for (const FileFilter& f : kSaveTypes) types.push_back({q(f.label), q(f.pattern)});
    int chosen = 2;
    const QString name = w.presenter().save_file(&w, types, 2, chosen, last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    const std::string p = local_path(name);
    const int entry = chosen + 1;
    auto saved = std::make_shared<bool>(false);
    w.start_job([&w, p, entry, saved] { *saved = save_result(w.document(), w.host(), p, entry) == 0; },
                [&w, saved, name, entry] {
                    if (!*saved) return;
                    w.set_unsaved(false);
                    // save_result adds the chosen type's extension when the name has none
                    const bool has_suffix = QFileInfo::exists(name);
                    w.set_file_name(has_suffix ? name : name + q(kSaveTypes[entry - 1].pattern).mid(1));
                });
}

// Closing asks what is worth asking: to stop a running operation, or to lose unsaved work.
void ask_and_exit(MainWindow& w, int) {
    w.close();
}

void copy_settings(MainWindow& w, int) {
    const std::vector<std::uint8_t> bytes = copy_metadata(w.document(), w.host());
    if (bytes.empty()) return;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(kSettingsMime),
                  QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size())));
    QApplication::clipboard()->setMimeData(data);
}

void paste_settings(MainWindow& w, int) {
    if (!w.may_discard_work()) return;
    const QMimeData* data = QApplication::clipboard()->mimeData();
    const QByteArray bytes = data ? data->data(QString::fromLatin1(kSettingsMime)) : QByteArray();
    std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
    w.start_job([&w, copy = std::move(copy)] { paste_metadata(w.document(), w.host(), copy); },
                [&w] { w.picture_panel().reset_view(); });
}

void clear_clipboard(MainWindow&, int) {
    QApplication::clipboard()->clear();
}

constexpr CommandBinding kBindings[] = {
    {cmd::kOpen, open_chosen},
    {cmd::kLoadMotionPack, load_pack},
    {cmd::kLoadLayers, load_layers_from},
    {cmd::kLoadLogo, load_logo},
    {cmd::kSave, save},
    {cmd::kExit, ask_and_exit},
    {cmd::kCopyMetadata, copy_settings},
    {cmd::kPasteMetadata, paste_settings},
    {cmd::kClearClipboard, clear_clipboard},
};

}  // namespace

std::span<const CommandBinding> file_commands() {
    return kBindings;
}

}  // namespace velq::gui
