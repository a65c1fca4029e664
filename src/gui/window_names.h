// Object names of the window's controls and menu actions, by their numbers, so that tests and
// tools can find them.
#pragma once

#include <QString>

namespace velq::gui {

// "ctl" and the control's number ("ctl1011" is THR).
inline QString control_name(int id) {
    return QStringLiteral("ctl%1").arg(id);
}
// "cmd" and the command's number ("cmd32771" is Open).
inline QString action_name(int id) {
    return QStringLiteral("cmd%1").arg(id);
}

}  // namespace velq::gui
