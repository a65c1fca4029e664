#include "image/packbits.h"

#include <bit>
#include <cstring>

namespace velq {

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101ull, kHighs = 0x8080808080808080ull;

std::uint64_t load8(const std::uint8_t* p) {
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}

// The index (0-7) of the first zero byte of `v` in memory order, or 8. The lowest flagged byte of
// the bit trick is exact (a borrow only flags bytes above a zero one). Words are read little-endian.
int first_zero_byte(std::uint64_t v) {
    static_assert(std::endian::native == std::endian::little);
    const std::uint64_t t = (v - kOnes) & ~v & kHighs;
    return t ? std::countr_zero(t) / 8 : 8;
}

}  // namespace

void packbits_encode(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out) {
    const std::size_t n = row.size();
    const std::size_t start = out.size();
    out.resize(start + n + (n + 127) / 128);  // the most the code can take
    std::uint8_t* o = out.data() + start;
    const std::uint8_t* p = row.data();
    std::size_t i = 0;
    while (i < n) {
        // A run of three or more equal bytes is worth its two-byte code. Eight bytes at a time while
        // they fit, the rest one by one.
        std::size_t run = 1;
        const std::uint64_t same = p[i] * kOnes;
        while (i + run + 8 <= n && run + 8 <= 128) {
            const std::uint64_t diff = load8(p + i + run) ^ same;
            if (diff) {
                run += std::size_t(std::countr_zero(diff) / 8);
                goto run_found;
            }
            run += 8;
        }
        while (i + run < n && run < 128 && p[i + run] == p[i]) ++run;
    run_found:
        if (run >= 3) {
            *o++ = std::uint8_t(257 - run);
            *o++ = p[i];
            i += run;
            continue;
        }
        // Literals up to the next run of three (or 128 bytes): a byte equal to both its followers.
        std::size_t end = i + 1;
        while (end + 10 <= n && end + 8 <= i + 128) {
            const std::uint64_t x = load8(p + end);
            const int k = first_zero_byte((x ^ load8(p + end + 1)) | (x ^ load8(p + end + 2)));
            end += std::size_t(k);
            if (k < 8) goto literals_found;
        }
        while (end < n && end - i < 128 && !(end + 2 < n && p[end] == p[end + 1] && p[end] == p[end + 2]))
            ++end;
    literals_found:
        *o++ = std::uint8_t(end - i - 1);
        std::memcpy(o, p + i, end - i);
        o += end - i;
        i = end;
    }
    out.resize(std::size_t(o - out.data()));
}

}  // namespace velq
