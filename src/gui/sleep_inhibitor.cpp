#include "gui/sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace velq::gui {

namespace {
const QString kService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kPath = QStringLiteral("/org/freedesktop/ScreenSaver");
}  // namespace

SleepInhibitor::SleepInhibitor(QObject* parent) : QObject(parent) {}

SleepInhibitor::~SleepInhibitor() {
    wanted_ = false;
    release();
}

void SleepInhibitor::set(bool on) {
    if (on == wanted_) return;
    wanted_ = on;
    if (!on) {
        release();
        return;
    }
    if (pending_ || cookie_ != 0) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Inhibit"));
    call << QStringLiteral("velquinograph") << QStringLiteral("Rendering a picture");
    pending_ = true;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
        QDBusPendingReply<unsigned> reply = *w;
        w->deleteLater();
        pending_ = false;
        if (reply.isError()) return;
        cookie_ = reply.value();
        if (!wanted_) release();  // the work ended before the answer came
    });
}

void SleepInhibitor::release() {
    if (cookie_ == 0) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("UnInhibit"));
        call << cookie_;
        bus.asyncCall(call);
    }
    cookie_ = 0;
}

}  // namespace velq::gui
