// The commands that run the pipeline: the filters, the transforms, Render and Render frame, Stop and
// Skip, Spike drawing, and the memory limit the filters work within.
#include <QImage>

#include "app/drawing_op.h"
#include "app/filter_driver.h"
#include "app/frame_render.h"
#include "app/render_op.h"
#include "app/transform_driver.h"
#include "gui/alphabet_dialog.h"
#include "gui/command_handlers.h"
#include "gui/drawing_dialog.h"
#include "gui/image_adapter.h"
#include "gui/job_runner.h"
#include "gui/main_window.h"
#include "gui/picture_panel.h"
#include "gui/picture_view.h"

namespace velq::gui {

namespace {

void filter(MainWindow& w, int id) {
    // A new filter throws the transform and the render away.
    const Document& doc = w.document();
    if ((doc.transformed || doc.rendered) && !w.may_discard_work()) return;
    static constexpr std::pair<int, FilterKind> kFilters[] = {
        {cmd::kFilterNormal, FilterKind::Normal},
        {cmd::kFilterHalfShuffle, FilterKind::HalfShuffle},
        {cmd::kFilterTripleShuffle, FilterKind::TripleShuffle},
        {cmd::kFilterMatrix, FilterKind::Matrix},
        {cmd::kFilterInverseContrast, FilterKind::InverseContrast},
        {cmd::kFilterContrastUp, FilterKind::ContrastUp},
        {cmd::kFilterPrism, FilterKind::Prism},
        {cmd::kFilterBrokenGlass, FilterKind::BrokenGlass},
        {cmd::kFilterKMean, FilterKind::KMean},
    };
    const std::int64_t limit = w.memory_limit();
    for (auto [filter_id, kind] : kFilters)
        if (filter_id == id) {
            w.set_view_stale(QString());
            // The menu asks for a new pattern: a seed kept from a reopened result is not replayed.
            w.start_job([&w, kind = kind, limit] {
                do_filter(w.document(), w.host(), kind, limit, FilterSeed::Draw);
            });
        }
}

void transform(MainWindow& w, int id) {
    const TransformMode mode = id == cmd::kTransformNormal      ? TransformMode::Normal
                               : id == cmd::kTransformVectorize ? TransformMode::Vectorize
                                                                : TransformMode::Alphabet;
    if (mode == TransformMode::Alphabet) {
        // The text, font and layout are asked for first; Cancel runs nothing.
        AlphabetDialog dialog(w.presenter(), w.document().settings.alphabet, &w);
        if (w.presenter().exec(dialog) != QDialog::Accepted) return;
        w.document().settings.alphabet = dialog.settings();
    }
    w.set_view_stale(QString());
    w.start_job([&w, mode] { do_transform(w.document(), w.host(), mode, true); },
                [&w] { w.picture_panel().reset_view(); });
}

void render(MainWindow& w, int) {
    int width = 0, height = 0;
    render_size(w.document(), width, height);
    w.start_job([&w, width, height] { generate_shaped_image(w.document(), w.host(), width, height); });
}

void render_frame(MainWindow& w, int) {
    auto t = w.presenter().ask_number(&w, QStringLiteral("Timestamp"), 0.0, 0.0, 200.0);
    if (!t) return;
    int width = 0, height = 0;
    render_size(w.document(), width, height);
    w.start_job([&w, width, height, t = *t] { render_frame_at(w.document(), w.host(), width, height, t); },
                [&w] {
                    if (!w.document().frame_buffer) return;
                    const QImage frame = to_qimage(w.document().frame_buffer);
                    w.picture_view().set_picture(frame, frame.width(), frame.height(), false);
                });
}

void spike_drawing(MainWindow& w, int) {
    Drawing initial = w.document().settings.drawing;
    if (initial.kind == DrawingKind::None) {
        initial.kind = DrawingKind::WebSpikes;
        initial.layer = std::max(1, w.document().selected_layer);
    }
    DrawingDialog dialog(w.presenter(), initial, &w);
    if (w.presenter().exec(dialog) != QDialog::Accepted) return;
    w.start_job([&w, d = dialog.drawing()] { make_drawing(w.document(), w.host(), d); });
}

void stop(MainWindow& w, int) {
    if (w.busy()) w.picture_panel().set_status(1, kStopping);
    w.jobs().stop();
}

void skip(MainWindow& w, int) {
    w.jobs().skip();
}

void memory(MainWindow& w, int id) {
    static constexpr int kIds[4] = {cmd::kMemory15, cmd::kMemory30, cmd::kMemory45, cmd::kMemory60};
    for (int i = 0; i < 4; ++i)
        if (kIds[i] == id) w.set_memory_limit(kMemoryLimits[i]);
}

constexpr CommandBinding kBindings[] = {
    {cmd::kFilterNormal, filter},
    {cmd::kFilterHalfShuffle, filter},
    {cmd::kFilterTripleShuffle, filter},
    {cmd::kFilterMatrix, filter},
    {cmd::kFilterInverseContrast, filter},
    {cmd::kFilterContrastUp, filter},
    {cmd::kFilterPrism, filter},
    {cmd::kFilterBrokenGlass, filter},
    {cmd::kFilterKMean, filter},
    {cmd::kTransformNormal, transform},
    {cmd::kTransformVectorize, transform},
    {cmd::kTransformAlphabet, transform},
    {cmd::kRender, render},
    {cmd::kRenderFrame, render_frame},
    {cmd::kSpike, spike_drawing},
    {cmd::kStop, stop},
    {cmd::kSkip, skip},
    {cmd::kMemory15, memory},
    {cmd::kMemory30, memory},
    {cmd::kMemory45, memory},
    {cmd::kMemory60, memory},
};

}  // namespace

std::span<const CommandBinding> run_commands() {
    return kBindings;
}

}  // namespace velq::gui
