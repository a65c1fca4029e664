// Marks the fourth sample of an RGB TIFF as unassociated alpha. OpenCV's TIFF encoder writes BGRA
// pictures as four samples per pixel without the ExtraSamples tag that says what the fourth one is,
// so other programs may take it for an unknown channel; this adds the tag.
#pragma once

#include <cstdint>
#include <vector>

namespace velq {

// Adds ExtraSamples = 2 (unassociated alpha) to the first directory of a TIFF with four samples per
// pixel and no such tag, by writing an enlarged copy of the directory at the end and pointing the
// header at it. Leaves other TIFFs as they are. False when the bytes are not a TIFF it can read.
bool mark_tiff_alpha(std::vector<std::uint8_t>& tiff);

}  // namespace velq
