#include "image/replace_file.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <random>

namespace velq {
namespace {

namespace fs = std::filesystem;

// A name beside the target that nobody else uses: ".NAME.XXXXXXXX.tmp".
fs::path temporary_beside(const fs::path& target, std::uint32_t salt) {
    char tag[16];
    std::snprintf(tag, sizeof tag, "%08x", salt);
    std::string name = ".";
    name.append(target.filename().string()).append(".").append(tag).append(".tmp");
    return target.parent_path() / name;
}

}  // namespace

bool replace_file_with(const std::string& path, const std::function<bool(std::FILE*)>& write) {
    if (path.empty()) return false;
    const fs::path target(path);
    std::error_code ec;
    if (fs::is_directory(target, ec)) return false;

    std::mt19937 gen(std::random_device{}() ^
                     std::uint32_t(std::chrono::steady_clock::now().time_since_epoch().count()));
    fs::path tmp;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(nullptr, &std::fclose);
    // "x": create only, never open someone else's file.
    for (int attempt = 0; attempt < 16 && !f; ++attempt) {
        tmp = temporary_beside(target, gen());
        f.reset(std::fopen(tmp.string().c_str(), "wbx"));
    }
    if (!f) return false;

    bool ok = write(f.get());
    ok = std::fflush(f.get()) == 0 && ok;
    ok = std::ferror(f.get()) == 0 && ok;
    ok = std::fclose(f.release()) == 0 && ok;
    if (ok) {
        // The replacement keeps the permissions of the file it replaces.
        const fs::file_status old = fs::status(target, ec);
        if (!ec && fs::exists(old)) fs::permissions(tmp, old.permissions(), ec);
        fs::rename(tmp, target, ec);
        ok = !ec;
    }
    if (!ok) fs::remove(tmp, ec);
    return ok;
}

bool replace_file(const std::string& path, std::span<const std::uint8_t> bytes) {
    return replace_file_with(path, [&](std::FILE* f) {
        return bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    });
}

}  // namespace velq
