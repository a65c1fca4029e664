// The batch runs: Image cycling and ROI render (Run menu) and Cycling (File menu). Each asks its
// dialog, keeps the selections in the Document (and so in saved settings), and runs on the worker
// as one job per output, with Skip and Stop; a final message counts what was written.
#include <filesystem>
#include <memory>

#include "app/batch_steps.h"
#include "app/metadata.h"
#include "gui/batch_dialog.h"
#include "gui/command_handlers.h"
#include "gui/last_folder.h"
#include "gui/main_window.h"
#include "gui/qt_text.h"

namespace velq::gui {

namespace {

using Kind = BatchDialog::Kind;

// The dialog, answered; nothing when cancelled or no output folder was given.
std::unique_ptr<BatchDialog> ask(MainWindow& w, Kind kind, const QString& input) {
    Document& doc = w.document();
    auto dialog =
        std::make_unique<BatchDialog>(kind, doc.cycling, input, last_folder(),
                                      QSize(doc.settings.video_width, doc.settings.video_height), &w);
    if (w.presenter().exec(*dialog) != QDialog::Accepted) return nullptr;
    doc.cycling = dialog->selections();
    if (dialog->output().isEmpty()) {
        w.presenter().message(&w, QStringLiteral("Please choose an output folder"));
        return nullptr;
    }
    return dialog;
}

BatchOptions options_for(const char* title, const std::string& out) {
    BatchOptions o;
    o.title = title;
    o.journal = (std::filesystem::path(out) / "batch.log").string();
    // Unreadable pictures are passed over and counted; the run goes on.
    o.keep_going = true;
    return o;
}

// On the worker: runs the plan and says at the end what came of it.
void run_plan(Host& host, const std::vector<BatchJob>& jobs, const BatchOptions& o, const JobStep& step) {
    if (jobs.empty()) {
        host.message("Nothing to do: no picture or choice was found");
        return;
    }
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(o.journal).parent_path(), ec);
    const BatchTally t = run_batch(host, jobs, o, step);
    host.message(batch_summary(t, o.journal));
}

// A picture job rendered with the window's settings and layers as they were when the run started.
JobOutcome with_settings(Host& host, const BatchJob& job, const SettingsBlock& base) {
    return render_picture_job(host, job, [&base](Document& d, Host& h, const BatchJob& j) {
        return open_with_block(d, h, j.input, base);
    });
}

// The window's current settings and layers, which every picture of the run is rendered with.
std::shared_ptr<SettingsBlock> current_settings(MainWindow& w) {
    auto block = std::make_shared<SettingsBlock>();
    const std::string problem = make_settings_block(w.document(), false, *block);
    if (!problem.empty()) {
        w.presenter().message(&w, q(problem));
        return nullptr;
    }
    return block;
}

void image_cycling(MainWindow& w, int) {
    const auto dialog = ask(w, Kind::ImageCycling, q(w.document().path));
    if (!dialog) return;
    const auto base = current_settings(w);
    if (!base) return;
    const std::string out = local_path(dialog->output());
    auto jobs = image_cycling_jobs(local_path(dialog->input()), dialog->selections(), out,
                                   w.document().seeds.time_seed());
    w.start_job([&w, base, jobs = std::move(jobs), o = options_for("Image cycling", out)] {
        run_plan(w.host(), jobs, o, [&](const BatchJob& job) { return with_settings(w.host(), job, *base); });
    });
}

void animation_cycling(MainWindow& w, int) {
    const auto dialog = ask(w, Kind::AnimationCycling, {});
    if (!dialog) return;
    Document& doc = w.document();
    const std::string out = local_path(dialog->output());
    const std::string stem = doc.path.empty() ? std::string("result") : doc.path;
    auto jobs = animation_cycling_jobs(stem, dialog->selections(), out, "mp4", doc.seeds.time_seed());
    const QSize size = dialog->video_size();
    w.start_job([&w, size, jobs = std::move(jobs), o = options_for("Cycling", out)] {
        // The window's result is animated in place; its animation settings come back afterwards.
        ResultVideos videos(w.document(), w.host(), FitMode::Fit, std::nullopt);
        videos.set_video_size(size.width(), size.height());
        run_plan(w.host(), jobs, o, [&](const BatchJob& job) { return videos.run(job); });
    });
}

void roi_render(MainWindow& w, int) {
    const auto dialog = ask(w, Kind::RoiRender, {});
    if (!dialog) return;
    const auto base = current_settings(w);
    if (!base) return;
    const std::string out = local_path(dialog->output());
    auto jobs = folder_jobs(dialog->folders(), dialog->recursive(), out, w.document().seeds.time_seed());
    const bool own = dialog->own_settings();
    w.start_job([&w, base, own, jobs = std::move(jobs), o = options_for("ROI render", out)] {
        run_plan(w.host(), jobs, o, [&](const BatchJob& job) {
            SettingsBlock block;
            QuietHost quiet;
            if (own && readable_picture(job.input) && read_metadata_block(quiet, job.input, block))
                return remake_picture_job(w.host(), job, block);
            return with_settings(w.host(), job, *base);
        });
    });
}

constexpr CommandBinding kBindings[] = {
    {cmd::kImageCycling, image_cycling},
    {cmd::kCycling, animation_cycling},
    {cmd::kRoiRender, roi_render},
};

}  // namespace

std::span<const CommandBinding> batch_commands() {
    return kBindings;
}

}  // namespace velq::gui
