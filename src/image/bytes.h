// Bounds-checked reading of integers from a file's bytes, in either byte order. The header and
// resolution parsers read untrusted files through this and nothing else, so a short or lying file
// can only make a read fail, never step outside the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace velq {

class Bytes {
public:
    Bytes() = default;
    explicit Bytes(std::span<const std::uint8_t> data) : data_(data) {}

    std::size_t size() const noexcept { return data_.size(); }
    const std::uint8_t* data() const noexcept { return data_.data(); }
    bool has(std::size_t at, std::size_t n) const noexcept {
        return at <= data_.size() && n <= data_.size() - at;
    }

    // The n bytes at `at`, or an empty view when they are not all there.
    Bytes sub(std::size_t at, std::size_t n) const noexcept {
        return has(at, n) ? Bytes(data_.subspan(at, n)) : Bytes();
    }
    // Everything from `at` on (empty past the end).
    Bytes from(std::size_t at) const noexcept { return at <= size() ? Bytes(data_.subspan(at)) : Bytes(); }

    bool starts_with(std::size_t at, std::string_view text) const noexcept {
        if (!has(at, text.size())) return false;
        for (std::size_t i = 0; i < text.size(); ++i)
            if (data_[at + i] != std::uint8_t(text[i])) return false;
        return true;
    }

    std::optional<std::uint8_t> u8(std::size_t at) const noexcept {
        if (!has(at, 1)) return std::nullopt;
        return data_[at];
    }
    std::optional<std::uint16_t> u16(std::size_t at, bool big_endian) const noexcept {
        if (!has(at, 2)) return std::nullopt;
        const std::uint16_t a = data_[at], b = data_[at + 1];
        return std::uint16_t(big_endian ? (a << 8) | b : (b << 8) | a);
    }
    std::optional<std::uint32_t> u32(std::size_t at, bool big_endian) const noexcept {
        if (!has(at, 4)) return std::nullopt;
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            const std::uint32_t b = data_[at + (big_endian ? i : 3 - i)];
            v = (v << 8) | b;
        }
        return v;
    }
    std::optional<std::uint32_t> u24le(std::size_t at) const noexcept {
        if (!has(at, 3)) return std::nullopt;
        return std::uint32_t(data_[at]) | std::uint32_t(data_[at + 1]) << 8 |
               std::uint32_t(data_[at + 2]) << 16;
    }

    std::span<const std::uint8_t> span() const noexcept { return data_; }

private:
    std::span<const std::uint8_t> data_;
};

}  // namespace velq
