// Helpers shared by the window tests: a window with a scripted presenter, a picture put straight into
// its Document, and a job that holds the worker until the test lets it go.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include <QApplication>
#include <QStandardPaths>
#include <QTest>

#include "app/filter_driver.h"
#include "gui/main_window.h"
#include "scripted_presenter.h"
#include "support/pictures.h"

namespace velq::gui::test {

struct WindowFixture {
    ScriptedPresenter* presenter = nullptr;  // owned by the window
    std::unique_ptr<MainWindow> window;

    WindowFixture() {
        QStandardPaths::setTestModeEnabled(true);
        auto p = std::make_unique<ScriptedPresenter>();
        presenter = p.get();
        window = std::make_unique<MainWindow>(std::move(p));
        window->resize(1100, 760);
        window->show();
        QApplication::setActiveWindow(window.get());
        (void)QTest::qWaitForWindowActive(window.get());
    }

    // A window that starts with the picture loaded.
    explicit WindowFixture(UBUFFER picture) : WindowFixture() {
        if (!load_picture(std::move(picture))) qFatal("the test picture did not load");
    }

    Document& doc() { return window->document(); }

    // The picture becomes the Document's source with freshly built working pictures, as after Open.
    bool load_picture(UBUFFER picture) {
        Document& d = doc();
        d.source = std::move(picture);
        RebuiltPictures made;
        if (build_working_pictures(d, window->host(), d.settings.memory_limit, made) != 0) return false;
        install_working_pictures(d, std::move(made));
        d.picture_loaded = true;
        window->document_changed();
        return true;
    }
};

// A job that runs until released or stopped, so a test can look at the busy window.
struct HeldJob {
    std::atomic<bool> release{false};
    std::atomic<bool> ended_by_stop{false};

    std::function<void()> job(Host& host) {
        return [this, &host] {
            while (!release && !host.stopped()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
            ended_by_stop = host.stopped();
        };
    }
};

}  // namespace velq::gui::test
