// Turns whatever a decoder produced (grey, grey + alpha, colour, colour + alpha; 8 or 16 bits,
// integer or floating samples) into the program's picture: 8-bit BGRA with faint pixels cleared.
#pragma once

#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "image/buffer.h"

namespace velq {

// Pixels whose alpha is below this become 0, 0, 0, 0 when read.
inline constexpr std::uint8_t kFaintAlpha = 10;

// The scale that brings samples of more than 8 bits down to 8 (1/255, as the reader always used).
inline constexpr double kDepthScale = 0.00392156862745098;

enum class ConvertResult { Ok, Unsupported, OutOfMemory };

// Fills `out` (allocated here, width x height x 4) from a decoded 1- to 4-channel picture:
// channels expanded to BGRA (grey to three equal colours, a missing alpha made opaque at the source
// depth), deeper samples scaled by kDepthScale, then faint pixels cleared.
ConvertResult bgra_from_decoded(const cv::Mat& decoded, UBUFFER& out);

// Every pixel with alpha below kFaintAlpha becomes 0, 0, 0, 0; the others keep their samples.
void clear_faint_pixels(UBUFFER& bgra);

}  // namespace velq
