#include "image/picture_header.h"

#include <cstring>

#include "image/bytes.h"
#include "image/psd_reader.h"
#include "image/tiff_ifd.h"

namespace velq {
namespace {

constexpr bool kBig = true, kLittle = false;

// JPEG markers that stand alone, without a length field.
bool standalone_marker(std::uint8_t m) {
    return m == 0x01 || (m >= 0xD0 && m <= 0xD8);
}

// Start-of-frame markers: C0..CF except DHT (C4), JPG (C8) and DAC (CC).
bool frame_marker(std::uint8_t m) {
    return m >= 0xC0 && m <= 0xCF && m != 0xC4 && m != 0xC8 && m != 0xCC;
}

PictureHeader png_header(Bytes b) {
    PictureHeader h{PictureFormat::Png};
    if (!b.starts_with(12, "IHDR")) return h;
    const auto w = b.u32(16, kBig), ht = b.u32(20, kBig);
    // PNG sizes are at most 2^31 - 1.
    if (w && ht && *w < 0x80000000u && *ht < 0x80000000u) {
        h.width = *w;
        h.height = *ht;
    }
    return h;
}

PictureHeader bmp_header(Bytes b) {
    PictureHeader h{PictureFormat::Bmp};
    const auto info_size = b.u32(14, kLittle);
    if (!info_size) return h;
    if (*info_size == 12) {  // the old core header: 16-bit sizes
        const auto w = b.u16(18, kLittle), ht = b.u16(20, kLittle);
        if (w && ht) {
            h.width = *w;
            h.height = *ht;
        }
        return h;
    }
    if (*info_size < 16) return h;
    const auto w = b.u32(18, kLittle), ht = b.u32(22, kLittle);
    if (!w || !ht) return h;
    // Height is negative for top-down rows.
    const std::int64_t sw = std::int32_t(*w), sh = std::int32_t(*ht);
    h.width = sw;
    h.height = sh < 0 ? -sh : sh;
    return h;
}

PictureHeader tiff_header(Bytes b) {
    PictureHeader h{PictureFormat::Tiff};
    const auto ifd = TiffIfd::first(b);
    if (!ifd) return h;
    const auto w = ifd->integer(TiffIfd::kImageWidth), ht = ifd->integer(TiffIfd::kImageLength);
    if (w && ht) {
        h.width = *w;
        h.height = *ht;
    }
    return h;
}

PictureHeader webp_header(Bytes b) {
    PictureHeader h{PictureFormat::WebP};
    if (b.starts_with(12, "VP8X")) {
        const auto w = b.u24le(24), ht = b.u24le(27);
        if (w && ht) {
            h.width = std::int64_t(*w) + 1;
            h.height = std::int64_t(*ht) + 1;
        }
    } else if (b.starts_with(12, "VP8L")) {
        const auto sig = b.u8(20);
        const auto bits = b.u32(21, kLittle);
        if (sig == 0x2F && bits) {
            h.width = std::int64_t(*bits & 0x3FFF) + 1;
            h.height = std::int64_t((*bits >> 14) & 0x3FFF) + 1;
        }
    } else if (b.starts_with(12, "VP8 ")) {
        // A key frame: 3-byte frame tag, start code 9D 01 2A, then 14-bit sizes.
        if (b.u8(23) == 0x9D && b.u8(24) == 0x01 && b.u8(25) == 0x2A) {
            const auto w = b.u16(26, kLittle), ht = b.u16(28, kLittle);
            if (w && ht) {
                h.width = *w & 0x3FFF;
                h.height = *ht & 0x3FFF;
            }
        }
    }
    return h;
}

// Walks the marker segments of a JPEG stream from just after SOI. For each segment with a length,
// calls visit(marker, payload); stops when visit returns false. Compressed data after SOS is
// stepped over. Returns true when EOI was reached after a scan.
template <class Visit>
bool walk_jpeg(Bytes b, Visit&& visit) {
    std::size_t at = 2;
    bool scanned = false;
    const std::uint8_t* data = b.data();
    const std::size_t n = b.size();
    while (at < n) {
        if (data[at] != 0xFF) return false;
        while (at < n && data[at] == 0xFF) ++at;  // fill bytes
        if (at >= n) return false;
        const std::uint8_t m = data[at++];
        if (m == 0xD9) return scanned;
        if (standalone_marker(m)) continue;
        const auto len = b.u16(at, kBig);
        if (!len || *len < 2 || !b.has(at, *len)) return false;
        if (!visit(m, b.sub(at + 2, *len - 2))) return false;
        at += *len;
        if (m != 0xDA) continue;
        // Compressed data: runs until a marker other than a stuffed zero or a restart marker.
        scanned = true;
        for (;;) {
            const void* ff = at < n ? std::memchr(data + at, 0xFF, n - at) : nullptr;
            if (!ff) return false;
            at = std::size_t(static_cast<const std::uint8_t*>(ff) - data);
            if (at + 1 >= n) return false;
            const std::uint8_t next = data[at + 1];
            if (next == 0x00 || (next >= 0xD0 && next <= 0xD7) || next == 0xFF) {
                at += next == 0xFF ? 1 : 2;
                continue;
            }
            break;  // a real marker: back to the segment walk
        }
    }
    return false;
}

PictureHeader jpeg_header(Bytes b) {
    PictureHeader h{PictureFormat::Jpeg};
    walk_jpeg(b, [&](std::uint8_t m, Bytes seg) {
        if (!frame_marker(m)) return m != 0xDA;  // a scan before any frame: malformed
        const auto ht = seg.u16(1, kBig), w = seg.u16(3, kBig);
        if (w && ht) {
            h.width = *w;
            h.height = *ht;
        }
        return false;
    });
    return h;
}

}  // namespace

PictureFormat sniff_picture_format(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    if (b.starts_with(0, "\x89PNG\r\n\x1a\n")) return PictureFormat::Png;
    if (b.has(0, 3) && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF) return PictureFormat::Jpeg;
    if (b.starts_with(0, "BM")) return PictureFormat::Bmp;
    if (b.starts_with(0, "II*") && b.u8(3) == 0) return PictureFormat::Tiff;
    if (b.starts_with(0, "MM") && b.u8(2) == 0 && b.u8(3) == '*') return PictureFormat::Tiff;
    if (b.starts_with(0, "RIFF") && b.starts_with(8, "WEBP")) return PictureFormat::WebP;
    if (is_psd(bytes)) return PictureFormat::Psd;
    return PictureFormat::Unknown;
}

PictureHeader read_picture_header(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    switch (sniff_picture_format(bytes)) {
        case PictureFormat::Png:
            return png_header(b);
        case PictureFormat::Jpeg:
            return jpeg_header(b);
        case PictureFormat::Bmp:
            return bmp_header(b);
        case PictureFormat::Tiff:
            return tiff_header(b);
        case PictureFormat::WebP:
            return webp_header(b);
        case PictureFormat::Psd: {
            PictureHeader h{PictureFormat::Psd};
            psd_size(bytes, h.width, h.height);
            return h;
        }
        case PictureFormat::Unknown:
            break;
    }
    return {};
}

bool jpeg_is_complete(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    if (sniff_picture_format(bytes) != PictureFormat::Jpeg) return false;
    return walk_jpeg(b, [](std::uint8_t, Bytes) { return true; });
}

}  // namespace velq
