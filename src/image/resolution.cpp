#include "image/resolution.h"

#include <climits>
#include <optional>

#include "image/bytes.h"
#include "image/file_bytes.h"
#include "image/picture_header.h"
#include "image/psd_reader.h"
#include "image/tiff_ifd.h"

namespace velq {
namespace {

constexpr bool kBig = true, kLittle = false;

// TIFF and EXIF resolution units.
constexpr std::uint32_t kUnitInch = 2, kUnitCm = 3;  // 1 means an aspect ratio only

// A resolution that truncates to 0 is no resolution at all: 0 means "unreadable" to callers.
std::optional<int> usable(int dpi) {
    if (dpi <= 0) return std::nullopt;
    return dpi;
}

// XResolution with ResolutionUnit (inch when absent) from a TIFF directory.
std::optional<int> tiff_dpi(Bytes tiff) {
    const auto ifd = TiffIfd::first(tiff);
    if (!ifd) return std::nullopt;
    const auto x = ifd->rational(TiffIfd::kXResolution);
    if (!x) return std::nullopt;
    const std::uint32_t unit = ifd->integer(TiffIfd::kResolutionUnit).value_or(kUnitInch);
    if (unit == kUnitInch) return usable(dpi_from_per_inch(x->num, x->den));
    if (unit == kUnitCm) return usable(dpi_from_per_cm(x->num, x->den));
    return std::nullopt;
}

// An EXIF block: "Exif\0\0" followed by a TIFF structure.
std::optional<int> exif_dpi(Bytes exif) {
    if (exif.starts_with(0, std::string_view("Exif\0\0", 6))) exif = exif.from(6);
    return tiff_dpi(exif);
}

std::optional<int> jpeg_dpi(Bytes b) {
    std::optional<int> jfif, exif;
    std::size_t at = 2;
    // Resolution segments come before the first scan; walk the headers up to it.
    while (b.u8(at) == 0xFF) {
        while (b.u8(at) == 0xFF) ++at;
        const auto m = b.u8(at++);
        if (!m || *m == 0xDA || *m == 0xD9) break;
        if (*m == 0x01 || (*m >= 0xD0 && *m <= 0xD8)) continue;
        const auto len = b.u16(at, kBig);
        if (!len || *len < 2) break;
        const Bytes seg = b.sub(at + 2, *len - 2);
        if (*m == 0xE0 && !jfif && seg.starts_with(0, std::string_view("JFIF\0", 5))) {
            const auto units = seg.u8(7);
            const auto x = seg.u16(8, kBig);
            if (units && x) {
                if (*units == 1) jfif = usable(dpi_from_per_inch(*x, 1));
                if (*units == 2) jfif = usable(dpi_from_per_cm(*x, 1));
            }
        } else if (*m == 0xE1 && !exif && seg.starts_with(0, std::string_view("Exif\0\0", 6))) {
            exif = exif_dpi(seg);
        }
        at += *len;
    }
    if (exif) return exif;
    return jfif;
}

std::optional<int> png_dpi(Bytes b) {
    std::optional<int> exif;
    std::size_t at = 8;
    while (b.has(at, 8)) {
        const std::uint32_t len = *b.u32(at, kBig);
        const Bytes type = b.sub(at + 4, 4);
        const Bytes data = b.sub(at + 8, len);
        if (type.starts_with(0, "pHYs")) {
            const auto x = data.u32(0, kBig);
            const auto unit = data.u8(8);
            if (x && unit == 1) return usable(dpi_from_per_metre(*x));
            return std::nullopt;  // unit 0: an aspect ratio only
        }
        if (type.starts_with(0, "eXIf") && !exif) exif = exif_dpi(data);
        if (type.starts_with(0, "IDAT") || type.starts_with(0, "IEND")) break;
        at += std::size_t(len) + 12;
    }
    return exif;
}

std::optional<int> bmp_dpi(Bytes b) {
    const auto info_size = b.u32(14, kLittle);
    if (!info_size || *info_size < 40) return std::nullopt;  // the core header has no resolution
    const auto x = b.u32(38, kLittle);
    if (!x || std::int32_t(*x) <= 0) return std::nullopt;
    return usable(dpi_from_per_metre(*x));
}

std::optional<int> webp_dpi(Bytes b) {
    // Only the extended layout carries metadata: chunks after VP8X, each padded to even length.
    if (!b.starts_with(12, "VP8X")) return std::nullopt;
    std::size_t at = 12;
    while (b.has(at, 8)) {
        const std::uint32_t len = *b.u32(at + 4, kLittle);
        if (b.starts_with(at, "EXIF")) return exif_dpi(b.sub(at + 8, len));
        at += 8 + std::size_t(len) + (len & 1);
    }
    return std::nullopt;
}

int saturate(std::uint64_t v) {
    return v > std::uint64_t(INT_MAX) ? INT_MAX : int(v);
}

}  // namespace

int dpi_from_per_inch(std::uint32_t num, std::uint32_t den) {
    return den == 0 ? 0 : saturate(num / den);
}

int dpi_from_per_cm(std::uint32_t num, std::uint32_t den) {
    // 2.54 centimetres to the inch, in integers so 118 per cm is exactly 299.72 -> 299.
    return den == 0 ? 0 : saturate(std::uint64_t(num) * 254 / (std::uint64_t(den) * 100));
}

int dpi_from_per_metre(std::uint32_t per_metre) {
    return saturate(std::uint64_t(per_metre) * 254 / 10000);
}

std::uint32_t per_metre_from_dpi(int dpi) {
    if (dpi <= 0) return 0;
    // ceil(dpi / 0.0254): 300 dpi is stored as 11812, which reads back as 300 (11811 would not).
    const std::uint64_t v = (std::uint64_t(dpi) * 10000 + 253) / 254;
    return v > 0xFFFFFFFFu ? 0xFFFFFFFFu : std::uint32_t(v);
}

int read_dpi(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    const PictureHeader header = read_picture_header(bytes);
    if (!header.sized()) return 0;
    std::optional<int> dpi;
    switch (header.format) {
        case PictureFormat::Png:
            dpi = png_dpi(b);
            break;
        case PictureFormat::Jpeg:
            dpi = jpeg_dpi(b);
            break;
        case PictureFormat::Bmp:
            dpi = bmp_dpi(b);
            break;
        case PictureFormat::Tiff:
            dpi = tiff_dpi(b);
            break;
        case PictureFormat::WebP:
            dpi = webp_dpi(b);
            break;
        case PictureFormat::Psd:
            dpi = psd_dpi(bytes);
            break;
        case PictureFormat::Unknown:
            return 0;
    }
    return dpi.value_or(kDefaultDpi);
}

int read_dpi(const std::string& path) {
    FileBytes file = read_file_bytes(path);
    if (!file) return 0;
    return read_dpi(file.bytes);
}

}  // namespace velq
