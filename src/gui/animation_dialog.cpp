#include "gui/animation_dialog.h"

#include <algorithm>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QSpinBox>

namespace velq::gui {

AnimationDialog::AnimationDialog(const AnimationSettings& settings, QWidget* parent)
    : QDialog(parent), base_(settings) {
    setWindowTitle(QStringLiteral("Animation settings"));
    auto* form = new QFormLayout(this);
    motion_ = new QComboBox(this);
    motion_->setObjectName(QStringLiteral("motion"));
    for (auto name : kMotionNames) motion_->addItem(QString::fromUtf8(name.data(), qsizetype(name.size())));
    scan_ = new QComboBox(this);
    scan_->setObjectName(QStringLiteral("scan"));
    for (auto name : kScanNames) scan_->addItem(QString::fromUtf8(name.data(), qsizetype(name.size())));
    auto seconds = [this](const char* name, double value) {
        auto* box = new QDoubleSpinBox(this);
        box->setObjectName(QString::fromLatin1(name));
        box->setRange(0.0, 200.0);
        box->setDecimals(3);
        box->setSuffix(QStringLiteral(" s"));
        box->setValue(value);
        return box;
    };
    duration_ = seconds("duration", settings.duration);
    motion_time_ = seconds("motion_time", settings.motion_time);
    timestamp_ = seconds("timestamp", settings.timestamp);
    count_ = new QSpinBox(this);
    count_->setObjectName(QStringLiteral("count"));
    count_->setRange(0, 1000);
    count_->setValue(settings.count);
    motion_->setCurrentIndex(std::clamp(settings.motion, 0, motion_->count() - 1));
    scan_->setCurrentIndex(std::clamp(settings.scan, 0, scan_->count() - 1));

    form->addRow(QStringLiteral("Motion"), motion_);
    form->addRow(QStringLiteral("Scan order"), scan_);
    form->addRow(QStringLiteral("Timestamp"), timestamp_);
    form->addRow(QStringLiteral("Duration"), duration_);
    form->addRow(QStringLiteral("Motion time"), motion_time_);
    form->addRow(QStringLiteral("Count"), count_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

AnimationSettings AnimationDialog::settings() const {
    AnimationSettings s = base_;
    s.motion = motion_->currentIndex();
    s.scan = scan_->currentIndex();
    s.duration = duration_->value();
    s.motion_time = motion_time_->value();
    s.timestamp = timestamp_->value();
    s.count = count_->value();
    return s;
}

}  // namespace velq::gui
