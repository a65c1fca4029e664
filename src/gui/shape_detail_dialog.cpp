#include "gui/shape_detail_dialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/document.h"
#include "gui/image_adapter.h"

namespace velq::gui {

ShapeDetailDialog::ShapeDetailDialog(Document& doc, QWidget* parent) : QDialog(parent), doc_(doc) {
    setWindowTitle(QStringLiteral("Shape Detail"));
    setObjectName(QStringLiteral("ShapeDetail"));
    auto* box = new QVBoxLayout(this);
    picture_ = new QLabel(this);
    picture_->setObjectName(QStringLiteral("picture"));
    picture_->setFixedSize(320, 320);
    picture_->setAlignment(Qt::AlignCenter);
    picture_->setStyleSheet(QStringLiteral("background: #202020"));
    box->addWidget(picture_);
    auto* buttons = new QHBoxLayout;
    auto* prev = new QPushButton(QStringLiteral("PREV"), this);
    auto* next = new QPushButton(QStringLiteral("NEXT"), this);
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    prev->setObjectName(QStringLiteral("PREV"));
    next->setObjectName(QStringLiteral("NEXT"));
    close->setObjectName(QStringLiteral("Close"));
    buttons->addWidget(prev);
    buttons->addWidget(next);
    buttons->addStretch(1);
    buttons->addWidget(close);
    box->addLayout(buttons);
    connect(prev, &QPushButton::clicked, this, [this] { step(-1); });
    connect(next, &QPushButton::clicked, this, [this] { step(1); });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    show_current();
}

void ShapeDetailDialog::step(int by) {
    const int li = doc_.selected_layer;
    if (li < 0 || li >= int(doc_.layers.size())) return;
    Layer& layer = doc_.layers[li];
    const int n = int(layer.shapes.size());
    if (n == 0) return;
    int c = layer.shape_cursor + by;
    if (c < 0) c = n - 1;
    if (c >= n) c = 0;
    layer.shape_cursor = c;
    layer.current = layer.shapes[c].get();
    show_current();
    setWindowTitle(QStringLiteral("Shape - %1/%2").arg(c).arg(n));
}

void ShapeDetailDialog::show_current() {
    const int li = doc_.selected_layer;
    if (li < 0 || li >= int(doc_.layers.size())) return;
    const Layer& layer = doc_.layers[li];
    const SHAPE* shape = layer.current;
    if (!shape && !layer.shapes.empty()) shape = layer.shapes.front().get();
    if (!shape) {
        picture_->clear();
        return;
    }
    const QImage img = to_qimage(shape->preview());
    picture_->setPixmap(
        QPixmap::fromImage(img.scaled(picture_->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
}

}  // namespace velq::gui
