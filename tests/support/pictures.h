// Small pictures made in the tests themselves.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "image/buffer.h"

namespace velq::test {

// A w x h BGRA picture whose pixel (x, y) is fn(x, y) packed as 0xAARRGGBB.
UBUFFER make_picture(int w, int h, const std::function<std::uint32_t(int, int)>& fn);
// One flat colour, 0xAARRGGBB.
UBUFFER flat_picture(int w, int h, std::uint32_t argb);
// Deterministic noise from a seed.
UBUFFER noise_picture(int w, int h, std::uint32_t seed, bool opaque = true);
// Same size, channels and bytes.
inline bool same_bytes(const UBUFFER& a, const UBUFFER& b) {
    return a.same_shape(b) && std::memcmp(a.data(), b.data(), a.size()) == 0;
}
// A fresh empty folder under this test program's own temporary folder, which is removed with
// everything in it when the program ends.
std::string temp_dir(const std::string& name);

}  // namespace velq::test
