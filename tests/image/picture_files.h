// Helpers for the picture-file tests: bytes in and out of files, hand-made PNG streams, and the
// independent tools (support/tools.h) that check what our writers put in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "support/tools.h"

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

}  // namespace velq::test
