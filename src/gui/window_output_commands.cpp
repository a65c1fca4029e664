// The main window's commands that make or feed a result: Render, Render frame, the video and GIF
// exports, the social-media set, the logo, shapes loaded from files and layers loaded from a result.
#include <QFileInfo>
#include <QImage>

#include "app/frame_render.h"
#include "app/logo_choice.h"
#include "app/metadata.h"
#include "app/render_op.h"
#include "app/video_export.h"
#include "gui/animation_dialog.h"
#include "gui/image_adapter.h"
#include "gui/logo_dialog.h"
#include "gui/main_window.h"
#include "gui/picture_view.h"
#include "gui/qt_text.h"
#include "image/file_types.h"
#include "render/layer.h"
#include "render/logo.h"

namespace velq::gui {

void MainWindow::cmd_render() {
    int width = 0, height = 0;
    render_size(doc_, width, height);
    start_job([this, width, height] { generate_shaped_image(doc_, host_, width, height); });
}

void MainWindow::cmd_render_frame() {
    auto t = presenter_->ask_number(this, QStringLiteral("Timestamp"), 0.0, 0.0, 200.0);
    if (!t) return;
    int width = 0, height = 0;
    render_size(doc_, width, height);
    start_job([this, width, height, t = *t] { render_frame_at(doc_, host_, width, height, t); },
              [this] {
                  if (!doc_.frame_buffer) return;
                  const QImage frame = to_qimage(doc_.frame_buffer);
                  view_->set_picture(frame, frame.width(), frame.height(), false);
              });
}

// The video and GIF exports: the animation of the render at its size, letterboxed into the video size.
void MainWindow::export_video_to(int width, int height, bool gif) {
    QList<FileType> types;
    if (gif) {
        types.push_back({q(kGifExportType.label), q(kGifExportType.pattern)});
    } else {
        for (const FileFilter& f : kVideoExportTypes) types.push_back({q(f.label), q(f.pattern)});
    }
    int chosen = 0;
    const QString name = presenter_->save_file(this, types, 0, chosen, last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    std::string file = local_path(name);
    if (gif) {
        if (file_extension(file) != "gif") file += ".gif";
    } else {
        file = video_file_name(file, chosen + 1);
    }
    doc_.settings.video_width = width;
    doc_.settings.video_height = height;
    int pw = 0, ph = 0;
    render_size(doc_, pw, ph);
    start_job([this, file, pw, ph] { render_anim_video(doc_, host_, file, pw, ph, FitMode::Fit); });
}

void MainWindow::cmd_video(int width, int height) {
    export_video_to(width, height, false);
}

void MainWindow::cmd_customize() {
    auto size = presenter_->ask_size(this, QSize(doc_.settings.video_width, doc_.settings.video_height));
    if (!size) return;
    export_video_to(size->width(), size->height(), false);
}

void MainWindow::cmd_export_gif() {
    export_video_to(640, 480, true);
}

void MainWindow::cmd_social(int fit) {
    const QStringList names = presenter_->open_files(this, single_entry(kOpenPictureTypes), last_folder());
    if (names.isEmpty()) return;
    remember_folder(names.front());
    std::vector<std::string> sources;
    for (const QString& n : names) sources.push_back(local_path(n));
    start_job(
        [this, sources = std::move(sources), fit] { generate_sm_video(doc_, host_, sources, FitMode(fit)); });
}

void MainWindow::cmd_load_logo() {
    LogoDialog dialog(
        *presenter_,
        [this](const LogoChoice& choice) {
            if (!ui_.busy) return choose_logo(doc_, host_, choice);
            pending_logo_ = choice;  // the running render reads the logo; take it when it ends
            return 0;
        },
        [this](const std::string& text, const std::string& face, UBUFFER& out) {
            return draw_text_logo(host_, text, face, out);
        },
        this);
    presenter_->exec(dialog);
}

void MainWindow::cmd_set_animation() {
    const int i = doc_.selected_layer;
    if (i < 1 || i >= int(doc_.layers.size()) || !doc_.layers[i].has_shapes()) return;
    AnimationDialog dialog(doc_.layers[i].anim, this);
    if (presenter_->exec(dialog) != QDialog::Accepted) return;
    doc_.layers[i].anim = dialog.settings();
}

void MainWindow::cmd_load_shapes() {
    const int i = doc_.selected_layer;
    if (i < 1 || i >= int(doc_.layers.size())) return;
    const QStringList names = presenter_->open_files(this, single_entry(kLoadShapeTypes), last_folder());
    if (names.isEmpty()) return;
    remember_folder(names.front());
    std::vector<std::string> paths;
    for (const QString& n : names) paths.push_back(local_path(n));
    start_job([this, i, paths = std::move(paths)] { load_shapes(host_, doc_.layers[i], paths); });
}

void MainWindow::cmd_load_layers() {
    const QString name = presenter_->open_file(this, single_entry(kOpenPictureTypes), last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    const std::string path = local_path(name);
    start_job([this, path] { load_layers(doc_, host_, path); });
}

}  // namespace velq::gui
