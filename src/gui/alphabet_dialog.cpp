#include "gui/alphabet_dialog.h"

#include <algorithm>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>

#include "gui/presenter.h"

namespace velq::gui {

namespace {
// The font styles, in the style box's order: bold is bit 0, italic bit 1.
const char* const kStyles[] = {"Regular", "Bold", "Italic", "Bold italic"};
const char* const kLayouts[] = {"Lines", "Packed", "Inverse"};
}  // namespace

AlphabetDialog::AlphabetDialog(Presenter& presenter, const AlphabetSettings& settings, QWidget* parent)
    : QDialog(parent), presenter_(presenter), settings_(settings) {
    setWindowTitle(QStringLiteral("Alphabet"));
    auto* form = new QFormLayout(this);
    text_ = new QPlainTextEdit(
        QString::fromStdString(settings.text.empty() ? kDefaultAlphabetText : settings.text), this);
    text_->setObjectName(QStringLiteral("text"));
    text_->setFixedHeight(90);
    form->addRow(QStringLiteral("Text"), text_);

    const bool named = !settings.face.empty();
    face_ = new QLabel(QString::fromStdString(named ? settings.face : kDefaultAlphabetFace), this);
    face_->setObjectName(QStringLiteral("face"));
    auto* font_button = new QPushButton(QStringLiteral("Font..."), this);
    font_button->setObjectName(QStringLiteral("font"));
    style_ = new QComboBox(this);
    style_->setObjectName(QStringLiteral("style"));
    for (const char* s : kStyles) style_->addItem(QString::fromLatin1(s));
    style_->setCurrentIndex(named ? int(settings.bold) | int(settings.italic) << 1 : 1);
    auto* font_row = new QHBoxLayout;
    font_row->addWidget(face_, 1);
    font_row->addWidget(style_);
    font_row->addWidget(font_button);
    form->addRow(QStringLiteral("Font"), font_row);

    layout_ = new QComboBox(this);
    layout_->setObjectName(QStringLiteral("layout"));
    for (const char* s : kLayouts) layout_->addItem(QString::fromLatin1(s));
    layout_->setCurrentIndex(std::clamp(settings.layout, 0, 2));
    form->addRow(QStringLiteral("Layout"), layout_);

    rows_ = new QSpinBox(this);
    rows_->setObjectName(QStringLiteral("rows"));
    rows_->setRange(0, kAlphabetRowsLimit);
    rows_->setSpecialValueText(QStringLiteral("From Max"));
    rows_->setValue(settings.rows);
    form->addRow(QStringLiteral("Rows"), rows_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &AlphabetDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &AlphabetDialog::reject);
    connect(font_button, &QPushButton::clicked, this, [this] {
        if (auto face = presenter_.choose_font(this, face_->text())) face_->setText(*face);
    });
}

AlphabetSettings AlphabetDialog::settings() const {
    AlphabetSettings a = settings_;
    const std::string text = text_->toPlainText().toStdString();
    a.text = text == kDefaultAlphabetText ? std::string() : text;
    const std::string face = face_->text().toStdString();
    const int style = style_->currentIndex();
    // The built-in face in bold is the default and is stored as such (all zero).
    const bool default_font = face == kDefaultAlphabetFace && style == 1;
    a.face = default_font ? std::string() : face;
    a.bold = !default_font && (style & 1);
    a.italic = !default_font && (style & 2);
    a.layout = layout_->currentIndex();
    a.rows = rows_->value();
    return a;
}

void AlphabetDialog::accept() {
    const AlphabetSettings a = settings();
    if (a.text.size() >= kAlphabetTextLimit) {
        presenter_.message(
            this,
            QStringLiteral("The alphabet text is too long (at most %1 bytes)").arg(kAlphabetTextLimit - 1));
        return;
    }
    QDialog::accept();
}

}  // namespace velq::gui
