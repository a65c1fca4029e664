#include "gui/main_window.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMimeData>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QUrl>
#include <QVBoxLayout>

#include "app/units.h"
#include "app/view.h"
#include "gui/image_adapter.h"
#include "gui/picture_view.h"
#include "gui/qt_text.h"
#include "gui/sleep_inhibitor.h"
#include "render/palette.h"

namespace velq::gui {

namespace {

// Commands after which the menu draws a separator line.
bool separator_before(int id) {
    switch (id) {
        case cmd::kSave:
        case cmd::kExit:
        case cmd::kClearClipboard:
        case cmd::kViewOriginal:
        case cmd::kFilterPrism:
        case cmd::kRender:
        case cmd::kImageCycling:
        case cmd::kResetLayer:
        case cmd::kLayerDisable:
        case cmd::kBackgroundColor:
        case cmd::kSegmentsDisableAll:
        case cmd::kChangeColor:
            return true;
        default:
            return false;
    }
}

}  // namespace

QString control_name(int id) {
    return QStringLiteral("ctl%1").arg(id);
}
QString action_name(int id) {
    return QStringLiteral("cmd%1").arg(id);
}

MainWindow::MainWindow(std::unique_ptr<Presenter> presenter, QWidget* parent)
    : QMainWindow(parent),
      presenter_(presenter ? std::move(presenter) : std::make_unique<Presenter>()),
      doc_(host_),
      worker_(host_) {
    setWindowTitle(q(kAppName));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("velquinograph"),
                                   QIcon(QStringLiteral(VELQ_DATA_DIR "/velquinograph.png"))));
    setAcceptDrops(true);
    inhibitor_ = new SleepInhibitor(this);

    auto* central = new QWidget(this);
    auto* row = new QHBoxLayout(central);
    auto* left = new QVBoxLayout;
    view_ = new PictureView(central);
    view_->setObjectName(control_name(ctl::kPicture));
    progress_ = new QProgressBar(central);
    progress_->setObjectName(control_name(ctl::kProgress));
    progress_->setRange(0, 100);
    progress_->setValue(0);
    status1_ = new QLabel(central);
    status1_->setObjectName(control_name(ctl::kStatus1));
    status2_ = new QLabel(central);
    status2_->setObjectName(control_name(ctl::kStatus2));
    for (QLabel* l : {status1_, status2_}) {
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        l->setMinimumHeight(l->fontMetrics().height());
    }
    left->addWidget(view_, 1);
    left->addWidget(progress_);
    left->addWidget(status1_);
    left->addWidget(status2_);
    row->addLayout(left, 1);
    row->addWidget(build_settings_column());
    setCentralWidget(central);

    build_menus();
    connect_host();
    register_handlers();
    connect(view_, &PictureView::hovered_at, this, &MainWindow::on_hovered_at);
    connect(view_, &PictureView::double_clicked_at, this, &MainWindow::on_double_clicked_at);
    connect(view_, &PictureView::right_clicked, this, &MainWindow::on_right_clicked);

    // Start-up: layer 1 selected, its values shown, and only the start-up commands offered.
    doc_.selected_layer = 1;
    refresh_layer_list();
    update_check_marks();
    update_ui();
    resize(1280, 820);
}

MainWindow::~MainWindow() {
    quitting_ = true;
    stop_and_join();
}

