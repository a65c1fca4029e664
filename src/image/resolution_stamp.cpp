#include "image/resolution_stamp.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "image/bytes.h"
#include "image/resolution.h"

namespace velq {
namespace {

void put_u16be(std::uint8_t* p, std::uint32_t v) {
    p[0] = std::uint8_t(v >> 8);
    p[1] = std::uint8_t(v);
}
void put_u32be(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = std::uint8_t(v >> (24 - 8 * i));
}
void put_u32le(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = std::uint8_t(v >> (8 * i));
}

std::array<std::uint32_t, 256> make_crc_table() {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t n = 0; n < 256; ++n) {
        std::uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        t[n] = c;
    }
    return t;
}

}  // namespace

std::uint32_t png_crc(const std::uint8_t* data, std::size_t n) {
    static const std::array<std::uint32_t, 256> table = make_crc_table();
    std::uint32_t c = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < n; ++i) c = table[(c ^ data[i]) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

bool stamp_jpeg_dpi(std::vector<std::uint8_t>& jpeg, int dpi) {
    const Bytes b(jpeg);
    if (!b.has(0, 4) || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return false;
    const std::uint32_t density = std::uint32_t(std::clamp(dpi, 1, 0xFFFF));
    // The encoder puts JFIF first, right after SOI.
    if (jpeg[2] == 0xFF && jpeg[3] == 0xE0 && b.starts_with(6, std::string_view("JFIF\0", 5)) &&
        b.has(4, 16)) {
        const std::size_t at = 4 + 2 + 5 + 2;  // marker length, identifier, version
        jpeg[at] = 1;
        put_u16be(&jpeg[at + 1], density);
        put_u16be(&jpeg[at + 3], density);
        return true;
    }
    std::uint8_t app0[18] = {0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 1, 0, 0, 0, 0, 0, 0};
    put_u16be(app0 + 12, density);
    put_u16be(app0 + 14, density);
    jpeg.insert(jpeg.begin() + 2, std::begin(app0), std::end(app0));
    return true;
}

bool stamp_png_dpi(std::vector<std::uint8_t>& png, int dpi) {
    const Bytes b(png);
    constexpr std::size_t kAfterIhdr = 8 + 12 + 13;
    if (!b.starts_with(0, "\x89PNG\r\n\x1a\n") || !b.starts_with(12, "IHDR") || b.u32(8, true) != 13u ||
        !b.has(0, kAfterIhdr)) {
        return false;
    }
    // Drop any pHYs already there (it must come before the image data).
    std::size_t at = kAfterIhdr;
    while (b.has(at, 12)) {
        const std::uint32_t len = *b.u32(at, true);
        if (b.starts_with(at + 4, "IDAT") || !b.has(at, std::size_t(len) + 12)) break;
        if (b.starts_with(at + 4, "pHYs")) {
            png.erase(png.begin() + std::ptrdiff_t(at), png.begin() + std::ptrdiff_t(at + len + 12));
            break;
        }
        at += std::size_t(len) + 12;
    }
    const std::uint32_t ppm = per_metre_from_dpi(std::max(dpi, 1));
    std::uint8_t chunk[21] = {0, 0, 0, 9, 'p', 'H', 'Y', 's'};
    put_u32be(chunk + 8, ppm);
    put_u32be(chunk + 12, ppm);
    chunk[16] = 1;  // metre
    put_u32be(chunk + 17, png_crc(chunk + 4, 13));
    png.insert(png.begin() + kAfterIhdr, std::begin(chunk), std::end(chunk));
    return true;
}

bool stamp_bmp_dpi(std::vector<std::uint8_t>& bmp, int dpi) {
    const Bytes b(bmp);
    const auto info_size = b.u32(14, false);
    if (!b.starts_with(0, "BM") || !info_size || *info_size < 40 || !b.has(0, 46)) return false;
    const std::uint32_t ppm = std::min<std::uint32_t>(per_metre_from_dpi(std::max(dpi, 1)), 0x7FFFFFFF);
    put_u32le(&bmp[38], ppm);
    put_u32le(&bmp[42], ppm);
    return true;
}

}  // namespace velq
