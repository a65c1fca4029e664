// Settings blocks for tests: one with every field away from its default, and the offsets of its
// parts, so tests can corrupt exactly the byte they mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "persistence/settings_block.h"

namespace velq::test {

// Nine layers: passage layers, file-shape layers (two and zero paths), the default disc, hidden and
// optioned ones; settings all different from the defaults.
SettingsBlock sample_block();
// Where layer entry i begins inside the body of `block`.
std::size_t entry_offset(const SettingsBlock& block, int i);
// Some bytes that stand in for a picture in front of an appended block.
std::vector<std::uint8_t> fake_picture(std::size_t n);
// A fake picture of `picture_bytes` with `block` appended as a file carries it.
std::vector<std::uint8_t> file_with_block(const SettingsBlock& block, std::size_t picture_bytes);

}  // namespace velq::test
