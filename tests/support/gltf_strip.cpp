#include "support/gltf_strip.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

namespace velq::test {

namespace {

// The buffer's parts, in order: positions (72 bytes), indices (24), joints (24), weights (96),
// inverse bind matrices (128), colours (96), key times (8), rotations (32), translations (24).
std::vector<std::uint8_t> strip_buffer() {
    std::vector<std::uint8_t> out;
    auto put = [&out](auto... values) {
        (out.insert(out.end(), reinterpret_cast<const std::uint8_t*>(&values),
                    reinterpret_cast<const std::uint8_t*>(&values) + sizeof values),
         ...);
    };
    put(0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 1.f, 0.f, 0.f, 1.f, 1.f, 0.f, 2.f, 0.f, 0.f, 2.f, 1.f, 0.f);
    for (const std::uint16_t index : {0, 2, 1, 1, 2, 3, 2, 4, 3, 3, 4, 5}) put(index);
    for (int v = 0; v < 6; ++v)
        put(std::uint8_t(v >= 4), std::uint8_t(v < 4), std::uint8_t(0), std::uint8_t(0));
    for (int v = 0; v < 6; ++v) put(v / 2 == 1 ? 0.5f : 1.f, v / 2 == 1 ? 0.5f : 0.f, 0.f, 0.f);
    put(1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 0.f, 1.f);
    put(1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 0.f, 1.f, 0.f, -1.f, 0.f, 0.f, 1.f);
    for (int v = 0; v < 6; ++v) put(v < 2 ? 1.f : 0.f, v / 2 == 1 ? 1.f : 0.f, v >= 4 ? 1.f : 0.f, 1.f);
    const float h = float(std::sqrt(0.5));
    put(0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 0.f, 0.f, h, h, 0.f, 0.f, 0.f, 0.f, 2.f, 0.f);
    return out;
}

}  // namespace

std::string strip_gltf(const StripOptions& options) {
    std::string json = R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],
"nodes":[{"name":"strip","mesh":0,"skin":0},{"name":"bone0","children":[2]},{"name":"bone1","translation":[1,0,0]}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0,"JOINTS_0":2,"WEIGHTS_0":3,"COLOR_0":5},"indices":1}]}],
"skins":[{"joints":[1,2],"inverseBindMatrices":4}],)";
    if (options.animated)
        json += R"("animations":[{"samplers":[{"input":6,"output":7},{"input":6,"output":8}],
"channels":[{"sampler":0,"target":{"node":2,"path":"rotation"}},{"sampler":1,"target":{"node":1,"path":"translation"}}]}],)";
    json +=
        R"("accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[0,0,0],"max":[2,1,0]},
{"bufferView":1,"componentType":5123,"count":12,"type":"SCALAR"},{"bufferView":2,"componentType":5121,"count":6,"type":"VEC4"},
{"bufferView":3,"componentType":5126,"count":6,"type":"VEC4"},{"bufferView":4,"componentType":5126,"count":2,"type":"MAT4"},
{"bufferView":5,"componentType":5126,"count":6,"type":"VEC4"},
{"bufferView":6,"componentType":5126,"count":2,"type":"SCALAR","min":[0],"max":[1]},
{"bufferView":7,"componentType":5126,"count":2,"type":"VEC4"},{"bufferView":8,"componentType":5126,"count":2,"type":"VEC3"}],
"bufferViews":[)";
    const int lengths[9] = {72, 24, 24, 96, 128, 96, 8, 32, 24};
    for (int i = 0, at = 0; i < 9; at += lengths[i++])
        json += (i ? "," : "") + std::string(R"({"buffer":0,"byteOffset":)") + std::to_string(at) +
                R"(,"byteLength":)" + std::to_string(lengths[i]) + "}";
    return json + R"(],"buffers":[{"byteLength":504,"uri":"strip.bin"}]})";
}

void write_strip_gltf(const std::string& path, const StripOptions& options) {
    std::ofstream(path, std::ios::binary) << strip_gltf(options);
    const std::vector<std::uint8_t> bin = strip_buffer();
    std::ofstream((std::filesystem::path(path).parent_path() / "strip.bin").string(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bin.data()), std::streamsize(bin.size()));
}

}  // namespace velq::test
