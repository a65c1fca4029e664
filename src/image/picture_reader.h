// Reading a picture file into the program's picture: 8-bit BGRA with faint pixels cleared, plus the
// resolution the file records. The Document's Open, the shape and logo loaders and the tool all read
// pictures through this; it refuses absurd sizes and cut-off files before any pixel is decoded.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "image/buffer.h"
#include "image/picture_error.h"

namespace velq {

struct PictureRead {
    PictureError error = PictureError::None;
    UBUFFER picture;  // BGRA; present exactly when error is None
    int dpi = 0;      // the file's resolution (96 when it records none); 0 when its header is unreadable

    explicit operator bool() const { return error == PictureError::None; }
};

// Reads the file at `path`. Failures: Unreadable (missing, a folder, not a PNG, JPEG, BMP, TIFF or
// WebP picture, cut short, refused by the decoder), TooLarge (more than kMaxPicturePixels announced),
// OutOfMemory. The dpi is filled whenever the header could be read, even when decoding failed.
PictureRead read_picture(const std::string& path);

// The same for a file already in memory.
PictureRead decode_picture(std::span<const std::uint8_t> bytes);

}  // namespace velq
