// A whole file read into memory, for the picture reader: reading the bytes once lets the header
// check, the resolution parser and the decoder all look at the same bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velq {

// The largest file we read whole (what one decoder call accepts): 2 GiB - 1 bytes.
inline constexpr std::uint64_t kMaxFileBytes = 0x7FFFFFFF;

struct FileBytes {
    enum class Error { None, Missing, NotAFile, TooLarge, Unreadable, OutOfMemory };
    Error error = Error::None;
    std::vector<std::uint8_t> bytes;

    explicit operator bool() const { return error == Error::None; }
};

// The bytes of a regular file (folders, devices and pipes are refused without being opened).
FileBytes read_file_bytes(const std::string& path);

}  // namespace velq
