#include "persistence/settings_block_file.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

namespace velq {

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool read_at(std::FILE* f, std::uint64_t at, std::uint8_t* dst, std::size_t n) {
    if (n == 0) return true;
    if (fseeko(f, off_t(at), SEEK_SET) != 0) return false;
    return std::fread(dst, 1, n, f) == n;
}

}  // namespace

BlockFileRead read_settings_block(const std::string& path, SettingsBlock& block) {
    BlockFileRead result;
    std::error_code ec;
    if (path.empty() || !std::filesystem::is_regular_file(path, ec)) return result;
    File f(std::fopen(path.c_str(), "rb"));
    if (!f || fseeko(f.get(), 0, SEEK_END) != 0) return result;
    const off_t end = ftello(f.get());
    if (end < 0) return result;
    const std::uint64_t size = std::uint64_t(end);

    std::uint8_t tail[kTrailerSize];
    const std::size_t tail_size = size < kTrailerSize ? std::size_t(size) : kTrailerSize;
    if (!read_at(f.get(), size - tail_size, tail, tail_size)) return result;
    result.opened = true;

    const BlockPlace place = locate_file_block(size, std::span<const std::uint8_t>(tail, tail_size));
    result.status = place.status;
    if (place.status != BlockStatus::Ok) return result;
    // The length has been checked against the file's size, so this never asks for more than is there.
    std::vector<std::uint8_t> body;
    try {
        body.resize(std::size_t(place.length));
    } catch (const std::bad_alloc&) {
        result.opened = false;
        return result;
    }
    if (!read_at(f.get(), place.start, body.data(), body.size())) {
        result.opened = false;
        return result;
    }
    result.status = decode_block_body(body, block);
    return result;
}

AppendResult append_settings_block(Host& host, const std::string& path, std::span<const std::uint8_t> bytes) {
    constexpr int kAttempts = 20;
    File f;
    for (int attempt = 0; attempt < kAttempts && !f; ++attempt) {
        f.reset(std::fopen(path.c_str(), "ab"));
        if (f) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::fflush(nullptr);
    }
    if (!f) {
        host.debug("Too many retrying...");
        return AppendResult::NotOpened;
    }
    const bool written = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f.get()) == bytes.size();
    const bool closed = std::fclose(f.release()) == 0;
    return written && closed ? AppendResult::Written : AppendResult::WriteFailed;
}

}  // namespace velq