QWidget* MainWindow::build_settings_column() {
    auto* column = new QWidget(this);
    column->setFixedWidth(300);
    auto* box = new QVBoxLayout(column);
    box->setContentsMargins(0, 0, 0, 0);
    auto* grid = new QGridLayout;
    box->addLayout(grid);
    auto* checks = new QGridLayout;
    int grid_row = 0, check_index = 0;

    for (const Control& c : control_table()) {
        const QString name = control_name(c.id);
        switch (c.kind) {
            case ControlKind::IntEdit:
            case ControlKind::DoubleEdit: {
                auto* edit = new QLineEdit(q(c.default_text), column);
                edit->setObjectName(name);
                if (c.id == ctl::kShapeNumber) {
                    auto* select_row = new QHBoxLayout;
                    select_row->addWidget(new QLabel(q(c.label), column));
                    select_row->addWidget(edit, 1);
                    box->addLayout(select_row);
                    break;
                }
                grid->addWidget(new QLabel(q(c.label), column), grid_row, 0);
                grid->addWidget(edit, grid_row++, 1);
                break;
            }
            case ControlKind::Combo: {
                auto* combo = new QComboBox(column);
                combo->setObjectName(name);
                if (c.id == ctl::kUnit) {
                    for (auto u : kUnitNames) combo->addItem(q(u));
                    unit_ = combo;
                    grid->addWidget(new QLabel(q(c.label), column), grid_row, 0);
                    grid->addWidget(combo, grid_row++, 1);
                } else {
                    for (const Palette& p : doc_.palettes) combo->addItem(QString::fromStdString(p.name));
                    palette_ = combo;
                    box->addWidget(new QLabel(q(c.label), column));
                    box->addWidget(combo);
                }
                break;
            }
            case ControlKind::Preview: {
                palette_preview_ = new QLabel(column);
                palette_preview_->setObjectName(name);
                palette_preview_->setFixedHeight(48);
                palette_preview_->setScaledContents(true);
                palette_preview_->setFrameShape(QFrame::Box);
                palette_preview_->setToolTip(q(c.label));
                box->addWidget(palette_preview_);
                box->addLayout(checks);
                break;
            }
            case ControlKind::Check: {
                auto* check = new QCheckBox(q(c.label), column);
                check->setObjectName(name);
                checks->addWidget(check, check_index / 2, check_index % 2);
                ++check_index;
                connect(check, &QCheckBox::clicked, this, &MainWindow::on_check_box_clicked);
                break;
            }
            case ControlKind::List: {
                layer_list_ = new QListWidget(column);
                layer_list_->setObjectName(name);
                layer_list_->setMinimumHeight(170);
                box->addWidget(layer_list_, 1);
                break;
            }
            case ControlKind::Button: {
                auto* button = new QPushButton(q(c.label), column);
                button->setObjectName(name);
                box->addWidget(button);
                connect(button, &QPushButton::clicked, this, &MainWindow::on_select_clicked);
                break;
            }
        }
    }

    connect(control<QLineEdit>(ctl::kWid), &QLineEdit::textEdited, this, &MainWindow::on_wid_edited);
    connect(control<QLineEdit>(ctl::kHgt), &QLineEdit::textEdited, this, &MainWindow::on_hgt_edited);
    connect(control<QLineEdit>(ctl::kDpi), &QLineEdit::textEdited, this, &MainWindow::on_dpi_edited);
    connect(control<QLineEdit>(ctl::kTrans), &QLineEdit::textEdited, this, &MainWindow::on_trans_edited);
    connect(control<QLineEdit>(ctl::kSize), &QLineEdit::textEdited, this, &MainWindow::on_size_edited);
    connect(control<QLineEdit>(ctl::kBright), &QLineEdit::textEdited, this, &MainWindow::on_bright_edited);
    connect(unit_, &QComboBox::currentIndexChanged, this, &MainWindow::on_unit_changed);
    connect(palette_, &QComboBox::currentIndexChanged, this, &MainWindow::on_palette_changed);
    connect(layer_list_, &QListWidget::currentRowChanged, this, &MainWindow::on_layer_selected);
    connect(layer_list_, &QListWidget::itemDoubleClicked, this, &MainWindow::on_layer_double_clicked);
    return column;
}

