// Writing the program's pictures (8-bit BGRA) to files: the result with its resolution stamped
// (PNG, JPEG, BMP, TIFF), and the raw writer that forces alpha opaque. Files are written beside the
// target and renamed into place, so a failure never leaves a half-written file under the user's name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "image/buffer.h"
#include "image/picture_error.h"

namespace velq {

enum class PictureType { Unknown, Png, Jpeg, Bmp, Tiff };

// The encoder a file name asks for, by extension (any case; "jpg" or "jpeg", "tif" or "tiff").
PictureType picture_type_of(std::string_view path);

// Encodes a BGRA picture in memory with `dpi` stamped (not stamped when dpi <= 0, which reads back
// as 96). JPEG drops alpha; BMP keeps it in 32-bit pixels; PNG and TIFF keep it.
// Errors: EmptyPicture, UnknownType, EncodeFailed.
PictureError encode_picture(PictureType type, const UBUFFER& picture, int dpi,
                            std::vector<std::uint8_t>& out);

// encode_picture by the extension of `path`, then written in place of `path`. Adds WriteFailed.
PictureError write_picture(const std::string& path, const UBUFFER& picture, int dpi);

// Any extension the encoders know (PNG, JPEG, BMP, TIFF, WebP, ...), no resolution, alpha forced to
// 255, the encoder's defaults. Errors: EmptyPicture, UnknownType, EncodeFailed, WriteFailed.
PictureError write_raw(const std::string& path, const UBUFFER& picture);

}  // namespace velq
