// What a picture file says about itself before any pixel is decoded: its format (from its first
// bytes, as the decoders themselves recognise it), its size (from its header) and, for JPEG, whether
// its compressed data reaches the end-of-image marker. The reader refuses absurd sizes and cut-off
// files with this, so no decoder ever sees them.
#pragma once

#include <cstdint>
#include <span>

namespace velq {

enum class PictureFormat { Unknown, Png, Jpeg, Bmp, Tiff, WebP, Psd };

// Largest picture we decode: 2^28 pixels (a 16384 x 16384 square). Its BGRA copy alone is 1 GiB.
inline constexpr std::int64_t kMaxPicturePixels = std::int64_t(1) << 28;

struct PictureHeader {
    PictureFormat format = PictureFormat::Unknown;
    std::int64_t width = 0, height = 0;  // both positive when the header could be read

    bool sized() const { return width > 0 && height > 0; }
    bool too_large() const { return width * height > kMaxPicturePixels; }
};

// The format, by signature: PNG, JPEG, BMP, TIFF (classic, either byte order), WebP and the
// layered files we write (PSD, version 1).
PictureFormat sniff_picture_format(std::span<const std::uint8_t> bytes);

// Format and size from the header; a header that is cut short or malformed leaves the size 0.
PictureHeader read_picture_header(std::span<const std::uint8_t> bytes);

// True when a JPEG stream, walked marker by marker and through its compressed data, reaches its
// end-of-image marker after at least one scan. Bytes after that marker are ignored.
bool jpeg_is_complete(std::span<const std::uint8_t> bytes);

}  // namespace velq
