// Files read and written whole by the tests, and the names a folder holds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velq::test {

std::vector<std::uint8_t> file_content(const std::string& path);
std::string file_text(const std::string& path);
void put_file(const std::string& path, const std::vector<std::uint8_t>& bytes);
void put_text(const std::string& path, const std::string& text);
// The names of the entries in `dir`, sorted: a temporary left behind shows here.
std::vector<std::string> file_names(const std::string& dir);

}  // namespace velq::test
