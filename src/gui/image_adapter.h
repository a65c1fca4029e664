// The one place where pictures cross between the library and Qt: a BGRA UBUFFER becomes a QImage
// (a deep copy, so the library may free or rewrite its buffer at once) and back.
#pragma once

#include <cstdint>

#include <QImage>

#include "image/buffer.h"

namespace velq::gui {

// A copy of BGRA rows as an ARGB32 image (same byte order in memory on little-endian machines).
QImage bgra_to_qimage(const std::uint8_t* bgra, int width, int height);
// A 4-channel buffer as an image; a null image when the buffer is absent or not 4 channels.
QImage to_qimage(const UBUFFER& buffer);
// An image as a 4-channel BGRA buffer (absent for a null image).
UBUFFER from_qimage(const QImage& image);

}  // namespace velq::gui
