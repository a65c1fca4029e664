// The View and Help commands: fitting the picture again, the four view toggles (kept aside while the
// worker owns the Document), and About.
#include "gui/command_handlers.h"
#include "gui/main_window.h"
#include "gui/picture_panel.h"
#include "gui/picture_view.h"

namespace velq::gui {

namespace {

void reset_view(MainWindow& w, int) {
    w.picture_panel().reset_view();
    w.picture_view().update();
}

void toggle_view(MainWindow& w, int id) {
    ViewToggles& t = w.toggles_to_change();
    switch (id) {
        case cmd::kViewOriginal:
            t.original = !t.original;
            break;
        case cmd::kViewEdges:
            t.edges = !t.edges;
            break;
        case cmd::kViewFiltered:
            t.filtered = !t.filtered;
            break;
        case cmd::kViewFinal:
            t.final_result = !t.final_result;
            break;
        default:
            return;
    }
    w.update_check_marks();
    w.picture_panel().redraw();
}

void about(MainWindow& w, int) {
    w.presenter().message(&w, QStringLiteral("Velquinograph %1\nTurns pictures into decorative shape art.")
                                  .arg(QStringLiteral(VELQ_VERSION)));
}

constexpr CommandBinding kBindings[] = {
    {cmd::kResetView, reset_view},     {cmd::kViewOriginal, toggle_view}, {cmd::kViewEdges, toggle_view},
    {cmd::kViewFiltered, toggle_view}, {cmd::kViewFinal, toggle_view},    {cmd::kAbout, about},
};

}  // namespace

std::span<const CommandBinding> view_commands() {
    return kBindings;
}

}  // namespace velq::gui
