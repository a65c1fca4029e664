// The settings block: the settings record followed by one entry per layer. Save appends it to the
// picture with a trailer (its length and the signature again) so that it can be found from the end of
// the file; the clipboard carries it without the trailer. Blocks come from files anyone may have
// made: the reader checks every length and count against the bytes really there before it uses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "persistence/layer_record.h"
#include "persistence/settings_record.h"

namespace velq {

inline constexpr int kBlockLayerCount = 9;
// The trailer: the 32-bit length L of the block before it, then the 14 signature bytes.
inline constexpr std::size_t kTrailerSize = 4 + kSignatureSize;

struct LayerEntry {
    LayerRecord record;
    std::u16string passage;
    // Stored only when record.shapes_from_files(); otherwise neither written nor read.
    std::vector<std::string> shape_paths;

    bool operator==(const LayerEntry&) const = default;
};

struct SettingsBlock {
    SettingsRecord settings;
    std::vector<LayerEntry> layers;  // kBlockLayerCount of them, layer 0 first

    bool operator==(const SettingsBlock&) const = default;
};

// The record and the layer entries: what the clipboard carries. Returns "" or the message saying
// what cannot be stored (a path or text too long, a block past 4 GB).
std::string encode_block_body(const SettingsBlock& block, std::vector<std::uint8_t>& out);
// The body followed by the trailer: what Save appends to a picture.
std::string encode_file_block(const SettingsBlock& block, std::vector<std::uint8_t>& out);

enum class BlockStatus {
    None,          // no block: the bytes do not carry the signature where it belongs
    Invalid,       // a block of this version whose lengths, counts or fields do not hold together
    OtherVersion,  // a block of another version; nothing of it may be used
    Ok,
};

// Reads a body that must be exactly one record and nine entries. `block` is filled only on Ok.
BlockStatus decode_block_body(std::span<const std::uint8_t> body, SettingsBlock& block);

struct BlockPlace {
    BlockStatus status = BlockStatus::None;  // Ok: the body lies at [start, start + length)
    std::uint64_t start = 0;
    std::uint64_t length = 0;
};

// Finds the body from the end of a file of `file_size` bytes, given its last min(18, file_size)
// bytes. Only None, Invalid or Ok come back; the body itself is not looked at.
BlockPlace locate_file_block(std::uint64_t file_size, std::span<const std::uint8_t> tail);

// Both steps over a whole file held in memory.
BlockStatus decode_file_block(std::span<const std::uint8_t> file, SettingsBlock& block);

}  // namespace velq
