// Putting a file in place all at once: the content goes to a temporary file beside the target and
// is renamed over it only when completely written, so the user's name never holds a half-written
// file, and a failure leaves the old file as it was and no temporary behind.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <string>

namespace velq {

// Writes `bytes` as `path`. False when anything failed (the target is then untouched).
bool replace_file(const std::string& path, std::span<const std::uint8_t> bytes);

// The same with content produced by `write` into the open temporary file; its false aborts.
bool replace_file_with(const std::string& path, const std::function<bool(std::FILE*)>& write);

}  // namespace velq
