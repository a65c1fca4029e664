#include "image/psd_reader.h"

#include <vector>

#include "image/bytes.h"

namespace velq {
namespace {

constexpr bool kBig = true;

struct Header {
    int channels = 0;
    std::int64_t width = 0, height = 0;
};

std::optional<Header> header_of(const Bytes& b) {
    if (!b.starts_with(0, "8BPS") || b.u16(4, kBig) != 1) return std::nullopt;
    const auto channels = b.u16(12, kBig), depth = b.u16(22, kBig), mode = b.u16(24, kBig);
    const auto height = b.u32(14, kBig), width = b.u32(18, kBig);
    if (!channels || !depth || !mode || !height || !width) return std::nullopt;
    if (*channels < 3 || *channels > 56 || *depth != 8 || *mode != 3 || *height == 0 || *width == 0)
        return std::nullopt;
    return Header{*channels, *width, *height};
}

// The offset just past a section that starts with its 32-bit length.
std::optional<std::size_t> skip_section(const Bytes& b, std::size_t at) {
    const auto n = b.u32(at, kBig);
    if (!n || !b.has(at + 4, *n)) return std::nullopt;
    return at + 4 + *n;
}

// One PackBits row of exactly `width` bytes from `in` into `out`; false when it does not fit.
bool unpack_row(const Bytes& in, std::uint8_t* out, std::size_t width) {
    std::size_t i = 0, o = 0;
    while (i < in.size()) {
        const int n = *in.u8(i++);
        if (n < 128) {
            const std::size_t count = std::size_t(n) + 1;
            if (!in.has(i, count) || o + count > width) return false;
            for (std::size_t k = 0; k < count; ++k) out[o++] = *in.u8(i + k);
            i += count;
        } else if (n > 128) {
            const std::size_t count = 257 - std::size_t(n);
            if (!in.has(i, 1) || o + count > width) return false;
            const std::uint8_t v = *in.u8(i++);
            for (std::size_t k = 0; k < count; ++k) out[o++] = v;
        }
    }
    return o == width;
}

}  // namespace

bool is_psd(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    return b.starts_with(0, "8BPS") && b.u16(4, kBig) == 1;
}

void psd_size(std::span<const std::uint8_t> bytes, std::int64_t& width, std::int64_t& height) {
    const auto h = header_of(Bytes(bytes));
    width = h ? h->width : 0;
    height = h ? h->height : 0;
}

std::optional<int> psd_dpi(std::span<const std::uint8_t> bytes) {
    const Bytes b(bytes);
    const auto colour_end = skip_section(b, 26);
    if (!colour_end) return std::nullopt;
    const auto length = b.u32(*colour_end, kBig);
    if (!length) return std::nullopt;
    const Bytes resources = b.sub(*colour_end + 4, *length);
    std::size_t at = 0;
    while (resources.starts_with(at, "8BIM")) {
        const auto id = resources.u16(at + 4, kBig);
        const auto name_length = resources.u8(at + 6);
        if (!id || !name_length) return std::nullopt;
        const std::size_t size_at = at + 6 + ((std::size_t(*name_length) + 2) & ~std::size_t(1));
        const auto size = resources.u32(size_at, kBig);
        if (!size) return std::nullopt;
        if (*id == 0x03ED) {
            const auto fixed = resources.u32(size_at + 4, kBig);
            // Below one dot per inch is no resolution at all: the default applies, as for other formats.
            if (!fixed || *size < 16 || (*fixed >> 16) == 0) return std::nullopt;
            return int(*fixed >> 16);
        }
        at = size_at + 4 + ((std::size_t(*size) + 1) & ~std::size_t(1));
    }
    return std::nullopt;
}

PictureError decode_psd(std::span<const std::uint8_t> bytes, UBUFFER& out) {
    const Bytes b(bytes);
    const auto header = header_of(b);
    if (!header) return PictureError::Unreadable;
    std::optional<std::size_t> at = 26;
    for (int section = 0; section < 3 && at; ++section) at = skip_section(b, *at);
    if (!at) return PictureError::Unreadable;
    const auto compression = b.u16(*at, kBig);
    if (!compression || *compression > 1) return PictureError::Unreadable;
    const std::size_t w = std::size_t(header->width), h = std::size_t(header->height);
    const int planes = std::min(header->channels, 4);
    if (!out.allocate(int(w), int(h), 4, Init::Uninitialised)) return PictureError::OutOfMemory;
    // The file's red, green, blue, alpha into bytes 2, 1, 0, 3 of a pixel.
    constexpr int kByte[4] = {2, 1, 0, 3};
    std::vector<std::uint8_t> row(w);
    std::size_t data = *at + 2;
    const std::size_t counts = data;
    if (*compression == 1) data += 2 * std::size_t(header->channels) * h;
    for (int c = 0; c < planes; ++c)
        for (std::size_t y = 0; y < h; ++y) {
            if (*compression == 0) {
                const Bytes raw = b.sub(data, w);
                if (raw.size() != w) return PictureError::Unreadable;
                std::copy(raw.data(), raw.data() + w, row.begin());
                data += w;
            } else {
                const auto n = b.u16(counts + 2 * (std::size_t(c) * h + y), kBig);
                if (!n || !unpack_row(b.sub(data, *n), row.data(), w))  // sub is empty when cut short
                    return PictureError::Unreadable;
                data += *n;
            }
            std::uint8_t* px = out.row(int(y)) + kByte[c];
            for (std::size_t x = 0; x < w; ++x) px[4 * x] = row[x];
        }
    if (planes == 3)
        for (std::size_t y = 0; y < h; ++y)
            for (std::size_t x = 0; x < w; ++x) out.row(int(y))[4 * x + 3] = 255;
    return PictureError::None;
}

}  // namespace velq
