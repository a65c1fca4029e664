// The first image directory of a TIFF structure: the tag table that both TIFF files and the EXIF
// block of a JPEG, PNG or WebP file are made of. Read only for the picture's size and resolution.
#pragma once

#include <cstdint>
#include <optional>

#include "image/bytes.h"

namespace velq {

struct Rational {
    std::uint32_t num = 0, den = 0;
};

class TiffIfd {
public:
    enum Tag : std::uint16_t {
        kImageWidth = 256,
        kImageLength = 257,
        kXResolution = 282,
        kYResolution = 283,
        kResolutionUnit = 296,
    };

    // The first directory of the TIFF structure that starts at the first byte of `tiff` ("II*\0" or
    // "MM\0*"); offsets inside it count from that byte. Nothing when the structure is malformed.
    static std::optional<TiffIfd> first(Bytes tiff);

    // The first value of a SHORT or LONG tag.
    std::optional<std::uint32_t> integer(std::uint16_t tag) const;
    // The first value of a RATIONAL tag.
    std::optional<Rational> rational(std::uint16_t tag) const;

private:
    struct Entry {
        std::uint16_t type = 0;
        std::uint32_t count = 0;
        std::size_t value_at = 0;  // where the entry's 4-byte value or offset field lies
    };
    std::optional<Entry> find(std::uint16_t tag) const;

    Bytes tiff_;
    bool big_endian_ = false;
    std::size_t entries_at_ = 0;
    std::size_t entry_count_ = 0;
};

}  // namespace velq
