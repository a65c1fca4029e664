// The command wiring: the menu bar built from the command table, one action per command bound to its
// handler, and the enabled states and check marks that follow the window's state. A command's menu
// text, shortcut and when it is enabled come from the command table; what it does is its handler.
#pragma once

#include <cstdint>
#include <unordered_map>

#include <QObject>
#include <QString>

#include "app/commands.h"
#include "app/document.h"
#include "gui/command_handlers.h"

class QAction;

namespace velq::gui {

class MainWindow;

class CommandMenu : public QObject {
    Q_OBJECT
public:
    // Fills the window's menu bar; shortcuts work anywhere in the window.
    explicit CommandMenu(MainWindow& window);

    QAction* action(int id) const;
    // Whether the command has a handler (greyed commands have none).
    bool handles(int id) const { return handlers_.count(id) != 0; }
    // Chooses a command as the menu would: nothing when it is greyed, its message when its need is
    // not met, otherwise its handler.
    void trigger(int id);
    void update_enabled(const UiState& s);
    // Why a command is greyed or would refuse now (its tooltip); empty when it would act.
    QString waits_for(const Command& c, const UiState& s) const;
    // The marks of the toggles and of the chosen filter, transform and memory limit.
    void update_marks(const ViewToggles& t, int filter_kind, int transform_mode, std::int64_t memory_limit);

private:
    void build();
    bool usable(const Command& c, const UiState& s) const;
    // Whether the command changes the work (settings, layers, segments or the result).
    static bool changes_work(int id);

    MainWindow& window_;
    std::unordered_map<int, QAction*> actions_;
    std::unordered_map<int, CommandAct> handlers_;
};

}  // namespace velq::gui
