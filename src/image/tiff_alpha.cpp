#include "image/tiff_alpha.h"

#include "image/bytes.h"
#include "image/tiff_ifd.h"

namespace velq {
namespace {

constexpr std::uint16_t kSamplesPerPixel = 277, kExtraSamples = 338;
constexpr std::uint16_t kShort = 3, kUnassociatedAlpha = 2;
constexpr std::size_t kEntrySize = 12;

void put(std::vector<std::uint8_t>& v, std::size_t at, std::uint32_t x, int n, bool big_endian) {
    for (int i = 0; i < n; ++i) v[at + i] = std::uint8_t(x >> (8 * (big_endian ? n - 1 - i : i)));
}

}  // namespace

bool mark_tiff_alpha(std::vector<std::uint8_t>& tiff) {
    const Bytes b(tiff);
    const auto ifd = TiffIfd::first(b);
    if (!ifd) return false;
    if (ifd->integer(kSamplesPerPixel) != 4u || ifd->integer(kExtraSamples)) return true;

    const bool big = tiff[0] == 'M';
    const std::size_t at = *b.u32(4, big);
    const std::size_t count = *b.u16(at, big);
    if (!b.has(at + 2, count * kEntrySize + 4)) return false;

    // The new directory: the old entries with ExtraSamples in tag order, then the next-directory link.
    std::vector<std::uint8_t> entry(kEntrySize, 0);
    put(entry, 0, kExtraSamples, 2, big);
    put(entry, 2, kShort, 2, big);
    put(entry, 4, 1, 4, big);
    put(entry, 8, kUnassociatedAlpha, 2, big);  // a SHORT sits in the first two bytes of the field
    std::vector<std::uint8_t> dir(2, 0);
    put(dir, 0, std::uint32_t(count + 1), 2, big);
    bool placed = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t e = at + 2 + i * kEntrySize;
        if (!placed && *b.u16(e, big) > kExtraSamples) {
            dir.insert(dir.end(), entry.begin(), entry.end());
            placed = true;
        }
        dir.insert(dir.end(), tiff.begin() + std::ptrdiff_t(e),
                   tiff.begin() + std::ptrdiff_t(e + kEntrySize));
    }
    if (!placed) dir.insert(dir.end(), entry.begin(), entry.end());
    const std::size_t link = at + 2 + count * kEntrySize;
    dir.insert(dir.end(), tiff.begin() + std::ptrdiff_t(link), tiff.begin() + std::ptrdiff_t(link + 4));

    if (tiff.size() & 1) tiff.push_back(0);  // directories start on a word boundary
    if (tiff.size() + dir.size() > 0xFFFFFFFFu) return false;
    const std::uint32_t new_at = std::uint32_t(tiff.size());
    tiff.insert(tiff.end(), dir.begin(), dir.end());
    put(tiff, 4, new_at, 4, big);
    return true;
}

}  // namespace velq
