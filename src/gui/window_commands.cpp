// The main window's commands: each entry of the command table that works is registered here with
// its action. Long ones run on the worker; the rest act at once on the window's thread.
#include <array>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>

#include "app/filter_driver.h"
#include "gui/main_window.h"
#include "gui/picture_view.h"
#include "gui/shape_detail_dialog.h"
#include "render/layer.h"

namespace velq::gui {

void MainWindow::register_handlers() {
    auto on = [this](int id, std::function<void()> f) { handlers_[id] = std::move(f); };
    on(cmd::kExit, [this] { cmd_exit(); });
    on(cmd::kAbout, [this] { cmd_about(); });
    on(cmd::kResetView, [this] { cmd_reset_view(); });
    for (int id : {cmd::kViewOriginal, cmd::kViewEdges, cmd::kViewFiltered, cmd::kViewFinal})
        on(id, [this, id] { cmd_toggle_view(id); });
    for (int id : {cmd::kMemory15, cmd::kMemory30, cmd::kMemory45, cmd::kMemory60})
        on(id, [this, id] { cmd_memory(id); });
    on(cmd::kStop, [this] { cmd_stop(); });
    on(cmd::kSkip, [this] { cmd_skip(); });
    on(cmd::kClearClipboard, [this] { cmd_clear_clipboard(); });
    on(cmd::kResetLayer, [this] { cmd_reset_layer(); });
    on(cmd::kSetAsDefault, [this] { cmd_set_as_default(); });
    on(cmd::kLayerDisable, [this] { cmd_layer_shown(false); });
    on(cmd::kLayerEnable, [this] { cmd_layer_shown(true); });
    on(cmd::kBackgroundColor, [this] { cmd_background_color(); });
    on(cmd::kShowShapes, [this] { cmd_show_shapes(); });
    static constexpr std::pair<int, FilterKind> kFilters[] = {
        {cmd::kFilterNormal, FilterKind::Normal},
        {cmd::kFilterHalfShuffle, FilterKind::HalfShuffle},
        {cmd::kFilterTripleShuffle, FilterKind::TripleShuffle},
        {cmd::kFilterMatrix, FilterKind::Matrix},
        {cmd::kFilterInverseContrast, FilterKind::InverseContrast},
        {cmd::kFilterContrastUp, FilterKind::ContrastUp},
        {cmd::kFilterKMean, FilterKind::KMean},
    };
    on(cmd::kOpen, [this] { cmd_open(); });
    on(cmd::kSave, [this] { cmd_save(); });
    on(cmd::kCopyMetadata, [this] { cmd_copy_metadata(); });
    on(cmd::kSegmentDisable, [this] { cmd_segments_enabled(false); });
    on(cmd::kSegmentEnable, [this] { cmd_segments_enabled(true); });
    on(cmd::kSegmentsDisableAll, [this] { cmd_all_segments_enabled(false); });
    on(cmd::kSegmentsEnableAll, [this] { cmd_all_segments_enabled(true); });
    on(cmd::kChangeColor, [this] { cmd_change_color(); });
    on(cmd::kAllEnclosed, [this] { cmd_all_enclosed(); });
    on(cmd::kTransformNormal, [this] { cmd_transform(0); });
    on(cmd::kTransformVectorize, [this] { cmd_transform(1); });
    on(cmd::kPasteMetadata, [this] { cmd_paste_metadata(); });
    on(cmd::kRender, [this] { cmd_render(); });
    on(cmd::kRenderFrame, [this] { cmd_render_frame(); });
    static constexpr std::array<std::array<int, 3>, 6> kSizes = {{{cmd::kVideo640, 640, 480},
                                                                  {cmd::kVideo960, 960, 540},
                                                                  {cmd::kVideo1280, 1280, 720},
                                                                  {cmd::kVideo1920, 1920, 1080},
                                                                  {cmd::kVideo2560, 2560, 1440},
                                                                  {cmd::kVideo3840, 3840, 2160}}};
    for (const auto& size : kSizes) on(size[0], [this, w = size[1], h = size[2]] { cmd_video(w, h); });
    on(cmd::kCustomize, [this] { cmd_customize(); });
    on(cmd::kExportGif, [this] { cmd_export_gif(); });
    on(cmd::kSocialFit, [this] { cmd_social(1); });
    on(cmd::kSocialStretch, [this] { cmd_social(2); });
    on(cmd::kLoadLogo, [this] { cmd_load_logo(); });
    on(cmd::kLoadShapesFiles, [this] { cmd_load_shapes(); });
    on(cmd::kSetAnimation, [this] { cmd_set_animation(); });
    on(cmd::kLoadLayers, [this] { cmd_load_layers(); });
    for (auto [id, kind] : kFilters) on(id, [this, kind = kind] { cmd_filter(int(kind)); });
}

void MainWindow::cmd_filter(int kind) {
    const std::int64_t limit = memory_limit_;
    start_job([this, kind, limit] { do_filter(doc_, host_, FilterKind(kind), limit); });
}

void MainWindow::cmd_exit() {
    if (!presenter_->ask(this, QStringLiteral("Really quit?"))) return;
    quitting_ = true;
    close();
}

void MainWindow::cmd_about() {
    presenter_->message(this, QStringLiteral("Velquinograph %1\nTurns pictures into decorative shape art.")
                                  .arg(QStringLiteral(VELQ_VERSION)));
}

void MainWindow::cmd_reset_view() {
    reset_view();
    view_->update();
}

void MainWindow::cmd_toggle_view(int id) {
    // While the worker runs, the flip is kept aside and applied when it ends.
    ViewToggles& t = ui_.busy ? toggled_while_busy_ : doc_.toggles;
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
    update_check_marks();
    redraw();
}

void MainWindow::cmd_memory(int id) {
    static constexpr int kIds[4] = {cmd::kMemory15, cmd::kMemory30, cmd::kMemory45, cmd::kMemory60};
    for (int i = 0; i < 4; ++i)
        if (kIds[i] == id) memory_limit_ = kMemoryLimits[i];
    update_check_marks();
}

void MainWindow::cmd_stop() {
    worker_.request_stop();
}
void MainWindow::cmd_skip() {
    worker_.request_skip();
}

void MainWindow::cmd_clear_clipboard() {
    QApplication::clipboard()->clear();
}

void MainWindow::cmd_reset_layer() {
    const int i = doc_.selected_layer;
    if (i < 0 || i >= int(doc_.layers.size())) return;
    reset_layer(host_, doc_.layers, i);
    refresh_layer_list();
    if (doc_.transformed) rebuild_overlay();
    redraw();
}

void MainWindow::cmd_set_as_default() {
    const int i = doc_.selected_layer;
    if (i < 0 || i >= int(doc_.layers.size())) return;
    set_layer_as_default(host_, doc_.layers, i);
    refresh_layer_list();
    draw_palette_preview();
    redraw();
}

void MainWindow::cmd_layer_shown(bool shown) {
    Layer* l = selected_layer();
    if (!l) return;
    l->shown = shown;
    refresh_layer_texts();
    redraw();
}

void MainWindow::cmd_background_color() {
    status1_->setText(QStringLiteral("BGColor picking..."));
    const std::uint32_t bg = doc_.background;
    auto chosen =
        presenter_->choose_colour(this, QColor(colorref_red(bg), colorref_green(bg), colorref_blue(bg)));
    if (!chosen) return;
    doc_.background = pack_colorref(chosen->red(), chosen->green(), chosen->blue());
    refresh_layer_list();
}

void MainWindow::cmd_show_shapes() {
    if (doc_.selected_layer < 1 || !selected_layer()) return;
    ShapeDetailDialog dialog(doc_, this);
    presenter_->exec(dialog);
}

}  // namespace velq::gui
