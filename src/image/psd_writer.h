// The layered picture file that image editors open with every layer separate and named (".psd"):
// 8-bit RGB with alpha, the resolution, one record per layer cropped to its painted pixels, channels
// in PackBits, and the merged picture that readers without layers show.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "image/buffer.h"

namespace velq {

// The largest side the format takes; larger pictures are refused before anything is written.
inline constexpr int kMaxPsdSide = 30000;

struct PsdLayer {
    std::string name;  // UTF-8; shortened to 255 bytes where a reader takes the one-byte-length form
    bool hidden = false;
};

// Paints layer `index` into `picture` (BGRA with straight alpha, the merged picture's size; its
// bytes are undefined on entry). False abandons the file (stopped or failed).
using PsdLayerPainter = std::function<bool(int index, UBUFFER& picture)>;

enum class PsdResult { Written, TooLarge, Stopped, WriteFailed };

// "The picture is too large to be saved as Photoshop (.psd): W x H pixels, at most 30000 on a side".
std::string psd_too_large_message(int width, int height);

// Writes the file to `out` (open for writing and seekable), bottom layer first. `merged` is the
// picture itself (BGRA); dpi <= 0 stores 96. Only one layer picture is held at a time: each is
// painted, cropped and coded into a scratch file, and the records are written once all are known.
PsdResult write_psd(std::FILE* out, const UBUFFER& merged, int dpi, std::span<const PsdLayer> layers,
                    const PsdLayerPainter& paint);

}  // namespace velq
