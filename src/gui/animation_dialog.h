// The Animation settings dialog of "Set animation": the selected layer's motion kind, scan order and
// timing numbers, edited in place when the user confirms.
#pragma once

#include <QDialog>

#include "render/animation_settings.h"

class QComboBox;
class QDoubleSpinBox;
class QSpinBox;

namespace velq::gui {

class AnimationDialog : public QDialog {
    Q_OBJECT
public:
    AnimationDialog(const AnimationSettings& settings, QWidget* parent = nullptr);
    // The settings as the dialog shows them.
    AnimationSettings settings() const;

private:
    AnimationSettings base_;
    QComboBox* motion_ = nullptr;
    QComboBox* scan_ = nullptr;
    QDoubleSpinBox* duration_ = nullptr;
    QSpinBox* count_ = nullptr;
    QDoubleSpinBox* motion_time_ = nullptr;
    QDoubleSpinBox* timestamp_ = nullptr;
};

}  // namespace velq::gui
