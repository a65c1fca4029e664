#include "gui/main_window.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QMimeData>
#include <QUrl>

#include "app/metadata.h"
#include "app/units.h"
#include "gui/command_menu.h"
#include "gui/job_runner.h"
#include "gui/last_folder.h"
#include "gui/picture_panel.h"
#include "gui/picture_view.h"
#include "gui/qt_text.h"
#include "gui/settings_column.h"

namespace velq::gui {

MainWindow::MainWindow(std::unique_ptr<Presenter> presenter, QWidget* parent)
    : QMainWindow(parent),
      presenter_(presenter ? std::move(presenter) : std::make_unique<Presenter>()),
      doc_(host_),
      jobs_(std::make_unique<JobRunner>(host_)) {
    setWindowTitle(q(kAppName));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("velquinograph"),
                                   QIcon(QStringLiteral(VELQ_DATA_DIR "/velquinograph.png"))));
    setAcceptDrops(true);

    auto* central = new QWidget(this);
    auto* row = new QHBoxLayout(central);
    panel_ = new PicturePanel(doc_, host_, central);
    settings_ = new SettingsColumn(doc_, ui_, central);
    row->addWidget(panel_, 1);
    row->addWidget(settings_);
    setCentralWidget(central);
    menu_ = new CommandMenu(*this);
    connect_parts();

    // Start-up: layer 1 selected, its values shown, and only the start-up commands offered.
    doc_.selected_layer = 1;
    settings_->refresh_layer_list();
    update_check_marks();
    update_ui();
    resize(1280, 820);
}

MainWindow::~MainWindow() {
    quitting_ = true;
    stop_and_join();
    delete takeCentralWidget();  // the panel and the column refer to the Document, which goes first
}

void MainWindow::connect_parts() {
    connect(&host_, &WindowHost::title_changed, this, [this](const QString& t) { setWindowTitle(t); });
    connect(&host_, &WindowHost::percent_changed, panel_, &PicturePanel::set_progress);
    connect(&host_, &WindowHost::status_changed, panel_, &PicturePanel::set_status);
    connect(&host_, &WindowHost::message_requested, this,
            [this](const QString& text) { presenter_->message(this, text); });
    connect(&host_, &WindowHost::ask_requested, this,
            [this](const QString& question, std::shared_ptr<PendingAnswer> answer) {
                const bool yes = presenter_->ask(this, question);
                std::lock_guard lock(answer->mutex);
                answer->value = yes;
            });
    connect(&host_, &WindowHost::refresh_requested, this, [this](int what) {
        if (ui_.busy) return;  // the job's end brings everything up to date
        switch (Refresh(what)) {
            case Refresh::Outlines:
                panel_->rebuild_overlay();
                update_ui();
                break;
            case Refresh::Layers:
                settings_->refresh_layer_list();
                break;
            case Refresh::View:
            case Refresh::Result:
                panel_->redraw();
                break;
        }
    });
    connect(&host_, &WindowHost::circles_arrived, &panel_->view(), &PictureView::add_live_circles);
    connect(&host_, &WindowHost::preview_arrived, &panel_->view(), &PictureView::show_live_picture);
    connect(jobs_.get(), &JobRunner::busy_changed, this, &MainWindow::busy_changed);

    connect(panel_, &PicturePanel::selection_changed, this, &MainWindow::update_ui);
    connect(settings_, &SettingsColumn::layer_changed, this, &MainWindow::update_ui);
    connect(settings_, &SettingsColumn::redraw_needed, panel_, &PicturePanel::redraw);
    connect(settings_, &SettingsColumn::select_clicked, panel_, &PicturePanel::select_outline);
    connect(settings_, &SettingsColumn::colour_options_changed, this, [this] {
        update_check_marks();
        if (doc_.transformed) panel_->rebuild_overlay();
        panel_->redraw();
    });
    connect(settings_, &SettingsColumn::layer_activated, this, [this] {
        if (Layer* l = settings_->selected_layer(); l && l->has_shapes() && !ui_.busy)
            menu_->trigger(cmd::kShowShapes);
    });
}

