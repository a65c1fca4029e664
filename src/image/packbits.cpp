#include "image/packbits.h"

#include <cstring>

namespace velq {

void packbits_encode(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out) {
    const std::size_t n = row.size();
    const std::size_t start = out.size();
    out.resize(start + n + (n + 127) / 128);  // the most the code can take
    std::uint8_t* o = out.data() + start;
    const std::uint8_t* p = row.data();
    std::size_t i = 0;
    while (i < n) {
        // A run of three or more equal bytes is worth its two-byte code.
        std::size_t run = 1;
        while (i + run < n && run < 128 && p[i + run] == p[i]) ++run;
        if (run >= 3) {
            *o++ = std::uint8_t(257 - run);
            *o++ = p[i];
            i += run;
            continue;
        }
        // Literals up to the next run of three (or 128 bytes).
        std::size_t end = i + 1;
        while (end < n && end - i < 128 && !(end + 2 < n && p[end] == p[end + 1] && p[end] == p[end + 2]))
            ++end;
        *o++ = std::uint8_t(end - i - 1);
        std::memcpy(o, p + i, end - i);
        o += end - i;
        i = end;
    }
    out.resize(std::size_t(o - out.data()));
}

}  // namespace velq
