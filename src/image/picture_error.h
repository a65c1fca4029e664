// Why reading or writing a picture file failed, and the message the user is shown for it. The file
// functions return the reason; whoever reports to the user (the Document's operations, the tool)
// turns it into text here, so the wording lives in one place.
#pragma once

#include <string>
#include <string_view>

namespace velq {

enum class PictureError {
    None,
    Unreadable,    // missing, not a regular file, not a picture, cut short, or refused by the decoder
    TooLarge,      // the header announces more pixels than we decode, or the file is beyond reading whole
    OutOfMemory,   // the picture's BGRA buffer could not be had
    UnknownType,   // writing: no encoder for the file name's extension
    EmptyPicture,  // writing: there is no picture
    EncodeFailed,  // writing: the encoder refused the picture
    WriteFailed,   // writing: the file could not be written or put in place (the old one is intact)
};

// The message for a failure on `path`; empty for PictureError::None.
std::string picture_error_message(PictureError error, std::string_view path);

}  // namespace velq
