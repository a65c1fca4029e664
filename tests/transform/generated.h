// Small generated pictures for the transform tests: the kinds whose brush sizes and packings differ
// most (one colour, stripes, noise, random blocks, a smooth photo-like mix over a gradient).
#pragma once

#include <cstdint>
#include <string>

#include "image/buffer.h"

namespace velq::test {

enum class PictureKind { Flat, Stripes, Noise, Blocks, Photo };
inline constexpr PictureKind kAllKinds[] = {PictureKind::Flat, PictureKind::Stripes, PictureKind::Noise,
                                            PictureKind::Blocks, PictureKind::Photo};

std::string kind_name(PictureKind kind);
UBUFFER generated_picture(PictureKind kind, int w, int h, std::uint32_t seed);

}  // namespace velq::test
