// Reading the merged picture of a layered ".psd" file (8-bit RGB, with or without alpha), so that a
// result saved with its layers opens again like any other picture. Layers are not read: the merged
// picture is what the file shows.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image/buffer.h"
#include "image/picture_error.h"

namespace velq {

// True for the signature and version 1 ("8BPS", 1).
bool is_psd(std::span<const std::uint8_t> bytes);

// The size from the header, 0 x 0 when the header is cut short or the file is not 8-bit RGB.
void psd_size(std::span<const std::uint8_t> bytes, std::int64_t& width, std::int64_t& height);

// The horizontal resolution of the resolution resource; nothing when the file has none.
std::optional<int> psd_dpi(std::span<const std::uint8_t> bytes);

// The merged picture into `out` (BGRA, opaque when the file has no alpha). Unreadable for anything
// malformed or cut short, OutOfMemory when the picture's memory cannot be had.
PictureError decode_psd(std::span<const std::uint8_t> bytes, UBUFFER& out);

}  // namespace velq
