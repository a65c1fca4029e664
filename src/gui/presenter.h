// Everything the window asks of the user goes through a Presenter: message boxes, Yes/No questions,
// file and colour choosers, modal dialogs. The desktop program uses the real dialogs; tests put in a
// scripted one so that nothing blocks.
#pragma once

#include <optional>

#include <QColor>
#include <QSize>
#include <QString>
#include <QStringList>

class QDialog;
class QWidget;

namespace velq::gui {

// One entry of a file chooser's type list: "Portable Network Graphic (.png)" with "*.png".
struct FileType {
    QString name;
    QString patterns;  // "*.bmp;*.jpg"
};

class Presenter {
public:
    virtual ~Presenter() = default;

    // A modal box captioned "Velquinograph" with an OK button.
    virtual void message(QWidget* parent, const QString& text);
    // Yes/No, captioned "Velquinograph".
    virtual bool ask(QWidget* parent, const QString& question);
    // An existing file, or empty when cancelled.
    virtual QString open_file(QWidget* parent, const FileType& type, const QString& folder);
    // Several existing files, or none when cancelled.
    virtual QStringList open_files(QWidget* parent, const FileType& type, const QString& folder);
    // A name to save under and the 0-based index of the chosen type; empty when cancelled.
    virtual QString save_file(QWidget* parent, const QList<FileType>& types, int preferred, int& chosen,
                              const QString& folder);
    // A colour, or nothing when cancelled.
    virtual std::optional<QColor> choose_colour(QWidget* parent, const QColor& initial);
    // A font face, or nothing when cancelled.
    virtual std::optional<QString> choose_font(QWidget* parent, const QString& face);
    // A number typed into a small prompt ("Timestamp"), or nothing when cancelled.
    virtual std::optional<double> ask_number(QWidget* parent, const QString& label, double value, double min,
                                             double max);
    // A video size (width, height), or nothing when cancelled.
    virtual std::optional<QSize> ask_size(QWidget* parent, const QSize& size);
    // Runs a modal dialog; QDialog::Accepted or Rejected.
    virtual int exec(QDialog& dialog);
};

// "Portable Network Graphic (.png) (*.png)" for a Qt file dialog.
QString filter_text(const FileType& type);

}  // namespace velq::gui
