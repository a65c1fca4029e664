// Conversions between the library's UTF-8 strings and paths and Qt's strings, shared by the window's
// command files.
#pragma once

#include <string>
#include <string_view>

#include <QFile>
#include <QString>

#include "gui/presenter.h"

namespace velq::gui {

inline QString q(std::string_view s) {
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

// A file name as the library opens it (the platform's local encoding).
inline std::string local_path(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

// A single-entry type list ("All Graphics Types|*.bmp;...") as Qt shows it: the name before the bar,
// the patterns after it ("All Graphics Types (*.bmp *.jpg ...)").
inline FileType single_entry(std::string_view list) {
    const auto bar = list.find('|');
    if (bar == std::string_view::npos) return {q(list), QStringLiteral("*")};
    return {q(list.substr(0, bar)), q(list.substr(bar + 1))};
}

}  // namespace velq::gui
