// The Host that operations started from the window talk to. Calls may come from the worker thread:
// every one becomes a signal, delivered on the window's thread by a queued connection, so the worker
// never touches a widget. A question from the worker waits for the answer, but gives up (No) when
// Stop is pressed, so quitting never waits on a question nobody will answer. Reports that need no
// answer (the count after a transform, what a stopped operation says) become notices, which the
// window shows in its status line instead of a box to click away.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include <QObject>
#include <QString>
#include <QVector>

#include "host/host.h"

namespace velq::gui {

// The answer to a question asked from the worker, filled on the window's thread.
struct PendingAnswer {
    std::mutex mutex;
    std::optional<bool> value;
};

class WindowHost : public QObject, public Host {
    Q_OBJECT
public:
    explicit WindowHost(QObject* parent = nullptr);

    void title(std::string_view text) override;
    void percent(int p) override;
    void message(std::string_view text) override;
    bool ask(std::string_view question) override;
    void status(int line, std::string_view text) override;
    void refresh(Refresh what) override;
    void circles_added(std::span<const LiveCircle> batch) override;
    void preview(const std::uint8_t* bgra, int width, int height) override;
    void busy(bool on) override;

signals:
    void title_changed(const QString& text);
    void percent_changed(int p);
    void message_requested(const QString& text);
    void notice_requested(const QString& text);
    // The receiver stores the answer into `answer` (the worker polls it).
    void ask_requested(const QString& question, std::shared_ptr<velq::gui::PendingAnswer> answer);
    void status_changed(int line, const QString& text);
    void refresh_requested(int what);
    void circles_arrived(const QVector<velq::LiveCircle>& batch);
    void preview_arrived(const QImage& frame);
    void busy_changed(bool on);

private:
    bool is_notice(std::string_view text) const;

    std::thread::id gui_thread_;
};

}  // namespace velq::gui
