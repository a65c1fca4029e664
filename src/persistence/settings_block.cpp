#include "persistence/settings_block.h"

#include <algorithm>
#include <limits>

#include "image/packed_bytes.h"

namespace velq {

namespace {

std::string append_entry(const LayerEntry& entry, std::vector<std::uint8_t>& out) {
    const std::size_t at = out.size();
    out.resize(at + kLayerRecordSize);
    auto problem = encode_layer_record(
        entry.record, std::span<std::uint8_t, kLayerRecordSize>(out.data() + at, kLayerRecordSize));
    if (!problem.empty()) return problem;

    const std::uint64_t n = entry.passage.size();
    std::uint8_t count[8];
    put_u64(count, 0, n);
    out.insert(out.end(), count, count + 8);
    for (char16_t c : entry.passage) {
        out.push_back(std::uint8_t(c & 0xFF));
        out.push_back(std::uint8_t(c >> 8));
    }

    if (!entry.record.shapes_from_files()) return {};
    if (entry.shape_paths.size() > std::size_t(std::numeric_limits<std::int32_t>::max()))
        return "Too many shape files to be stored with the settings";
    std::uint8_t m[4];
    put_i32(m, 0, std::int32_t(entry.shape_paths.size()));
    out.insert(out.end(), m, m + 4);
    for (const auto& path : entry.shape_paths) {
        if (auto p = stored_path_problem(path); !p.empty()) return p;
        const std::size_t pos = out.size();
        out.resize(pos + kPathFieldSize);
        put_text(out, pos, kPathFieldSize, path);
    }
    return {};
}

// One layer entry from the cursor; false on anything that does not fit inside the body.
bool read_entry(ByteCursor& cur, LayerEntry& entry) {
    std::span<const std::uint8_t> raw;
    if (!cur.take(kLayerRecordSize, raw)) return false;
    const std::span<const std::uint8_t, kLayerRecordSize> rec(raw.data(), kLayerRecordSize);
    if (!decode_layer_record(rec, entry.record)) return false;

    std::uint64_t n = 0;
    if (!cur.read_u64(n) || n > cur.remaining() / 2) return false;
    std::span<const std::uint8_t> text;
    if (!cur.take(std::size_t(n) * 2, text)) return false;
    entry.passage.resize(std::size_t(n));
    for (std::size_t i = 0; i < n; ++i) entry.passage[i] = char16_t(text[2 * i] | (text[2 * i + 1] << 8));

    if (!record_has_file_shapes(rec)) return true;
    std::int32_t m = 0;
    if (!cur.read_i32(m) || m < 0 || std::size_t(m) > cur.remaining() / kPathFieldSize) return false;
    entry.shape_paths.resize(std::size_t(m));
    for (auto& path : entry.shape_paths) {
        std::span<const std::uint8_t> field;
        if (!cur.take(kPathFieldSize, field) || !get_text(field, 0, kPathFieldSize, path)) return false;
    }
    return true;
}

}  // namespace

std::string encode_block_body(const SettingsBlock& block, std::vector<std::uint8_t>& out) {
    out.clear();
    if (block.layers.size() != std::size_t(kBlockLayerCount))
        return "The settings block needs " + std::to_string(kBlockLayerCount) + " layers";
    out.resize(kSettingsRecordSize);
    auto problem = encode_settings_record(
        block.settings, std::span<std::uint8_t, kSettingsRecordSize>(out.data(), out.size()));
    for (std::size_t i = 0; problem.empty() && i < block.layers.size(); ++i)
        problem = append_entry(block.layers[i], out);
    if (problem.empty() && out.size() > std::numeric_limits<std::uint32_t>::max())
        problem = "The settings are too large to be stored with the picture";
    if (!problem.empty()) out.clear();
    return problem;
}

std::string encode_file_block(const SettingsBlock& block, std::vector<std::uint8_t>& out) {
    auto problem = encode_block_body(block, out);
    if (!problem.empty()) return problem;
    const std::uint32_t length = std::uint32_t(out.size());
    std::uint8_t l[4];
    put_u32(l, 0, length);
    out.insert(out.end(), l, l + 4);
    out.insert(out.end(), kSignature.begin(), kSignature.end());
    return {};
}

BlockStatus decode_block_body(std::span<const std::uint8_t> body, SettingsBlock& block) {
    if (!has_signature(body)) return BlockStatus::None;
    if (body.size() < kSettingsRecordSize) return BlockStatus::Invalid;
    SettingsBlock b;
    switch (decode_settings_record(
        std::span<const std::uint8_t, kSettingsRecordSize>(body.data(), kSettingsRecordSize), b.settings)) {
        case RecordStatus::Ok:
            break;
        case RecordStatus::NoSignature:
            return BlockStatus::None;
        case RecordStatus::OtherVersion:
            return BlockStatus::OtherVersion;
        case RecordStatus::Invalid:
            return BlockStatus::Invalid;
    }
    ByteCursor cur(body.subspan(kSettingsRecordSize));
    b.layers.resize(kBlockLayerCount);
    for (auto& entry : b.layers)
        if (!read_entry(cur, entry)) return BlockStatus::Invalid;
    if (!cur.at_end()) return BlockStatus::Invalid;
    block = std::move(b);
    return BlockStatus::Ok;
}

BlockPlace locate_file_block(std::uint64_t file_size, std::span<const std::uint8_t> tail) {
    BlockPlace place;
    if (file_size < kSignatureSize || tail.size() < kSignatureSize) return place;
    if (!has_signature(tail.last(kSignatureSize))) return place;
    // The signature is there: from here on a length that does not fit is a broken block.
    place.status = BlockStatus::Invalid;
    if (file_size < kTrailerSize || tail.size() < kTrailerSize) return place;
    const std::uint64_t length = get_u32(tail.last(kTrailerSize), 0);
    if (length > file_size - kTrailerSize) return place;
    place.status = BlockStatus::Ok;
    place.start = file_size - kTrailerSize - length;
    place.length = length;
    return place;
}

BlockStatus decode_file_block(std::span<const std::uint8_t> file, SettingsBlock& block) {
    const auto place = locate_file_block(file.size(), file.last(std::min(file.size(), kTrailerSize)));
    if (place.status != BlockStatus::Ok) return place.status;
    return decode_block_body(file.subspan(std::size_t(place.start), std::size_t(place.length)), block);
}

}  // namespace velq
