// The Segments commands: they act on the segment picked in the picture.
#include "app/segment_commands.h"
#include "gui/command_handlers.h"
#include "gui/main_window.h"
#include "gui/picture_panel.h"

namespace velq::gui {

namespace {

void enable_selected(MainWindow& w, int id) {
    set_selected_segments_enabled(w.document(), w.host(), id == cmd::kSegmentEnable);
    w.update_ui();
}

void enable_all(MainWindow& w, int id) {
    set_all_segments_enabled(w.document(), w.host(), id == cmd::kSegmentsEnableAll);
    w.update_ui();
}

void change_colour(MainWindow& w, int) {
    std::uint32_t initial = 0;
    if (!segment_chooser_colour(w.document(), initial)) return;
    w.picture_panel().set_status(1, QStringLiteral("Color picking..."));
    auto chosen = w.presenter().choose_colour(
        &w, QColor(colorref_red(initial), colorref_green(initial), colorref_blue(initial)));
    if (!chosen) return;
    change_segment_colour(w.document(), w.host(),
                          pack_colorref(chosen->red(), chosen->green(), chosen->blue()));
}

void all_enclosed(MainWindow& w, int) {
    toggle_all_enclosed(w.document(), w.host());
    w.update_check_marks();
    w.picture_panel().update_outline_marks();
}

constexpr CommandBinding kBindings[] = {
    {cmd::kSegmentDisable, enable_selected}, {cmd::kSegmentEnable, enable_selected},
    {cmd::kSegmentsDisableAll, enable_all},  {cmd::kSegmentsEnableAll, enable_all},
    {cmd::kChangeColor, change_colour},      {cmd::kAllEnclosed, all_enclosed},
};

}  // namespace

std::span<const CommandBinding> segment_commands() {
    return kBindings;
}

}  // namespace velq::gui
