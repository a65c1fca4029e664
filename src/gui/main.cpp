// velquinograph: the desktop program. A picture named on the command line is opened at start-up.
#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include "gui/main_window.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Velquinograph"));
    QApplication::setApplicationName(QStringLiteral("velquinograph"));
    QApplication::setApplicationVersion(QStringLiteral(VELQ_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Turns pictures into decorative shape art."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("picture"), QStringLiteral("A picture to open at start-up."));
    parser.process(app);

    velq::gui::MainWindow window;
    window.show();
    const QStringList pictures = parser.positionalArguments();
    if (!pictures.isEmpty()) QTimer::singleShot(0, &window, [&] { window.open_path(pictures.front()); });
    return app.exec();
}
