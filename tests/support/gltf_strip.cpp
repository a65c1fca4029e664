#include "support/gltf_strip.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <vector>

namespace velq::test {

namespace {

struct Bytes {
    std::vector<std::uint8_t> data;
    template <class T>
    std::size_t put(std::initializer_list<T> values) {
        const std::size_t at = data.size();
        for (T v : values) {
            std::uint8_t b[sizeof(T)];
            std::memcpy(b, &v, sizeof(T));
            data.insert(data.end(), b, b + sizeof(T));
        }
        while (data.size() % 4) data.push_back(0);
        return at;
    }
};

std::string base64(const std::vector<std::uint8_t>& in) {
    static const char* abc = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < in.size(); i += 3) {
        const std::uint32_t n = (std::uint32_t(in[i]) << 16) | (i + 1 < in.size() ? in[i + 1] << 8 : 0) |
                                (i + 2 < in.size() ? in[i + 2] : 0);
        out += abc[(n >> 18) & 63];
        out += abc[(n >> 12) & 63];
        out += i + 1 < in.size() ? abc[(n >> 6) & 63] : '=';
        out += i + 2 < in.size() ? abc[n & 63] : '=';
    }
    return out;
}

std::string view(std::size_t offset, std::size_t length) {
    return R"({"buffer":0,"byteOffset":)" + std::to_string(offset) + R"(,"byteLength":)" +
           std::to_string(length) + "}";
}

std::string accessor(int view, int component, int count, const char* type, const char* extra = "") {
    return R"({"bufferView":)" + std::to_string(view) + R"(,"componentType":)" + std::to_string(component) +
           R"(,"count":)" + std::to_string(count) + R"(,"type":")" + type + "\"" + extra + "}";
}

}  // namespace

std::string strip_gltf(const StripOptions& options) {
    Bytes b;
    std::vector<std::pair<std::size_t, std::size_t>> views;
    auto add = [&](auto values) {
        const std::size_t before = b.data.size();
        const std::size_t at = b.put(values);
        views.push_back({at, b.data.size() - before});
    };
    // Vertices: index 2k at (k, 0), 2k + 1 at (k, 1).
    add(std::initializer_list<float>{0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 2, 0, 0, 2, 1, 0});
    add(std::initializer_list<std::uint16_t>{0, 2, 1, 1, 2, 3, 2, 4, 3, 3, 4, 5});
    add(std::initializer_list<std::uint8_t>{0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0,
                                            0, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    add(std::initializer_list<float>{1,   0,   0, 0, 1, 0, 0, 0, 0.5, 0.5, 0, 0,
                                     0.5, 0.5, 0, 0, 1, 0, 0, 0, 1,   0,   0, 0});
    add(std::initializer_list<float>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0,  0, 0, 1,  // bone 0 at the origin
                                     1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1});
    add(std::initializer_list<float>{1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 1, 1});
    const float h = float(std::sqrt(0.5));
    add(std::initializer_list<float>{0, 1});
    add(std::initializer_list<float>{0, 0, 0, 1, 0, 0, h, h});
    add(std::initializer_list<float>{0, 0, 0, 0, 2, 0});

    std::string json = R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],)";
    json += R"("nodes":[{"name":"strip","mesh":0,"skin":0},{"name":"bone0","children":[2]},)"
            R"({"name":"bone1","translation":[1,0,0]}],)";
    json += R"("meshes":[{"primitives":[{"attributes":{"POSITION":0,"JOINTS_0":2,"WEIGHTS_0":3,"COLOR_0":5},)"
            R"("indices":1}]}],)";
    json += R"("skins":[{"joints":[1,2],"inverseBindMatrices":4}],)";
    if (options.animated)
        json += R"("animations":[{"samplers":[{"input":6,"output":7},{"input":6,"output":8}],)"
                R"("channels":[{"sampler":0,"target":{"node":2,"path":"rotation"}},)"
                R"({"sampler":1,"target":{"node":1,"path":"translation"}}]}],)";
    json += R"("accessors":[)" + accessor(0, 5126, 6, "VEC3", R"(,"min":[0,0,0],"max":[2,1,0])") + "," +
            accessor(1, 5123, 12, "SCALAR") + "," + accessor(2, 5121, 6, "VEC4") + "," +
            accessor(3, 5126, 6, "VEC4") + "," + accessor(4, 5126, 2, "MAT4") + "," +
            accessor(5, 5126, 6, "VEC4") + "," + accessor(6, 5126, 2, "SCALAR", R"(,"min":[0],"max":[1])") +
            "," + accessor(7, 5126, 2, "VEC4") + "," + accessor(8, 5126, 2, "VEC3") + "],";
    json += R"("bufferViews":[)";
    for (std::size_t i = 0; i < views.size(); ++i)
        json += (i ? "," : "") + view(views[i].first, views[i].second);
    json += R"(],"buffers":[{"byteLength":)" + std::to_string(b.data.size()) +
            R"(,"uri":"data:application/octet-stream;base64,)" + base64(b.data) + R"("}]})";
    return json;
}

void write_strip_gltf(const std::string& path, const StripOptions& options) {
    std::ofstream(path, std::ios::binary) << strip_gltf(options);
}

}  // namespace velq::test
