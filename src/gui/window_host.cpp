#include "gui/window_host.h"

#include <chrono>

#include <QImage>

#include "gui/image_adapter.h"
#include "gui/qt_text.h"

namespace velq::gui {

WindowHost::WindowHost(QObject* parent) : QObject(parent), gui_thread_(std::this_thread::get_id()) {}

void WindowHost::title(std::string_view text) {
    emit title_changed(q(text));
}
void WindowHost::percent(int p) {
    emit percent_changed(p);
}
bool WindowHost::is_notice(std::string_view text) const {
    if (text.starts_with("The number of circles is")) return true;
    // Once the user has pressed Stop, what the ending operation says is no surprise to confirm.
    return stopped() && std::this_thread::get_id() != gui_thread_;
}

void WindowHost::message(std::string_view text) {
    if (is_notice(text))
        emit notice_requested(q(text));
    else
        emit message_requested(q(text));
}
void WindowHost::status(int line, std::string_view text) {
    emit status_changed(line, q(text));
}
void WindowHost::refresh(Refresh what) {
    emit refresh_requested(int(what));
}
void WindowHost::busy(bool on) {
    emit busy_changed(on);
}

bool WindowHost::ask(std::string_view question) {
    auto answer = std::make_shared<PendingAnswer>();
    emit ask_requested(q(question), answer);
    if (std::this_thread::get_id() == gui_thread_) {
        std::lock_guard lock(answer->mutex);
        return answer->value.value_or(false);
    }
    for (;;) {
        {
            std::lock_guard lock(answer->mutex);
            if (answer->value) return *answer->value;
        }
        if (stopped()) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void WindowHost::circles_added(std::span<const LiveCircle> batch) {
    // A batch item's circles belong to a picture the window does not show.
    if (batch.empty() || !item_label.empty()) return;
    emit circles_arrived(QVector<LiveCircle>(batch.begin(), batch.end()));
}

void WindowHost::preview(const std::uint8_t* bgra, int width, int height) {
    if (!bgra || width <= 0 || height <= 0) return;
    emit preview_arrived(bgra_to_qimage(bgra, width, height));
}

}  // namespace velq::gui
