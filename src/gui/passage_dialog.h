// The passage dialog of "Load shapes from > Passage" and "Change passage": the text (several lines),
// the font (face, bold, italic), the render style, case folding and skipping blanks.
#pragma once

#include <QDialog>

#include "render/passage_shapes.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPlainTextEdit;

namespace velq::gui {

class Presenter;

class PassageDialog : public QDialog {
    Q_OBJECT
public:
    PassageDialog(Presenter& presenter, const PassageChoice& initial, QWidget* parent = nullptr);

    PassageChoice choice() const;

private:
    Presenter& presenter_;
    QPlainTextEdit* text_ = nullptr;
    QLabel* face_ = nullptr;
    QCheckBox* bold_ = nullptr;
    QCheckBox* italic_ = nullptr;
    QComboBox* style_ = nullptr;
    QCheckBox* case_folding_ = nullptr;
    QCheckBox* skip_blanks_ = nullptr;
};

}  // namespace velq::gui
