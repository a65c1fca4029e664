#include "image/tiff_ifd.h"

#include <algorithm>

namespace velq {
namespace {

constexpr std::uint16_t kShort = 3, kLong = 4, kRational = 5;
constexpr std::size_t kEntrySize = 12;

}  // namespace

std::optional<TiffIfd> TiffIfd::first(Bytes tiff) {
    TiffIfd ifd;
    if (tiff.starts_with(0, "II*")) {
        ifd.big_endian_ = false;
    } else if (tiff.starts_with(0, "MM")) {
        ifd.big_endian_ = true;
    } else {
        return std::nullopt;
    }
    const auto magic = tiff.u16(2, ifd.big_endian_);
    const auto offset = tiff.u32(4, ifd.big_endian_);
    if (!magic || *magic != 42 || !offset || *offset < 8) return std::nullopt;
    const auto count = tiff.u16(*offset, ifd.big_endian_);
    if (!count) return std::nullopt;
    ifd.tiff_ = tiff;
    ifd.entries_at_ = std::size_t(*offset) + 2;
    // A directory cut short by the end of the data keeps the entries that are whole.
    const std::size_t room = tiff.size() > ifd.entries_at_ ? (tiff.size() - ifd.entries_at_) / kEntrySize : 0;
    ifd.entry_count_ = std::min<std::size_t>(*count, room);
    return ifd;
}

std::optional<TiffIfd::Entry> TiffIfd::find(std::uint16_t tag) const {
    for (std::size_t i = 0; i < entry_count_; ++i) {
        const std::size_t at = entries_at_ + i * kEntrySize;
        if (tiff_.u16(at, big_endian_) != tag) continue;
        Entry e;
        e.type = *tiff_.u16(at + 2, big_endian_);
        e.count = *tiff_.u32(at + 4, big_endian_);
        e.value_at = at + 8;
        if (e.count == 0) return std::nullopt;
        return e;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> TiffIfd::integer(std::uint16_t tag) const {
    const auto e = find(tag);
    if (!e) return std::nullopt;
    if (e->type == kShort) return tiff_.u16(e->value_at, big_endian_);
    if (e->type == kLong) return tiff_.u32(e->value_at, big_endian_);
    return std::nullopt;
}

std::optional<Rational> TiffIfd::rational(std::uint16_t tag) const {
    const auto e = find(tag);
    if (!e || e->type != kRational) return std::nullopt;
    // Eight bytes never fit in the entry: the field holds their offset.
    const auto at = tiff_.u32(e->value_at, big_endian_);
    if (!at) return std::nullopt;
    const auto num = tiff_.u32(*at, big_endian_);
    const auto den = tiff_.u32(std::size_t(*at) + 4, big_endian_);
    if (!num || !den) return std::nullopt;
    return Rational{*num, *den};
}

}  // namespace velq
