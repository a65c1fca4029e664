// The dialogs of the three batch runs: Image cycling (a picture and the filters), Cycling (the
// motions, scan orders and video size of the result's animation) and ROI render (folders of
// pictures). Each asks for an output folder; the check boxes show and keep the cycling selections.
#pragma once

#include <array>
#include <vector>

#include <QDialog>
#include <QSize>

#include "app/batch_job.h"

class QCheckBox;
class QLineEdit;
class QSpinBox;

namespace velq::gui {

class BatchDialog : public QDialog {
    Q_OBJECT
public:
    enum class Kind { ImageCycling, AnimationCycling, RoiRender };
    // `input`: the picture (Image cycling) or folders separated by ';' (ROI render) offered at first.
    BatchDialog(Kind kind, const CyclingSelections& chosen, const QString& input, const QString& output,
                QSize video, QWidget* parent = nullptr);

    CyclingSelections selections() const;
    QString input() const;
    std::vector<std::string> folders() const;  // ROI render: the folders typed, in order
    QString output() const;
    QSize video_size() const;
    bool recursive() const;
    bool own_settings() const;

private:
    CyclingSelections chosen_;
    std::array<QCheckBox*, 21> boxes_{};
    QLineEdit* input_ = nullptr;
    QLineEdit* output_ = nullptr;
    QSpinBox* width_ = nullptr;
    QSpinBox* height_ = nullptr;
    QCheckBox* recursive_ = nullptr;
    QCheckBox* own_ = nullptr;
};

}  // namespace velq::gui
