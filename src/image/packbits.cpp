#include "image/packbits.h"

#include <algorithm>

namespace velq {

void packbits_encode(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out) {
    const std::size_t n = row.size();
    std::size_t i = 0;
    while (i < n) {
        // A run of three or more equal bytes is worth its two-byte code.
        std::size_t run = 1;
        while (i + run < n && run < 128 && row[i + run] == row[i]) ++run;
        if (run >= 3) {
            out.push_back(std::uint8_t(257 - run));
            out.push_back(row[i]);
            i += run;
            continue;
        }
        // Literals up to the next run of three (or 128 bytes).
        std::size_t end = i;
        while (end < n && end - i < 128) {
            if (end + 2 < n && row[end] == row[end + 1] && row[end] == row[end + 2]) break;
            ++end;
        }
        out.push_back(std::uint8_t(end - i - 1));
        out.insert(out.end(), row.begin() + std::ptrdiff_t(i), row.begin() + std::ptrdiff_t(end));
        i = end;
    }
}

}  // namespace velq
