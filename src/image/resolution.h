// The resolution a picture file records, in dots per inch: what the program shows as DPI after Open
// and uses to turn inches and centimetres into pixels. Read from JFIF density, EXIF resolution
// (preferred when a JPEG has both), PNG pHYs, the BMP header or the TIFF tags.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace velq {

// What a picture without a resolution of its own (or with an aspect ratio only) reads as.
inline constexpr int kDefaultDpi = 96;

// Horizontal resolution, truncated to whole dots per inch (11811 pixels per metre reads as 299).
// kDefaultDpi when the picture records none, 0 when the bytes are not a picture we know or its
// header cannot be read.
int read_dpi(std::span<const std::uint8_t> bytes);

// The same for a file; 0 when it cannot be read.
int read_dpi(const std::string& path);

// Whole dots per inch from a density and its unit, truncated, saturated to the int range;
// 0 when the density is not positive.
int dpi_from_per_inch(std::uint32_t num, std::uint32_t den);
int dpi_from_per_cm(std::uint32_t num, std::uint32_t den);
int dpi_from_per_metre(std::uint32_t per_metre);

// The pixels-per-metre value that stores `dpi`: the smallest one that reads back as `dpi`.
std::uint32_t per_metre_from_dpi(int dpi);

}  // namespace velq
