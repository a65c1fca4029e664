// The dialog of Transform > Alphabet: the text to set, its font, the layout and the rows of the
// Lines layout. OK starts the transform with these settings; Cancel leaves everything as it was.
#pragma once

#include <QDialog>

#include "app/settings.h"

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QSpinBox;

namespace velq::gui {

class Presenter;

class AlphabetDialog : public QDialog {
    Q_OBJECT
public:
    AlphabetDialog(Presenter& presenter, const AlphabetSettings& settings, QWidget* parent = nullptr);

    AlphabetSettings settings() const;

protected:
    void accept() override;

private:
    Presenter& presenter_;
    AlphabetSettings settings_;
    QPlainTextEdit* text_ = nullptr;
    QLabel* face_ = nullptr;
    QComboBox* style_ = nullptr;
    QComboBox* layout_ = nullptr;
    QSpinBox* rows_ = nullptr;
};

}  // namespace velq::gui