void MainWindow::build_menus() {
    std::unordered_map<std::string, QMenu*> menus;
    auto menu_for = [&](std::string_view path) {
        std::string key;
        QMenu* parent = nullptr;
        std::size_t start = 0;
        while (start <= path.size()) {
            const std::size_t slash = std::min(path.find('/', start), path.size());
            const std::string_view level = path.substr(start, slash - start);
            key += (key.empty() ? "" : "/") + std::string(level);
            auto it = menus.find(key);
            if (it == menus.end()) {
                QMenu* m = parent ? parent->addMenu(q(level)) : menuBar()->addMenu(q(level));
                m->setToolTipsVisible(true);
                m->setObjectName(QStringLiteral("menu:") + QString::fromStdString(key));
                it = menus.emplace(key, m).first;
            }
            parent = it->second;
            start = slash + 1;
        }
        return parent;
    };
    std::unordered_map<int, QActionGroup*> groups;
    for (const Command& c : command_table()) {
        QMenu* menu = menu_for(c.menu);
        if (separator_before(c.id)) menu->addSeparator();
        QAction* a = menu->addAction(q(c.text));
        a->setObjectName(action_name(c.id));
        a->setData(c.id);
        if (!c.shortcut.empty()) a->setShortcut(QKeySequence(q(c.shortcut)));
        if (!c.unavailable.empty()) {
            a->setToolTip(q(c.unavailable));
            a->setStatusTip(q(c.unavailable));
        }
        if (c.check != Check::Plain) {
            a->setCheckable(true);
            if (c.check != Check::Toggle) {
                QActionGroup*& g = groups[int(c.check)];
                if (!g) g = new QActionGroup(this);
                g->addAction(a);
            }
        }
        // Shortcuts such as Esc work anywhere in the window, not only while a menu is open.
        addAction(a);
        actions_[c.id] = a;
        const int id = c.id;
        connect(a, &QAction::triggered, this, [this, id] { trigger(id); });
    }
}

QAction* MainWindow::action(int id) const {
    auto it = actions_.find(id);
    return it == actions_.end() ? nullptr : it->second;
}

void MainWindow::trigger(int id) {
    const Command* c = find_command(id);
    QAction* a = action(id);
    if (!c || !a) return;
    if (!command_enabled(*c, ui_)) {
        update_check_marks();  // a greyed checkable item must not keep a click's mark
        return;
    }
    auto handler = handlers_.find(id);
    if (handler == handlers_.end()) return;
    if (auto refusal = command_refusal(*c, ui_)) {
        update_check_marks();
        if (!refusal->empty()) presenter_->message(this, q(*refusal));
        return;
    }
    handler->second();
}

void MainWindow::connect_host() {
    connect(&host_, &WindowHost::title_changed, this, [this](const QString& t) { setWindowTitle(t); });
    connect(&host_, &WindowHost::percent_changed, progress_, &QProgressBar::setValue);
    connect(&host_, &WindowHost::message_requested, this,
            [this](const QString& text) { presenter_->message(this, text); });
    connect(&host_, &WindowHost::ask_requested, this,
            [this](const QString& question, std::shared_ptr<PendingAnswer> answer) {
                const bool yes = presenter_->ask(this, question);
                std::lock_guard lock(answer->mutex);
                answer->value = yes;
            });
    connect(&host_, &WindowHost::status_changed, this,
            [this](int line, const QString& text) { (line == 2 ? status2_ : status1_)->setText(text); });
    connect(&host_, &WindowHost::busy_changed, this, [this](bool on) {
        if (!on) job_finished();
    });
    connect(&host_, &WindowHost::refresh_requested, this, &MainWindow::on_refresh);
    connect(&host_, &WindowHost::circles_arrived, view_, &PictureView::add_live_circles);
    connect(&host_, &WindowHost::preview_arrived, this,
            [this](const QImage& frame) { view_->set_picture(frame, frame.width(), frame.height(), false); });
}

void MainWindow::start_job(std::function<void()> job, std::function<void()> then) {
    read_settings_from_fields();
    then_ = std::move(then);
    view_->clear_overlay();
    set_busy(true);
    if (!worker_.start(std::move(job))) job_finished();
}

void MainWindow::set_busy(bool on) {
    ui_.busy = on;
    inhibitor_->set(on);
    view_->set_mouse_enabled(!on && ui_.picture);
    update_ui();
}

