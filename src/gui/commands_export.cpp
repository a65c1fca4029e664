// The export commands: the animation of the render as a video at a fixed or chosen size, as a GIF,
// one frame of it as a layered PSD, and the social-media video made from a set of pictures.
#include "app/frame_psd.h"
#include "app/render_op.h"
#include "app/video_export.h"
#include "gui/command_handlers.h"
#include "gui/last_folder.h"
#include "gui/main_window.h"
#include "gui/qt_text.h"
#include "image/file_types.h"

namespace velq::gui {

namespace {

// The animation of the render at its size, letterboxed into the video size.
void export_video_to(MainWindow& w, int width, int height, bool gif) {
    QList<FileType> types;
    if (gif) {
        types.push_back({q(kGifExportType.label), q(kGifExportType.pattern)});
    } else {
        for (const FileFilter& f : kVideoExportTypes) types.push_back({q(f.label), q(f.pattern)});
    }
    int chosen = 0;
    const QString name = w.presenter().save_file(&w, types, 0, chosen, last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    std::string file = local_path(name);
    if (gif) {
        if (file_extension(file) != "gif") file += ".gif";
    } else {
        file = video_file_name(file, chosen + 1);
    }
    Document& doc = w.document();
    doc.settings.video_width = width;
    doc.settings.video_height = height;
    int pw = 0, ph = 0;
    render_size(doc, pw, ph);
    w.start_job(
        [&w, file, pw, ph] { render_anim_video(w.document(), w.host(), file, pw, ph, FitMode::Fit); });
}

void video(MainWindow& w, int id) {
    static constexpr int kSizes[][3] = {{cmd::kVideo640, 640, 480},    {cmd::kVideo960, 960, 540},
                                        {cmd::kVideo1280, 1280, 720},  {cmd::kVideo1920, 1920, 1080},
                                        {cmd::kVideo2560, 2560, 1440}, {cmd::kVideo3840, 3840, 2160}};
    for (const auto& size : kSizes)
        if (size[0] == id) export_video_to(w, size[1], size[2], false);
}

void customized_video(MainWindow& w, int) {
    const Settings& s = w.document().settings;
    auto size = w.presenter().ask_size(&w, QSize(s.video_width, s.video_height));
    if (size) export_video_to(w, size->width(), size->height(), false);
}

// GIFs are asked their size like a customized video, 640 x 480 offered: a smaller GIF is the usual wish.
void gif(MainWindow& w, int) {
    if (auto size = w.presenter().ask_size(&w, QSize(640, 480)))
        export_video_to(w, size->width(), size->height(), true);
}

// The frame at a timestamp (asked as Render frame asks it) with its layers, to a .psd file.
void frame_psd(MainWindow& w, int) {
    auto t = w.presenter().ask_number(&w, QStringLiteral("Timestamp"), 0.0, 0.0, 200.0);
    if (!t) return;
    int chosen = 0;
    const QString name = w.presenter().save_file(&w, {{q(kSaveTypes[0].label), q(kSaveTypes[0].pattern)}}, 0,
                                                 chosen, last_folder());
    if (name.isEmpty()) return;
    remember_folder(name);
    std::string file = local_path(name);
    if (file_extension(file) != "psd") file += ".psd";
    int width = 0, height = 0;
    render_size(w.document(), width, height);
    w.start_job([&w, file, width, height, t = *t] {
        export_frame_psd(w.document(), w.host(), file, width, height, t);
    });
}

void social(MainWindow& w, int id) {
    const QStringList names = w.presenter().open_files(&w, single_entry(kOpenPictureTypes), last_folder());
    if (names.isEmpty()) return;
    remember_folder(names.front());
    std::vector<std::string> sources;
    for (const QString& n : names) sources.push_back(local_path(n));
    const FitMode fit = id == cmd::kSocialFit ? FitMode::Fit : FitMode::Stretch;
    w.start_job(
        [&w, sources = std::move(sources), fit] { generate_sm_video(w.document(), w.host(), sources, fit); });
}

constexpr CommandBinding kBindings[] = {
    {cmd::kVideo640, video},
    {cmd::kVideo960, video},
    {cmd::kVideo1280, video},
    {cmd::kVideo1920, video},
    {cmd::kVideo2560, video},
    {cmd::kVideo3840, video},
    {cmd::kCustomize, customized_video},
    {cmd::kSocialFit, social},
    {cmd::kSocialStretch, social},
    {cmd::kExportGif, gif},
    {cmd::kFramePsd, frame_psd},
};

}  // namespace

std::span<const CommandBinding> export_commands() {
    return kBindings;
}

}  // namespace velq::gui
