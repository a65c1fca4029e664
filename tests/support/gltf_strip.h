// A small animated glTF written by the tests: a strip of two unit squares along x (vertices at
// x = 0, 1, 2 and y = 0, 1, z = 0, facing +z), skinned to two bones. Bone 0 sits at the origin and
// holds the x = 0 column; bone 1 is its child at (1, 0, 0) and holds the x = 2 column; the middle
// column is shared half and half. Over one second bone 0 moves from (0, 0, 0) to (0, 2, 0) and bone 1
// turns from 0 to 90 degrees about z (keys at 0 and 1 s only). Vertex colours: red at x = 0, green at
// x = 1, blue at x = 2.
#pragma once

#include <string>

namespace velq::test {

struct StripOptions {
    bool animated = true;
};

// The file's text (JSON; the buffer is strip.bin beside it).
std::string strip_gltf(const StripOptions& options = {});

// Writes it to `path`, its buffer to strip.bin beside it.
void write_strip_gltf(const std::string& path, const StripOptions& options = {});

}  // namespace velq::test