void MainWindow::job_finished() {
    if (worker_.running()) return;  // a newer job has started meanwhile
    worker_.join();
    ui_.busy = false;
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
    if (auto then = std::move(then_)) {
        then_ = {};
        then();
    }
}

void MainWindow::document_changed() {
    if (ui_.busy) return;  // the worker owns the Document until it reports its end
    ui_.picture = doc_.picture_loaded || bool(doc_.source);
    ui_.transformed = doc_.transformed;
    ui_.rendered = doc_.rendered;
    ui_.motion_pack = doc_.motion_pack_loaded;
    set_busy(false);
    write_fields_from_settings();
    refresh_layer_list();
    update_check_marks();
    rebuild_overlay();
    redraw();
}

void MainWindow::stop_and_join() {
    host_.stop = true;
    worker_.join();
}

void MainWindow::update_ui() {
    if (const Layer* l = selected_layer()) {
        ui_.selected_layer = doc_.selected_layer;
        ui_.layer_shown = l->shown;
        ui_.layer_passage = l->passage_mode;
    } else {
        ui_.selected_layer = -1;
    }
    const int seg = doc_.selected_segment;
    ui_.segment_enabled =
        (!ui_.busy && seg >= 0 && seg < int(doc_.segments.size())) ? int(doc_.segments[seg].enabled) : -1;
    for (const Command& c : command_table()) {
        if (QAction* a = action(c.id)) a->setEnabled(command_enabled(c, ui_) && handles(c.id));
    }
    for (const Control& c : control_table()) {
        if (QWidget* w = findChild<QWidget*>(control_name(c.id))) w->setEnabled(control_enabled(c.id, ui_));
    }
    view_->set_mouse_enabled(!ui_.busy && ui_.picture);
}

void MainWindow::update_check_marks() {
    ViewToggles t = doc_.toggles;
    const ViewToggles& x = toggled_while_busy_;
    t.original ^= x.original;
    t.edges ^= x.edges;
    t.filtered ^= x.filtered;
    t.final_result ^= x.final_result;
    action(cmd::kViewOriginal)->setChecked(t.original);
    action(cmd::kViewEdges)->setChecked(t.edges);
    action(cmd::kViewFiltered)->setChecked(t.filtered);
    action(cmd::kViewFinal)->setChecked(t.final_result);
    action(cmd::kAllEnclosed)->setChecked(t.all_enclosed);
    static constexpr int kFilters[9] = {
        cmd::kFilterNormal, cmd::kFilterHalfShuffle,     cmd::kFilterTripleShuffle,
        cmd::kFilterMatrix, cmd::kFilterInverseContrast, cmd::kFilterContrastUp,
        cmd::kFilterPrism,  cmd::kFilterBrokenGlass,     cmd::kFilterKMean};
    const int kind = doc_.settings.filter_kind;
    if (kind >= 0 && kind < 9) action(kFilters[kind])->setChecked(true);
    static constexpr int kTransforms[3] = {cmd::kTransformNormal, cmd::kTransformVectorize,
                                           cmd::kTransformAlphabet};
    const int mode = doc_.settings.transform_mode;
    if (mode >= 0 && mode < 3) action(kTransforms[mode])->setChecked(true);
    static constexpr int kMemory[4] = {cmd::kMemory15, cmd::kMemory30, cmd::kMemory45, cmd::kMemory60};
    for (int i = 0; i < 4; ++i)
        if (memory_limit_ == kMemoryLimits[i]) action(kMemory[i])->setChecked(true);
}

// Folders ----------------------------------------------------------------------------------------

QString MainWindow::last_folder() const {
    QSettings settings;
    return settings.value(QStringLiteral("last_folder"), QDir::homePath()).toString();
}

void MainWindow::remember_folder(const QString& path) {
    QSettings settings;
    settings.setValue(QStringLiteral("last_folder"), QFileInfo(path).absolutePath());
}

// Quit and drops ---------------------------------------------------------------------------------

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

}  // namespace velq::gui
