#include "gui/logo_dialog.h"

#include <algorithm>

#include <QDialogButtonBox>
#include <QFile>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/units.h"
#include "gui/image_adapter.h"
#include "gui/presenter.h"
#include "image/file_types.h"

namespace velq::gui {

LogoDialog::LogoDialog(Presenter& presenter, std::function<int(const LogoChoice&)> apply,
                       std::function<int(const std::string&, const std::string&, UBUFFER&)> preview_text,
                       QWidget* parent)
    : QDialog(parent),
      presenter_(presenter),
      apply_(std::move(apply)),
      preview_text_(std::move(preview_text)) {
    setWindowTitle(QStringLiteral("Logo"));
    auto* grid = new QGridLayout(this);
    text_logo_ = new QRadioButton(QStringLiteral("Text logo"), this);
    image_logo_ = new QRadioButton(QStringLiteral("Image logo"), this);
    text_logo_->setChecked(true);
    text_ = new QLineEdit(QStringLiteral("Velquinograph"), this);
    auto* preview_button = new QPushButton(QStringLiteral("Preview"), this);
    face_ = new QLabel(QStringLiteral("Courier New"), this);
    auto* font_button = new QPushButton(QStringLiteral("Font..."), this);
    path_ = new QLineEdit(this);
    auto* browse = new QPushButton(QStringLiteral("Browse"), this);
    transparency_ = new QLineEdit(QStringLiteral("255"), this);
    preview_ = new QLabel(this);
    preview_->setFixedSize(360, 90);
    preview_->setAlignment(Qt::AlignCenter);
    preview_->setStyleSheet(QStringLiteral("background: #303030"));
    for (auto [w, name] : {std::pair<QWidget*, const char*>{text_logo_, "text_logo"},
                           {image_logo_, "image_logo"},
                           {text_, "text"},
                           {preview_button, "Preview"},
                           {face_, "face"},
                           {font_button, "font"},
                           {path_, "path"},
                           {browse, "Browse"},
                           {transparency_, "Transparency"},
                           {preview_, "preview"}})
        w->setObjectName(QString::fromLatin1(name));

    grid->addWidget(text_logo_, 0, 0);
    grid->addWidget(text_, 0, 1);
    grid->addWidget(preview_button, 0, 2);
    grid->addWidget(new QLabel(QStringLiteral("Font"), this), 1, 0);
    grid->addWidget(face_, 1, 1);
    grid->addWidget(font_button, 1, 2);
    grid->addWidget(image_logo_, 2, 0);
    grid->addWidget(path_, 2, 1);
    grid->addWidget(browse, 2, 2);
    grid->addWidget(new QLabel(QStringLiteral("Transparency"), this), 3, 0);
    grid->addWidget(transparency_, 3, 1);
    grid->addWidget(preview_, 4, 0, 1, 3, Qt::AlignCenter);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    grid->addWidget(buttons, 5, 0, 1, 3);

    connect(buttons, &QDialogButtonBox::accepted, this, &LogoDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &LogoDialog::reject);
    connect(preview_button, &QPushButton::clicked, this, &LogoDialog::preview);
    connect(font_button, &QPushButton::clicked, this, [this] {
        if (auto face = presenter_.choose_font(this, face_->text())) {
            face_->setText(*face);
            preview();
        }
    });
    connect(browse, &QPushButton::clicked, this, [this] {
        const std::string_view types = kLoadShapeTypes;
        const auto bar = types.find('|');
        const QString name = presenter_.open_file(
            this,
            {QString::fromUtf8(types.data(), qsizetype(types.size())),
             QString::fromUtf8(types.data() + bar + 1, qsizetype(types.size() - bar - 1))},
            path_->text());
        if (name.isEmpty()) return;
        path_->setText(name);
        image_logo_->setChecked(true);
        preview();
    });
    preview();
}

LogoChoice LogoDialog::choice() const {
    LogoChoice c;
    c.text = text_logo_->isChecked();
    c.text_line = text_->text().toStdString();
    c.face = face_->text().toStdString();
    c.path = QFile::encodeName(path_->text()).toStdString();
    c.transparency = std::clamp(parse_int(transparency_->text().toStdString()), 0, 255);
    return c;
}

void LogoDialog::preview() {
    QImage img;
    if (image_logo_->isChecked()) {
        img = QImage(path_->text());
    } else {
        UBUFFER drawn;
        if (preview_text_(text_->text().toStdString(), face_->text().toStdString(), drawn) == 0) {
            img = to_qimage(drawn);
        }
    }
    if (img.isNull()) {
        preview_->clear();
        return;
    }
    // A margin all round, so a logo that fills the width is not read as cut at the edges.
    const QSize room = preview_->size() - QSize(24, 16);
    preview_->setPixmap(QPixmap::fromImage(img.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
}

void LogoDialog::accept() {
    if (apply_(choice()) != 0) return;  // the message has been shown; let the user correct it
    QDialog::accept();
}

}  // namespace velq::gui