PictureView& MainWindow::picture_view() {
    return panel_->view();
}
QAction* MainWindow::action(int id) const {
    return menu_->action(id);
}
void MainWindow::trigger(int id) {
    menu_->trigger(id);
}
bool MainWindow::handles(int id) const {
    return menu_->handles(id);
}

void MainWindow::start_job(std::function<void()> job, std::function<void()> then) {
    doc_.settings.memory_limit = memory_limit_;
    settings_->read_fields();
    panel_->view().clear_overlay();
    jobs_->start(std::move(job), std::move(then));
}

void MainWindow::stop_and_join() {
    jobs_->stop_and_join();
}

void MainWindow::busy_changed(bool on) {
    ui_.busy = on;
    if (on) {
        update_ui();
        return;
    }
    ViewToggles& t = doc_.toggles;
    const ViewToggles& x = toggled_while_busy_;
    t.original ^= x.original;
    t.edges ^= x.edges;
    t.filtered ^= x.filtered;
    t.final_result ^= x.final_result;
    toggled_while_busy_ = ViewToggles{false, false, false, false, false};
    if (pending_logo_) {
        choose_logo(doc_, host_, *pending_logo_);
        pending_logo_.reset();
    }
    document_changed();
}

void MainWindow::document_changed() {
    if (ui_.busy) return;  // the worker owns the Document until it reports its end
    ui_.picture = doc_.picture_loaded || bool(doc_.source);
    ui_.transformed = doc_.transformed;
    ui_.rendered = doc_.rendered;
    ui_.motion_pack = doc_.motion_pack_loaded;
    update_ui();
    settings_->write_fields();
    settings_->refresh_layer_list();
    update_check_marks();
    panel_->rebuild_overlay();
    panel_->redraw();
}

void MainWindow::update_ui() {
    if (const Layer* l = settings_->selected_layer()) {
        ui_.selected_layer = doc_.selected_layer;
        ui_.layer_shown = l->shown;
        ui_.layer_passage = l->passage_mode;
    } else {
        ui_.selected_layer = -1;
    }
    const int seg = doc_.selected_segment;
    ui_.segment_enabled =
        (!ui_.busy && seg >= 0 && seg < int(doc_.segments.size())) ? int(doc_.segments[seg].enabled) : -1;
    menu_->update_enabled(ui_);
    settings_->update_enabled(ui_);
    panel_->set_state(ui_.busy, ui_.picture);
}

void MainWindow::update_check_marks() {
    ViewToggles t = doc_.toggles;
    const ViewToggles& x = toggled_while_busy_;
    t.original ^= x.original;
    t.edges ^= x.edges;
    t.filtered ^= x.filtered;
    t.final_result ^= x.final_result;
    menu_->update_marks(t, doc_.settings.filter_kind, doc_.settings.transform_mode, memory_limit_);
}

void MainWindow::set_memory_limit(std::int64_t limit) {
    memory_limit_ = limit;
    update_check_marks();
}

void MainWindow::quit() {
    quitting_ = true;
    close();
}

void MainWindow::closeEvent(QCloseEvent* e) {
    if (quitting_ || presenter_->ask(this, QStringLiteral("Really quit?"))) {
        quitting_ = true;
        stop_and_join();
        e->accept();
    } else {
        e->ignore();
    }
}

void MainWindow::dragEnterEvent(QDragEnterEvent* e) {
    if (e->mimeData()->hasUrls() && !ui_.busy) e->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* e) {
    const QList<QUrl> urls = e->mimeData()->urls();
    if (urls.isEmpty() || !urls.front().isLocalFile() || ui_.busy) return;
    e->acceptProposedAction();
    open_path(urls.front().toLocalFile());
}

void MainWindow::open_path(const QString& path) {
    if (ui_.busy || path.isEmpty()) return;
    remember_folder(path);
    picture_view().state().dragging = false;
    doc_.hovered_outline = -1;
    const std::string p = local_path(path);
    start_job([this, p] { open_or_reuse(doc_, host_, p); },
              [this] {
                  if (!doc_.picture_loaded || !doc_.source) return;
                  settings_->set_field_text(ctl::kMin,
                                            QString::fromStdString(format_double(doc_.settings.min_size)));
                  panel_->reset_view();
              });
}

}  // namespace velq::gui
