#include "support/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace velq::test {

std::vector<std::uint8_t> file_content(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

std::string file_text(const std::string& path) {
    const std::vector<std::uint8_t> bytes = file_content(path);
    return {bytes.begin(), bytes.end()};
}

void put_file(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

void put_text(const std::string& path, const std::string& text) {
    put_file(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

std::vector<std::string> file_names(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace velq::test
