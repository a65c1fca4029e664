// Helpers for the picture-file tests: PNG streams with chunks of our own, and the
// independent tools (support/tools.h) that check what our writers put in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "support/files.h"
#include "support/tools.h"

namespace velq::test {

// OpenCV's encoding of `m` for the extension (".png", ".jpg", ...) with the encoder's parameters.
std::vector<std::uint8_t> encoded(const cv::Mat& m, const std::string& ext,
                                  const std::vector<int>& params = {});
// A w x h picture of OpenCV type `type` filled with noise, encoded as above.
std::vector<std::uint8_t> noise_file(int w, int h, int type, const std::string& ext,
                                     const std::vector<int>& params = {});

// `png` (a whole PNG stream) with `extra` chunks (type + data) put right after IHDR, and IHDR claiming
// width x height when width is not 0.
struct PngChunk {
    std::string type;
    std::vector<std::uint8_t> data;
};
std::vector<std::uint8_t> patched_png(std::vector<std::uint8_t> png, const std::vector<PngChunk>& extra,
                                      std::uint32_t width = 0, std::uint32_t height = 0);

}  // namespace velq::test
