#include "support/pictures.h"

#include <filesystem>
#include <random>

#include <unistd.h>

namespace velq::test {

UBUFFER make_picture(int w, int h, const std::function<std::uint32_t(int, int)>& fn) {
    UBUFFER b;
    b.allocate(w, h, 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const std::uint32_t v = fn(x, y);
            for (int c = 0; c < 4; ++c) b.at(x, y, c) = std::uint8_t(v >> (8 * c));
        }
    return b;
}

UBUFFER flat_picture(int w, int h, std::uint32_t argb) {
    return make_picture(w, h, [argb](int, int) { return argb; });
}

UBUFFER noise_picture(int w, int h, std::uint32_t seed, bool opaque) {
    std::mt19937 gen(seed);
    return make_picture(w, h, [&](int, int) {
        const std::uint32_t v = gen();
        return opaque ? (v | 0xFF000000u) : v;
    });
}

namespace {

// The program's temporary folder, removed at exit so no run leaves folders behind.
struct RunFolder {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("velq-test-" + std::to_string(::getpid()));
    ~RunFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace

std::string temp_dir(const std::string& name) {
    namespace fs = std::filesystem;
    static const RunFolder run;
    const fs::path p = run.path / name;
    fs::remove_all(p);
    fs::create_directories(p);
    return p.string();
}

}  // namespace velq::test
