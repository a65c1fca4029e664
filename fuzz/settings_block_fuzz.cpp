// Feeds arbitrary bytes to the settings-block reader, both as the end of a picture file and as
// clipboard bytes. Whatever decodes must encode again and decode to the same block.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "persistence/settings_block.h"

namespace {

void check_round_trip(const velq::SettingsBlock& block) {
    std::vector<std::uint8_t> body;
    if (!velq::encode_block_body(block, body).empty()) std::abort();
    velq::SettingsBlock again;
    if (velq::decode_block_body(body, again) != velq::BlockStatus::Ok || !(again == block)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    velq::SettingsBlock from_file;
    if (velq::decode_file_block(bytes, from_file) == velq::BlockStatus::Ok) check_round_trip(from_file);
    velq::SettingsBlock from_clipboard;
    if (velq::decode_block_body(bytes, from_clipboard) == velq::BlockStatus::Ok)
        check_round_trip(from_clipboard);
    return 0;
}
