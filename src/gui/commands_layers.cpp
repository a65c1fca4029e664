// The Layers commands: they act on the layer selected in the settings column.
#include "gui/animation_dialog.h"
#include "gui/command_handlers.h"
#include "gui/last_folder.h"
#include "gui/main_window.h"
#include "gui/passage_dialog.h"
#include "gui/picture_panel.h"
#include "gui/qt_text.h"
#include "gui/settings_column.h"
#include "gui/shape_detail_dialog.h"
#include "image/file_types.h"
#include "render/layer.h"

namespace velq::gui {

namespace {

// The selected layer's index when it is one of the Document's layers and at least `lowest`.
std::optional<int> selected(MainWindow& w, int lowest) {
    const Document& doc = w.document();
    const int i = doc.selected_layer;
    if (i < lowest || i >= int(doc.layers.size())) return std::nullopt;
    return i;
}

void reset(MainWindow& w, int) {
    auto i = selected(w, 0);
    if (!i) return;
    reset_layer(w.host(), w.document().layers, *i);
    w.settings_column().refresh_layer_list();
    if (w.document().transformed) w.picture_panel().rebuild_overlay();
    w.picture_panel().redraw();
}

void set_as_default(MainWindow& w, int) {
    auto i = selected(w, 0);
    if (!i) return;
    set_layer_as_default(w.host(), w.document().layers, *i);
    w.settings_column().refresh_layer_list();
    w.settings_column().draw_palette_preview();
    w.picture_panel().redraw();
}

void show_or_hide(MainWindow& w, int id) {
    Layer* l = w.settings_column().selected_layer();
    if (!l) return;
    l->shown = id == cmd::kLayerEnable;
    w.settings_column().refresh_layer_texts();
    w.picture_panel().redraw();
}

void background_colour(MainWindow& w, int) {
    Document& doc = w.document();
    w.picture_panel().set_status(1, QStringLiteral("BGColor picking..."));
    const std::uint32_t bg = doc.background;
    auto chosen =
        w.presenter().choose_colour(&w, QColor(colorref_red(bg), colorref_green(bg), colorref_blue(bg)));
    if (!chosen) return;
    doc.background = pack_colorref(chosen->red(), chosen->green(), chosen->blue());
    w.settings_column().refresh_layer_list();
}

void show_shapes(MainWindow& w, int) {
    if (!selected(w, 1)) return;
    ShapeDetailDialog dialog(w.document(), &w);
    w.presenter().exec(dialog);
}

void shapes_from_files(MainWindow& w, int) {
    auto i = selected(w, 1);
    if (!i) return;
    const QStringList names = w.presenter().open_files(&w, single_entry(kLoadShapeTypes), last_folder());
    if (names.isEmpty()) return;
    remember_folder(names.front());
    std::vector<std::string> paths;
    for (const QString& n : names) paths.push_back(local_path(n));
    w.start_job(
        [&w, i = *i, paths = std::move(paths)] { load_shapes(w.host(), w.document().layers[i], paths); });
}

// Load shapes from > Passage and Change passage: the dialog starts from the layer's own passage, and
// the characters are drawn on the worker; a passage that cannot be drawn leaves the layer as it was.
void passage(MainWindow& w, int id) {
    auto i = selected(w, 1);
    if (!i) return;
    const Layer& layer = w.document().layers[*i];
    if (id == cmd::kChangePassage && !layer.passage_mode) return;
    PassageDialog dialog(w.presenter(), layer_passage_choice(layer), &w);
    if (w.presenter().exec(dialog) != QDialog::Accepted) return;
    w.start_job([&w, i = *i, choice = dialog.choice()] {
        set_layer_passage(w.host(), w.document().layers[i], choice);
    });
}

void animation(MainWindow& w, int) {
    auto i = selected(w, 1);
    if (!i || !w.document().layers[*i].has_shapes()) return;
    AnimationDialog dialog(w.document().layers[*i].anim, &w);
    if (w.presenter().exec(dialog) != QDialog::Accepted) return;
    w.document().layers[*i].anim = dialog.settings();
}

constexpr CommandBinding kBindings[] = {
    {cmd::kResetLayer, reset},
    {cmd::kSetAsDefault, set_as_default},
    {cmd::kLayerDisable, show_or_hide},
    {cmd::kLayerEnable, show_or_hide},
    {cmd::kBackgroundColor, background_colour},
    {cmd::kShowShapes, show_shapes},
    {cmd::kLoadShapesFiles, shapes_from_files},
    {cmd::kLoadShapesPassage, passage},
    {cmd::kChangePassage, passage},
    {cmd::kSetAnimation, animation},
};

}  // namespace

std::span<const CommandBinding> layer_commands() {
    return kBindings;
}

}  // namespace velq::gui
