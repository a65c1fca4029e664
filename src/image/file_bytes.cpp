#include "image/file_bytes.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>

namespace velq {

FileBytes read_file_bytes(const std::string& path) {
    namespace fs = std::filesystem;
    FileBytes out;
    std::error_code ec;
    const fs::file_status st = fs::status(path, ec);
    if (path.empty() || ec || !fs::exists(st)) {
        out.error = FileBytes::Error::Missing;
        return out;
    }
    if (!fs::is_regular_file(st)) {
        out.error = FileBytes::Error::NotAFile;
        return out;
    }
    const std::uintmax_t size = fs::file_size(path, ec);
    if (ec) {
        out.error = FileBytes::Error::Unreadable;
        return out;
    }
    if (size > kMaxFileBytes) {
        out.error = FileBytes::Error::TooLarge;
        return out;
    }
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!f) {
        out.error = FileBytes::Error::Unreadable;
        return out;
    }
    try {
        out.bytes.resize(size);
    } catch (const std::bad_alloc&) {
        out.error = FileBytes::Error::OutOfMemory;
        return out;
    }
    // The file may have shrunk since its size was asked: keep what was there.
    const std::size_t got = size ? std::fread(out.bytes.data(), 1, size, f.get()) : 0;
    if (got < size) {
        if (std::ferror(f.get())) {
            out.error = FileBytes::Error::Unreadable;
            out.bytes.clear();
            return out;
        }
        out.bytes.resize(got);
    }
    return out;
}

}  // namespace velq
