#include "image/file_types.h"

#include <algorithm>
#include <filesystem>

namespace velq {
namespace {

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return out;
}

// The extension with its dot, as written; empty when the last component has none.
std::string raw_extension(std::string_view path) {
    return std::filesystem::path(std::string(path)).extension().string();
}

constexpr std::array<std::string_view, 4> kSaveExtensions{".psd", ".jpg", ".png", ".bmp"};

}  // namespace

std::string file_extension(std::string_view path) {
    std::string ext = raw_extension(path);
    if (ext.empty()) return ext;
    ext = lower(std::string_view(ext).substr(1));
    if (ext == "jpeg") ext = "jpg";
    return ext;
}

bool file_exists(std::string_view path) {
    if (path.empty()) return false;
    std::error_code ec;
    const auto st = std::filesystem::status(std::string(path), ec);
    return !ec && std::filesystem::exists(st) && !std::filesystem::is_directory(st);
}

bool is_video(std::string_view path) {
    const std::string ext = file_extension(path);
    return std::find(kVideoExtensions.begin(), kVideoExtensions.end(), ext) != kVideoExtensions.end();
}

std::string save_file_name(std::string_view name, int entry) {
    const std::string ext = file_extension(name);
    std::string out(name);
    if (ext == "bmp" || ext == "jpg" || ext == "png" || ext == "psd") return out;
    if (entry >= 1 && entry <= int(kSaveExtensions.size())) out += kSaveExtensions[entry - 1];
    return out;
}

std::string video_file_name(std::string_view name, int entry) {
    std::string out(name);
    if (!raw_extension(name).empty()) return out;
    // The video entries' order differs from kVideoExtensions: take the entry's own pattern.
    if (entry >= 1 && entry <= int(kVideoExportTypes.size())) {
        out += kVideoExportTypes[entry - 1].pattern.substr(1);  // "*.mp4" -> ".mp4"
    }
    return out;
}

}  // namespace velq
