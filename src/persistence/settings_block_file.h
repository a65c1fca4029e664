// The settings block on disk: found and read from the end of a picture file, or appended to one.
// Reading takes only the trailer and then the body the trailer names, never the whole picture.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "host/host.h"
#include "persistence/settings_block.h"

namespace velq {

struct BlockFileRead {
    bool opened = false;                     // false: the file could not be opened or read
    BlockStatus status = BlockStatus::None;  // meaningful when opened
};

// `block` is filled only when the result is opened with status Ok.
BlockFileRead read_settings_block(const std::string& path, SettingsBlock& block);

enum class AppendResult { Written, NotOpened, WriteFailed };

// Appends `bytes` to the file. The file may still be held by whoever wrote the picture, so opening
// is tried 20 times, 10 ms apart (then "Too many retrying..." goes to the debug log and NotOpened
// comes back).
AppendResult append_settings_block(Host& host, const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace velq
