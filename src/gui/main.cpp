// velquinograph: the desktop program. A picture named on the command line is opened at start-up.
#include <QApplication>

#include "gui/main_window.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Velquinograph"));
    QApplication::setApplicationName(QStringLiteral("velquinograph"));
    QApplication::setApplicationVersion(QStringLiteral(VELQ_VERSION));
    velq::gui::MainWindow window;
    window.show();
    return app.exec();
}
