// The dialog of Run > Spike drawing: which drawing (pebble or crystal cells, web or burst spikes),
// whose layer's circles and colours, and its numbers. OK hands the choice on; numbers that cannot be
// used are said and keep the dialog open.
#pragma once

#include <QDialog>

#include "render/drawing.h"

class QComboBox;
class QLineEdit;
class QPushButton;

namespace velq::gui {

class Presenter;

class DrawingDialog : public QDialog {
    Q_OBJECT
public:
    DrawingDialog(Presenter& presenter, const Drawing& initial, QWidget* parent = nullptr);

    Drawing drawing() const;

protected:
    void accept() override;

private:
    void show_colour();

    Presenter& presenter_;
    std::uint32_t lead_colour_ = 0;
    QComboBox* kind_ = nullptr;
    QComboBox* layer_ = nullptr;
    QLineEdit* spike_width_ = nullptr;
    QLineEdit* burst_ = nullptr;
    QLineEdit* lead_ = nullptr;
    QPushButton* colour_ = nullptr;
};

}  // namespace velq::gui
