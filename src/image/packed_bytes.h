// Little-endian packed fields for the records that saved results and the clipboard carry. Every
// field is written and read on its own at its offset, so a layout never depends on how the compiler
// lays out a struct, and every read is checked against the bytes that are really there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace velq {

// --- Fixed records: fields at known offsets inside a buffer the caller sized. ---

inline void put_u8(std::span<std::uint8_t> b, std::size_t at, std::uint8_t v) {
    b[at] = v;
}

inline void put_u32(std::span<std::uint8_t> b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}
inline void put_i32(std::span<std::uint8_t> b, std::size_t at, std::int32_t v) {
    put_u32(b, at, std::uint32_t(v));
}

inline void put_u64(std::span<std::uint8_t> b, std::size_t at, std::uint64_t v) {
    for (int i = 0; i < 8; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}

inline void put_f32(std::span<std::uint8_t> b, std::size_t at, float v) {
    std::uint32_t u;
    std::memcpy(&u, &v, 4);
    put_u32(b, at, u);
}
inline void put_f64(std::span<std::uint8_t> b, std::size_t at, double v) {
    std::uint64_t u;
    std::memcpy(&u, &v, 8);
    put_u64(b, at, u);
}

inline std::uint32_t get_u32(std::span<const std::uint8_t> b, std::size_t at) {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v |= std::uint32_t(b[at + i]) << (8 * i);
    return v;
}
inline std::int32_t get_i32(std::span<const std::uint8_t> b, std::size_t at) {
    return std::int32_t(get_u32(b, at));
}

inline std::uint64_t get_u64(std::span<const std::uint8_t> b, std::size_t at) {
    std::uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v |= std::uint64_t(b[at + i]) << (8 * i);
    return v;
}

inline float get_f32(std::span<const std::uint8_t> b, std::size_t at) {
    const std::uint32_t u = get_u32(b, at);
    float v;
    std::memcpy(&v, &u, 4);
    return v;
}
inline double get_f64(std::span<const std::uint8_t> b, std::size_t at) {
    const std::uint64_t u = get_u64(b, at);
    double v;
    std::memcpy(&v, &u, 8);
    return v;
}

// A zero-terminated text field of `width` bytes. Writing needs room for the terminating zero and
// refuses a text that holds a zero itself (it would come back cut short).
inline bool fits_text_field(std::string_view text, std::size_t width) {
    return text.size() < width && text.find('\0') == std::string_view::npos;
}
inline void put_text(std::span<std::uint8_t> b, std::size_t at, std::size_t width, std::string_view text) {
    std::memset(b.data() + at, 0, width);
    std::memcpy(b.data() + at, text.data(), text.size());
}
// False when the field holds no terminating zero.
inline bool get_text(std::span<const std::uint8_t> b, std::size_t at, std::size_t width, std::string& out) {
    const auto* p = b.data() + at;
    const void* zero = std::memchr(p, 0, width);
    if (!zero) return false;
    out.assign(reinterpret_cast<const char*>(p), std::size_t(static_cast<const std::uint8_t*>(zero) - p));
    return true;
}

// --- Sequences: a reader that walks a byte range and refuses to step past its end. ---

class ByteCursor {
public:
    explicit ByteCursor(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::size_t remaining() const { return bytes_.size() - pos_; }
    bool at_end() const { return pos_ == bytes_.size(); }

    // The next n bytes, or false (and nothing consumed) when fewer are left.
    bool take(std::size_t n, std::span<const std::uint8_t>& out) {
        if (n > remaining()) return false;
        out = bytes_.subspan(pos_, n);
        pos_ += n;
        return true;
    }
    bool read_u64(std::uint64_t& v) {
        std::span<const std::uint8_t> s;
        if (!take(8, s)) return false;
        v = get_u64(s, 0);
        return true;
    }
    bool read_i32(std::int32_t& v) {
        std::span<const std::uint8_t> s;
        if (!take(4, s)) return false;
        v = get_i32(s, 0);
        return true;
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t pos_ = 0;
};

}  // namespace velq
