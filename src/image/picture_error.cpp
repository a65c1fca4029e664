#include "image/picture_error.h"

namespace velq {
namespace {

// The "%s - (%s)" form the reader's messages take: what failed, then the file.
std::string with_path(std::string_view what, std::string_view path) {
    std::string s;
    s.reserve(what.size() + path.size() + 5);
    s.append(what).append(" - (").append(path).append(")");
    return s;
}

}  // namespace

std::string picture_error_message(PictureError error, std::string_view path) {
    switch (error) {
        case PictureError::None:
            return {};
        case PictureError::Unreadable:
            return with_path("Invalid filename in read_image", path);
        case PictureError::TooLarge:
            return with_path("Too large picture in read_image", path);
        case PictureError::OutOfMemory:
            return "Failed to read image";
        case PictureError::UnknownType:
            return "Failed to GetEncoderClsid()";
        case PictureError::EmptyPicture:
            return "Failed to create mat in write_image()";
        case PictureError::EncodeFailed:
            return with_path("Failed to encode image in write_image", path);
        case PictureError::WriteFailed:
            return with_path("Failed to write image in write_image", path);
    }
    return {};
}

}  // namespace velq
