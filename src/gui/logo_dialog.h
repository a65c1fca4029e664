// The logo dialog of "Load logo": a line of text in a chosen font or a picture file, its
// transparency, and a preview. OK hands the choice to the Document; a refused choice keeps the
// dialog open so the user can correct it.
#pragma once

#include <functional>

#include <QDialog>

#include "app/logo_choice.h"

class QLabel;
class QLineEdit;
class QRadioButton;

namespace velq::gui {

class Presenter;

class LogoDialog : public QDialog {
    Q_OBJECT
public:
    // `apply` takes the choice on OK and returns 0 when it was taken; `preview_text` draws a line of
    // text in a face into a BGRA picture (0 on success).
    LogoDialog(
        Presenter& presenter, std::function<int(const LogoChoice&)> apply,
        std::function<int(const std::string& text, const std::string& face, UBUFFER& out)> preview_text,
        QWidget* parent = nullptr);

    LogoChoice choice() const;
    void preview();

protected:
    void accept() override;

private:
    Presenter& presenter_;
    std::function<int(const LogoChoice&)> apply_;
    std::function<int(const std::string&, const std::string&, UBUFFER&)> preview_text_;
    QRadioButton* text_logo_ = nullptr;
    QRadioButton* image_logo_ = nullptr;
    QLineEdit* text_ = nullptr;
    QLineEdit* path_ = nullptr;
    QLineEdit* transparency_ = nullptr;
    QLabel* face_ = nullptr;
    QLabel* preview_ = nullptr;
};

}  // namespace velq::gui
