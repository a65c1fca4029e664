#include "gui/last_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace velq::gui {

QString last_folder() {
    QSettings settings;
    return settings.value(QStringLiteral("last_folder"), QDir::homePath()).toString();
}

void remember_folder(const QString& file) {
    QSettings settings;
    settings.setValue(QStringLiteral("last_folder"), QFileInfo(file).absolutePath());
}

}  // namespace velq::gui
