// The folder the file choosers open in: the one of the last file opened or saved, kept between runs.
#pragma once

#include <QString>

namespace velq::gui {

QString last_folder();
void remember_folder(const QString& file);

}  // namespace velq::gui
