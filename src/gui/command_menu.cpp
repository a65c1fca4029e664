#include "gui/command_menu.h"

#include <string>

#include <QAction>
#include <QActionGroup>
#include <QMenuBar>

#include "app/settings.h"
#include "gui/main_window.h"
#include "gui/qt_text.h"
#include "gui/window_names.h"

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

// The title with an Alt+letter key: its first letter that no sibling menu has taken.
QString with_mnemonic(std::string_view title, QString& taken) {
    QString t = q(title);
    for (int i = 0; i < t.size(); ++i) {
        const QChar c = t[i].toLower();
        if (!c.isLetter() || taken.contains(c)) continue;
        taken += c;
        return t.left(i) + '&' + t.mid(i);
    }
    return t;
}

}  // namespace

bool CommandMenu::usable(const Command& c, const UiState& s) const {
    // Exit stays offered while busy: closing then asks whether to stop the operation.
    return (command_enabled(c, s) || (c.id == cmd::kExit && s.busy)) && handles(c.id);
}

QString CommandMenu::waits_for(const Command& c, const UiState& s) const {
    if (!c.unavailable.empty()) return q(c.unavailable);
    if (s.busy && !usable(c, s)) return QStringLiteral("Waits for the running operation to end (Run > Stop)");
    if (!s.busy && !c.while_busy) {
        if (c.gate != Gate::Always && !s.picture) return QStringLiteral("Waits for a picture: File > Open");
        if (c.gate == Gate::Transformed && !s.transformed)
            return QStringLiteral("Waits for a transform: Transform > Normal or Vectorize");
    }
    switch (c.id) {
        case cmd::kSegmentDisable:
        case cmd::kSegmentEnable:
            if (s.segment_enabled < 0)
                return QStringLiteral("Waits for a segment: double-click one in the picture");
            if (!usable(c, s))
                return c.id == cmd::kSegmentDisable
                           ? QStringLiteral("The selected segment is disabled already")
                           : QStringLiteral("The selected segment is enabled already");
            break;
        case cmd::kLayerDisable:
        case cmd::kLayerEnable:
            if (!usable(c, s) && s.selected_layer >= 0)
                return c.id == cmd::kLayerDisable ? QStringLiteral("The selected layer is hidden already")
                                                  : QStringLiteral("The selected layer is shown already");
            break;
        default:
            break;
    }
    if (command_refusal(c, s)) {
        if (c.need == Need::Result || c.need == Need::ResultFirst)
            return QStringLiteral("Needs a render first: Transform > Render");
        return QStringLiteral("Needs layer 1 or higher selected in the layer list");
    }
    return {};
}

CommandMenu::CommandMenu(MainWindow& window) : QObject(&window), window_(window) {
    for (auto group : {file_commands(), export_commands(), run_commands(), view_commands(), layer_commands(),
                       segment_commands(), batch_commands()})
        for (const CommandBinding& b : group) handlers_[b.id] = b.act;
    build();
}

void CommandMenu::build() {
    std::unordered_map<std::string, QMenu*> menus;
    std::unordered_map<std::string, QString> taken_keys;  // per parent menu path, the Alt letters used
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
                const std::string parent_key = key.substr(0, key.size() - level.size());
                const QString title = with_mnemonic(level, taken_keys[parent_key]);
                QMenu* m = parent ? parent->addMenu(title) : window_.menuBar()->addMenu(title);
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
        if (c.check != Check::Plain) {
            a->setCheckable(true);
            if (c.check != Check::Toggle) {
                QActionGroup*& g = groups[int(c.check)];
                if (!g) g = new QActionGroup(&window_);
                g->addAction(a);
            }
        }
        // Shortcuts such as Esc work anywhere in the window, not only while a menu is open.
        window_.addAction(a);
        actions_[c.id] = a;
        const int id = c.id;
        connect(a, &QAction::triggered, this, [this, id] { trigger(id); });
    }
}

QAction* CommandMenu::action(int id) const {
    auto it = actions_.find(id);
    return it == actions_.end() ? nullptr : it->second;
}

void CommandMenu::trigger(int id) {
    const Command* c = find_command(id);
    if (!c || !action(id)) return;
    const UiState& s = window_.ui_state();
    if (!usable(*c, s)) {
        window_.update_check_marks();  // a greyed checkable item must not keep a click's mark
        return;
    }
    auto handler = handlers_.find(id);
    if (handler == handlers_.end()) return;
    if (auto refusal = command_refusal(*c, s)) {
        window_.update_check_marks();
        if (!refusal->empty()) window_.presenter().message(&window_, q(*refusal));
        return;
    }
    handler->second(window_, id);
    if (changes_work(id) && s.picture) window_.set_unsaved(true);
}

bool CommandMenu::changes_work(int id) {
    switch (id) {
        case cmd::kOpen:
        case cmd::kSave:
        case cmd::kExit:
        case cmd::kCopyMetadata:
        case cmd::kClearClipboard:
        case cmd::kRenderFrame:
        case cmd::kShowShapes:
        case cmd::kSkip:
        case cmd::kStop:
        case cmd::kAbout:
            return false;
        default:
            break;
    }
    const Command* c = find_command(id);
    const std::string_view menu = c ? c->menu : std::string_view();
    return !(menu.starts_with("File/") || menu == "View" || menu == "Memory" || id == cmd::kExportGif);
}

void CommandMenu::update_enabled(const UiState& s) {
    for (const Command& c : command_table()) {
        QAction* a = action(c.id);
        if (!a) continue;
        a->setEnabled(usable(c, s));
        const QString why = waits_for(c, s);
        a->setToolTip(why);
        a->setStatusTip(why);
    }
}

void CommandMenu::update_marks(const ViewToggles& t, int filter_kind, int transform_mode,
                               std::int64_t memory_limit) {
    action(cmd::kViewOriginal)->setChecked(t.original);
    action(cmd::kViewEdges)->setChecked(t.edges);
    action(cmd::kViewFiltered)->setChecked(t.filtered);
    action(cmd::kViewFinal)->setChecked(t.final_result);
    action(cmd::kAllEnclosed)->setChecked(t.all_enclosed);
    static constexpr int kFilters[9] = {
        cmd::kFilterNormal, cmd::kFilterHalfShuffle,     cmd::kFilterTripleShuffle,
        cmd::kFilterMatrix, cmd::kFilterInverseContrast, cmd::kFilterContrastUp,
        cmd::kFilterPrism,  cmd::kFilterBrokenGlass,     cmd::kFilterKMean};
    if (filter_kind >= 0 && filter_kind < 9) action(kFilters[filter_kind])->setChecked(true);
    static constexpr int kTransforms[3] = {cmd::kTransformNormal, cmd::kTransformVectorize,
                                           cmd::kTransformAlphabet};
    if (transform_mode >= 0 && transform_mode < 3) action(kTransforms[transform_mode])->setChecked(true);
    static constexpr int kMemory[4] = {cmd::kMemory15, cmd::kMemory30, cmd::kMemory45, cmd::kMemory60};
    for (int i = 0; i < 4; ++i)
        if (memory_limit == kMemoryLimits[i]) action(kMemory[i])->setChecked(true);
}

}  // namespace velq::gui
