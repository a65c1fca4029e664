#include "gui/passage_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

#include "gui/presenter.h"

namespace velq::gui {

PassageDialog::PassageDialog(Presenter& presenter, const PassageChoice& initial, QWidget* parent)
    : QDialog(parent), presenter_(presenter) {
    setWindowTitle(QStringLiteral("Passage"));
    auto* grid = new QGridLayout(this);
    text_ = new QPlainTextEdit(QString::fromStdU16String(initial.text), this);
    text_->setMinimumSize(420, 140);
    face_ = new QLabel(QString::fromStdString(initial.font.face), this);
    auto* font_button = new QPushButton(QStringLiteral("Font..."), this);
    bold_ = new QCheckBox(QStringLiteral("Bold"), this);
    bold_->setChecked(initial.font.weight >= 600);
    italic_ = new QCheckBox(QStringLiteral("Italic"), this);
    italic_->setChecked(initial.font.italic);
    style_ = new QComboBox(this);
    for (int i = 0; i < kPassageStyleCount; ++i) {
        const std::string_view name = passage_style_name(PassageStyle(i));
        style_->addItem(QString::fromUtf8(name.data(), qsizetype(name.size())));
    }
    style_->setCurrentIndex(int(initial.style));
    case_folding_ = new QCheckBox(QStringLiteral("Case folding"), this);
    case_folding_->setChecked(initial.case_folding);
    skip_blanks_ = new QCheckBox(QStringLiteral("Skip blanks"), this);
    skip_blanks_->setChecked(!initial.keep_blanks);
    for (auto [w, name] : {std::pair<QWidget*, const char*>{text_, "text"},
                           {face_, "face"},
                           {font_button, "font"},
                           {bold_, "bold"},
                           {italic_, "italic"},
                           {style_, "style"},
                           {case_folding_, "case_folding"},
                           {skip_blanks_, "skip_blanks"}})
        w->setObjectName(QString::fromLatin1(name));

    grid->addWidget(new QLabel(QStringLiteral("Text"), this), 0, 0, Qt::AlignTop);
    grid->addWidget(text_, 0, 1, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("Font"), this), 1, 0);
    grid->addWidget(face_, 1, 1);
    grid->addWidget(bold_, 1, 2);
    grid->addWidget(italic_, 1, 3);
    grid->addWidget(font_button, 2, 1);
    grid->addWidget(new QLabel(QStringLiteral("Style"), this), 3, 0);
    grid->addWidget(style_, 3, 1);
    grid->addWidget(case_folding_, 4, 1);
    grid->addWidget(skip_blanks_, 4, 2, 1, 2);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    grid->addWidget(buttons, 5, 0, 1, 4);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(font_button, &QPushButton::clicked, this, [this] {
        if (auto face = presenter_.choose_font(this, face_->text())) face_->setText(*face);
    });
}

PassageChoice PassageDialog::choice() const {
    PassageChoice c;
    c.text = text_->toPlainText().toStdU16String();
    c.font.face = face_->text().toStdString();
    c.font.weight = bold_->isChecked() ? 700 : 0;
    c.font.italic = italic_->isChecked();
    c.style = PassageStyle(style_->currentIndex());
    c.case_folding = case_folding_->isChecked();
    c.keep_blanks = !skip_blanks_->isChecked();
    return c;
}

}  // namespace velq::gui
