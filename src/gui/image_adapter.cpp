#include "gui/image_adapter.h"

#include <cstring>

namespace velq::gui {

QImage bgra_to_qimage(const std::uint8_t* bgra, int width, int height) {
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "ARGB32 is stored as B, G, R, A only on little-endian");
    QImage img(width, height, QImage::Format_ARGB32);
    if (img.isNull()) return img;
    for (int y = 0; y < height; ++y)
        std::memcpy(img.scanLine(y), bgra + std::size_t(y) * width * 4, std::size_t(width) * 4);
    return img;
}

QImage to_qimage(const UBUFFER& b) {
    if (!b || b.channels() != 4) return {};
    return bgra_to_qimage(b.data(), b.width(), b.height());
}

UBUFFER from_qimage(const QImage& image) {
    UBUFFER out;
    if (image.isNull()) return out;
    const QImage img = image.convertToFormat(QImage::Format_ARGB32);
    if (!out.allocate(img.width(), img.height(), 4, Init::Uninitialised)) return out;
    for (int y = 0; y < img.height(); ++y)
        std::memcpy(out.row(y), img.constScanLine(y), std::size_t(img.width()) * 4);
    return out;
}

}  // namespace velq::gui
