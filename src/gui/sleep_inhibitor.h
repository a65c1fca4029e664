// Keeps the desktop from going to sleep or blanking while the worker runs, through the session's
// org.freedesktop.ScreenSaver service. Harmless where there is no session bus or no such service.
#pragma once

#include <QObject>

namespace velq::gui {

class SleepInhibitor : public QObject {
    Q_OBJECT
public:
    explicit SleepInhibitor(QObject* parent = nullptr);
    ~SleepInhibitor() override;

    // Asks for the inhibition while `on`, releases it when off; repeated calls are ignored.
    void set(bool on);
    bool held() const { return wanted_; }

private:
    void release();

    bool wanted_ = false;
    unsigned cookie_ = 0;   // the service's handle for our inhibition; 0 while none is held
    bool pending_ = false;  // an Inhibit call is on its way
};

}  // namespace velq::gui
