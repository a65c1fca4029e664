// Writes a resolution into a picture the encoder has just produced in memory: the JFIF density of a
// JPEG, the pHYs chunk of a PNG, the pixels-per-metre fields of a BMP. (TIFF gets its resolution
// tags from the encoder itself.) Each returns false, leaving the bytes untouched, when the picture
// does not have the layout it expects.
#pragma once

#include <cstdint>
#include <vector>

namespace velq {

// JFIF units 1 (dots per inch) with both densities = dpi (at most 65535); a JFIF segment is added
// after SOI when the stream has none.
bool stamp_jpeg_dpi(std::vector<std::uint8_t>& jpeg, int dpi);

// A pHYs chunk in pixels per metre (unit 1), right after IHDR, replacing any before the image data.
bool stamp_png_dpi(std::vector<std::uint8_t>& png, int dpi);

// biXPelsPerMeter and biYPelsPerMeter of a BMP with an info header of 40 bytes or more.
bool stamp_bmp_dpi(std::vector<std::uint8_t>& bmp, int dpi);

// The CRC of PNG chunks (ISO 3309, as zlib computes it) over `n` bytes.
std::uint32_t png_crc(const std::uint8_t* data, std::size_t n);

}  // namespace velq
