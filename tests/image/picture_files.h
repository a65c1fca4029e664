// Helpers for the picture-file tests: bytes in and out of files, hand-made PNG streams, and the
// independent tools (exiftool, ImageMagick) that check what our writers put in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

namespace velq::test {

std::vector<std::uint8_t> file_content(const std::string& path);
void put_file(const std::string& path, const std::vector<std::uint8_t>& bytes);

// OpenCV's encoding of `m` for the extension (".png", ".jpg", ...).
std::vector<std::uint8_t> encoded(const cv::Mat& m, const std::string& ext);

// A PNG stream built by hand (stored deflate blocks): any colour type and bit depth, rows of raw
// samples given big-endian as PNG wants them. `extra` chunks (type + data) go after IHDR.
struct PngChunk {
    std::string type;
    std::vector<std::uint8_t> data;
};
std::vector<std::uint8_t> handmade_png(std::uint32_t width, std::uint32_t height, int colour_type,
                                       int bit_depth, const std::vector<std::uint8_t>& samples,
                                       const std::vector<PngChunk>& extra = {});

// True when `tool` is on the PATH.
bool have_tool(const std::string& tool);
// Runs a shell command, returns its standard output with the trailing newline removed.
std::string run_tool(const std::string& command);
// The path quoted for the shell.
std::string quoted(const std::string& path);

}  // namespace velq::test
