// A transform chosen through the window's commands against the same transform run as the tool runs
// it, on the same 600 x 400 photo-like picture: the window's live view, progress and title must cost
// little (the counter "window_over_tool" should stay at or below 1.2).
#include <benchmark/benchmark.h>

#include <chrono>

#include <QApplication>
#include <QEventLoop>

#include "app/filter_driver.h"
#include "app/transform_driver.h"
#include "bench_pictures.h"
#include "gui/job_runner.h"
#include "gui/main_window.h"

namespace {

using namespace velq;
using Clock = std::chrono::steady_clock;

// Answers nothing and shows nothing, so no dialog waits for a hand.
class SilentPresenter : public gui::Presenter {
public:
    void message(QWidget*, const QString&) override {}
    bool ask(QWidget*, const QString&) override { return false; }
};

// The picture, opened and filtered with Normal, as after Open.
void load(Document& doc, Host& host) {
    doc.source = bench::photo_like(600, 400, 3);
    RebuiltPictures made;
    build_working_pictures(doc, host, doc.settings.memory_limit, made);
    install_working_pictures(doc, std::move(made));
    doc.picture_loaded = true;
}

double tool_seconds(TransformMode mode) {
    QuietHost host;
    Document doc(host);
    load(doc, host);
    const auto start = Clock::now();
    do_transform(doc, host, mode, true);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double window_seconds(int command) {
    gui::MainWindow window(std::make_unique<SilentPresenter>());
    window.show();
    load(window.document(), window.host());
    window.document_changed();
    QApplication::processEvents();
    const auto start = Clock::now();
    window.trigger(command);
    QEventLoop loop;  // as the program's own loop runs, until the window has followed the job's end
    QObject::connect(
        &window.jobs(), &gui::JobRunner::busy_changed, &loop,
        [&](bool on) {
            if (!on) loop.quit();
        },
        Qt::QueuedConnection);
    loop.exec();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void BM_WindowTransform(benchmark::State& state) {
    const bool vectorize = state.range(0) == 1;
    double tool = 0, window = 0;
    for (auto _ : state) {
        tool += tool_seconds(vectorize ? TransformMode::Vectorize : TransformMode::Normal);
        const double w = window_seconds(vectorize ? cmd::kTransformVectorize : cmd::kTransformNormal);
        window += w;
        state.SetIterationTime(w);
    }
    state.counters["window_over_tool"] = window / tool;
    state.SetLabel(vectorize ? "Vectorize" : "Normal");
}
BENCHMARK(BM_WindowTransform)->Arg(0)->Arg(1)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
