#include "gui/presenter.h"

#include <QColorDialog>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFontDialog>
#include <QFormLayout>
#include <QInputDialog>
#include <QMessageBox>
#include <QSpinBox>

namespace velq::gui {

namespace {
const QString kCaption = QStringLiteral("Velquinograph");
}

QString filter_text(const FileType& type) {
    QString patterns = type.patterns;
    patterns.replace(';', ' ');
    return type.name + " (" + patterns + ")";
}

void Presenter::message(QWidget* parent, const QString& text) {
    QMessageBox::information(parent, kCaption, text, QMessageBox::Ok);
}

bool Presenter::ask(QWidget* parent, const QString& question) {
    return QMessageBox::question(parent, kCaption, question, QMessageBox::Yes | QMessageBox::No) ==
           QMessageBox::Yes;
}

QString Presenter::open_file(QWidget* parent, const FileType& type, const QString& folder) {
    return QFileDialog::getOpenFileName(parent, QString(), folder, filter_text(type));
}

QStringList Presenter::open_files(QWidget* parent, const FileType& type, const QString& folder) {
    return QFileDialog::getOpenFileNames(parent, QString(), folder, filter_text(type));
}

QString Presenter::save_file(QWidget* parent, const QList<FileType>& types, int preferred, int& chosen,
                             const QString& folder) {
    QStringList filters;
    for (const auto& t : types) filters << filter_text(t);
    QString selected = preferred >= 0 && preferred < filters.size() ? filters[preferred] : QString();
    QString name = QFileDialog::getSaveFileName(parent, QString(), folder, filters.join(";;"), &selected);
    chosen = std::max(0, int(filters.indexOf(selected)));
    return name;
}

std::optional<QColor> Presenter::choose_colour(QWidget* parent, const QColor& initial) {
    QColor c = QColorDialog::getColor(initial, parent, kCaption);
    if (!c.isValid()) return std::nullopt;
    return c;
}

std::optional<QString> Presenter::choose_font(QWidget* parent, const QString& face) {
    bool ok = false;
    const QFont font = QFontDialog::getFont(&ok, QFont(face), parent, kCaption);
    if (!ok) return std::nullopt;
    return font.family();
}

std::optional<double> Presenter::ask_number(QWidget* parent, const QString& label, double value, double min,
                                            double max) {
    bool ok = false;
    const double v = QInputDialog::getDouble(parent, kCaption, label, value, min, max, 3, &ok);
    if (!ok) return std::nullopt;
    return v;
}

std::optional<QSize> Presenter::ask_size(QWidget* parent, const QSize& size) {
    QDialog dialog(parent);
    dialog.setWindowTitle(QStringLiteral("Video size"));
    auto* form = new QFormLayout(&dialog);
    auto* width = new QSpinBox(&dialog);
    auto* height = new QSpinBox(&dialog);
    for (QSpinBox* b : {width, height}) b->setRange(16, 7680);
    width->setValue(size.width());
    height->setValue(size.height());
    form->addRow(QStringLiteral("Width"), width);
    form->addRow(QStringLiteral("Height"), height);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    form->addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return QSize(width->value(), height->value());
}

int Presenter::exec(QDialog& dialog) {
    return dialog.exec();
}

}  // namespace velq::gui
