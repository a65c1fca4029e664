// PackBits, the run-length code of layered picture files: a header byte n, 0..127 for n + 1 bytes
// taken as they are, 129..255 for the next byte repeated 257 - n times (128 is never written).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace velq {

// Appends the code of `row` to `out`. At most one header byte per 128 bytes more than the row.
void packbits_encode(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out);

}  // namespace velq
