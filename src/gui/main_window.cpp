#include "gui/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

#include "app/metadata.h"
#include "app/render_op.h"
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
    rerender_timer_ = new QTimer(this);
    rerender_timer_->setSingleShot(true);
    rerender_timer_->setInterval(400);
    connect(rerender_timer_, &QTimer::timeout, this, &MainWindow::start_rerender);
    connect_parts();
    // Esc stops the running operation whichever widget has the focus.
    qApp->installEventFilter(this);

    // Start-up: layer 1 selected, its values shown, and only the start-up commands offered.
    doc_.selected_layer = 1;
    settings_->refresh_layer_list();
    update_check_marks();
    update_ui();
    resize(1280, 820);
}

MainWindow::~MainWindow() {
    qApp->removeEventFilter(this);
    quitting_ = true;
    stop_and_join();
    delete takeCentralWidget();  // the panel and the column refer to the Document, which goes first
}

void MainWindow::connect_parts() {
    connect(&host_, &WindowHost::title_changed, this, [this](const QString& t) {
        if (t == q(kAppName))
            update_title();
        else
            setWindowTitle(t);  // a stage title, as the operation gives it
    });
    connect(&host_, &WindowHost::percent_changed, panel_, &PicturePanel::set_progress);
    connect(&host_, &WindowHost::status_changed, panel_, &PicturePanel::set_status);
    connect(&host_, &WindowHost::message_requested, this,
            [this](const QString& text) { presenter_->message(this, text); });
    connect(&host_, &WindowHost::notice_requested, this,
            [this](const QString& text) { panel_->set_status(1, text); });
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
    connect(settings_, &SettingsColumn::edited, this, &MainWindow::setting_edited);
    connect(settings_, &SettingsColumn::about_to_edit, this, [this] {
        if (rerendering_) stop_and_join();  // the edit would race with the render reading the layers
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
    rerender_timer_->stop();
    // The previous operation's report and the segment line would be stale once this one runs.
    panel_->set_status(1, QString());
    panel_->set_status(2, QString());
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
    if (panel_->status(1) == kStopping) panel_->set_status(1, QStringLiteral("Stopped"));
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
    if (ui_.busy && rerendering_) settings_->enable_live_fields(ui_.selected_layer >= 1);
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
    bool leave = quitting_;
    if (!leave && ui_.busy && !rerendering_)
        leave = presenter_->ask(this, QStringLiteral("An operation is running. Stop it and quit?"));
    else if (!leave)
        leave = !unsaved_ || presenter_->ask(this, QStringLiteral("Really quit?"));
    if (!leave) {
        e->ignore();
        return;
    }
    quitting_ = true;
    stop_and_join();
    e->accept();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* e) {
    if (e->type() == QEvent::ShortcutOverride || e->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(e);
        auto* widget = qobject_cast<QWidget*>(watched);
        if (key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier && ui_.busy && widget &&
            widget->window() == this) {
            if (e->type() == QEvent::KeyPress) menu_->trigger(cmd::kStop);
            e->accept();
            return e->type() == QEvent::KeyPress;  // the override claims the key for the press
        }
    }
    return QMainWindow::eventFilter(watched, e);
}

void MainWindow::set_unsaved(bool on) {
    unsaved_ = on;
    setWindowModified(on);
}

void MainWindow::set_file_name(const QString& path) {
    file_name_ = path.isEmpty() ? QString() : QFileInfo(path).fileName();
    update_title();
}

void MainWindow::update_title() {
    setWindowTitle(file_name_.isEmpty() ? QStringLiteral("Velquinograph[*]")
                                        : file_name_ + QStringLiteral("[*] - Velquinograph"));
    setWindowModified(unsaved_);
}

bool MainWindow::may_discard_work() {
    return !unsaved_ || presenter_->ask(this, QStringLiteral("The current work is not saved. Discard it?"));
}

void MainWindow::set_view_stale(const QString& reason) {
    panel_->view().set_stale(reason);
}

// A changed value: a re-render when only the render depends on it, else a note that the view is old.
void MainWindow::setting_edited(int id) {
    if (!ui_.picture) return;
    set_unsaved(true);
    switch (id) {
        case ctl::kTrans:
        case ctl::kSize:
        case ctl::kBright:
        case ctl::kPalette:
        case ctl::kGlobalBrightness:
            if (doc_.rendered || rerendering_) rerender_timer_->start();
            return;
        case ctl::kInt:
        case ctl::kBlu:
        case ctl::kKMean:
            set_view_stale(QStringLiteral("Out of date: %1 changed; choose a filter to use it")
                               .arg(q(find_control(id)->label)));
            return;
        case ctl::kThr:
        case ctl::kGap:
        case ctl::kMax:
        case ctl::kMin:
        case ctl::kDil:
            if (doc_.transformed)
                set_view_stale(QStringLiteral("Out of date: %1 changed; transform again to use it")
                                   .arg(q(find_control(id)->label)));
            return;
        default:
            return;
    }
}

void MainWindow::start_rerender() {
    if (ui_.busy && !rerendering_) return;  // an operation the user chose is running; it decides
    if (!doc_.transformed || !ui_.picture) return;
    int width = 0, height = 0;
    render_size(doc_, width, height);
    rerendering_ = true;
    start_job([this, width, height] { generate_shaped_image(doc_, host_, width, height); },
              [this] { end_rerender(); });
}

void MainWindow::end_rerender() {
    rerendering_ = false;
    update_ui();
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
    if (ui_.busy || path.isEmpty() || !may_discard_work()) return;
    remember_folder(path);
    picture_view().state().dragging = false;
    doc_.hovered_outline = -1;
    const std::string p = local_path(path);
    start_job([this, p] { open_or_reuse(doc_, host_, p); },
              [this, path] {
                  if (!doc_.picture_loaded || !doc_.source) return;
                  set_unsaved(false);
                  set_file_name(path);
                  set_view_stale(QString());
                  settings_->set_field_text(ctl::kMin,
                                            QString::fromStdString(format_double(doc_.settings.min_size)));
                  panel_->reset_view();
              });
}

}  // namespace velq::gui
