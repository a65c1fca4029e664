#include "gui/batch_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include "filters/filter.h"
#include "gui/qt_text.h"
#include "render/animation_settings.h"

namespace velq::gui {

namespace {

// A line edit with a Browse button that picks a folder (or a picture) into it.
QWidget* path_row(QWidget* parent, QLineEdit*& edit, const char* name, bool folder) {
    auto* row = new QWidget(parent);
    auto* h = new QHBoxLayout(row);
    h->setContentsMargins(0, 0, 0, 0);
    edit = new QLineEdit(row);
    edit->setObjectName(QString::fromLatin1(name));
    edit->setMinimumWidth(320);
    auto* browse = new QPushButton(QStringLiteral("Browse..."), row);
    h->addWidget(edit);
    h->addWidget(browse);
    QObject::connect(browse, &QPushButton::clicked, row, [row, edit, folder] {
        const QString chosen = folder ? QFileDialog::getExistingDirectory(row, QString(), edit->text())
                                      : QFileDialog::getOpenFileName(row, QString(), edit->text());
        if (chosen.isEmpty()) return;
        // ROI render takes several folders: a new one is added to those typed.
        if (folder && edit->objectName() == QLatin1String("folders") && !edit->text().isEmpty())
            edit->setText(edit->text() + QLatin1Char(';') + chosen);
        else
            edit->setText(chosen);
    });
    return row;
}

}  // namespace

BatchDialog::BatchDialog(Kind kind, const CyclingSelections& chosen, const QString& input,
                         const QString& output, QSize video, QWidget* parent)
    : QDialog(parent), chosen_(chosen) {
    setWindowTitle(kind == Kind::ImageCycling       ? QStringLiteral("Image cycling")
                   : kind == Kind::AnimationCycling ? QStringLiteral("Cycling")
                                                    : QStringLiteral("ROI render"));
    auto* form = new QFormLayout(this);
    auto group = [&](const QString& title, int from, int count, int columns, auto label) {
        auto* box = new QGroupBox(title, this);
        auto* grid = new QGridLayout(box);
        for (int i = 0; i < count; ++i) {
            auto* check = new QCheckBox(label(i), box);
            check->setObjectName(QStringLiteral("choice%1").arg(from + i));
            check->setChecked(chosen[std::size_t(from + i)]);
            boxes_[std::size_t(from + i)] = check;
            grid->addWidget(check, i / columns, i % columns);
        }
        form->addRow(box);
    };
    if (kind == Kind::ImageCycling) {
        form->addRow(QStringLiteral("Picture"), path_row(this, input_, "input", false));
        input_->setText(input);
        group(QStringLiteral("Filters"), kCyclingFilterAt, kCyclingFilters, 3,
              [](int i) { return q(filter_menu_text(FilterKind(i + 1))); });
    } else if (kind == Kind::AnimationCycling) {
        group(QStringLiteral("Motions"), 0, kCyclingMotions, 5,
              [](int i) { return q(kMotionNames[std::size_t(i)]); });
        group(QStringLiteral("Scan orders"), kCyclingScanAt, kCyclingScans, 4,
              [](int i) { return q(kScanNames[std::size_t(i)]); });
        auto spin = [this](const char* name, int value) {
            auto* s = new QSpinBox(this);
            s->setObjectName(QString::fromLatin1(name));
            s->setRange(16, 7680);
            s->setValue(value);
            return s;
        };
        width_ = spin("width", video.width());
        height_ = spin("height", video.height());
        auto* size = new QWidget(this);
        auto* h = new QHBoxLayout(size);
        h->setContentsMargins(0, 0, 0, 0);
        h->addWidget(width_);
        h->addWidget(height_);
        form->addRow(QStringLiteral("Video size"), size);
    } else {
        form->addRow(QStringLiteral("Folders"), path_row(this, input_, "folders", true));
        input_->setText(input);
        input_->setPlaceholderText(QStringLiteral("one or more folders, separated by ;"));
        recursive_ = new QCheckBox(QStringLiteral("Include subfolders"), this);
        recursive_->setObjectName(QStringLiteral("recursive"));
        own_ = new QCheckBox(QStringLiteral("Use each file's own settings"), this);
        own_->setObjectName(QStringLiteral("own_settings"));
        form->addRow(recursive_);
        form->addRow(own_);
    }
    form->addRow(QStringLiteral("Output folder"), path_row(this, output_, "output", true));
    output_->setText(output);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

CyclingSelections BatchDialog::selections() const {
    CyclingSelections s = chosen_;
    for (std::size_t i = 0; i < s.size(); ++i)
        if (boxes_[i]) s[i] = boxes_[i]->isChecked();
    return s;
}

QString BatchDialog::input() const {
    return input_ ? input_->text().trimmed() : QString();
}

std::vector<std::string> BatchDialog::folders() const {
    std::vector<std::string> out;
    for (const QString& f : input().split(QLatin1Char(';'), Qt::SkipEmptyParts))
        if (!f.trimmed().isEmpty()) out.push_back(local_path(f.trimmed()));
    return out;
}

QString BatchDialog::output() const {
    return output_->text().trimmed();
}

QSize BatchDialog::video_size() const {
    return width_ ? QSize(width_->value(), height_->value()) : QSize();
}

bool BatchDialog::recursive() const {
    return recursive_ && recursive_->isChecked();
}

bool BatchDialog::own_settings() const {
    return own_ && own_->isChecked();
}

}  // namespace velq::gui
