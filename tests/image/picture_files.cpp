#include "picture_files.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#include <opencv2/imgcodecs.hpp>

#include "image/resolution_stamp.h"

namespace velq::test {
namespace {

void put_u32be(std::vector<std::uint8_t>& v, std::uint32_t x) {
    for (int i = 3; i >= 0; --i) v.push_back(std::uint8_t(x >> (8 * i)));
}

void put_chunk(std::vector<std::uint8_t>& png, const std::string& type,
               const std::vector<std::uint8_t>& data) {
    put_u32be(png, std::uint32_t(data.size()));
    std::vector<std::uint8_t> body(type.begin(), type.end());
    body.insert(body.end(), data.begin(), data.end());
    png.insert(png.end(), body.begin(), body.end());
    put_u32be(png, png_crc(body.data(), body.size()));
}

}  // namespace

std::vector<std::uint8_t> file_content(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

void put_file(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::vector<std::uint8_t> encoded(const cv::Mat& m, const std::string& ext) {
    std::vector<std::uint8_t> out;
    cv::imencode(ext, m, out);
    return out;
}

std::vector<std::uint8_t> handmade_png(std::uint32_t width, std::uint32_t height, int colour_type,
                                       int bit_depth, const std::vector<std::uint8_t>& samples,
                                       const std::vector<PngChunk>& extra) {
    std::vector<std::uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    std::vector<std::uint8_t> ihdr;
    put_u32be(ihdr, width);
    put_u32be(ihdr, height);
    ihdr.insert(ihdr.end(), {std::uint8_t(bit_depth), std::uint8_t(colour_type), 0, 0, 0});
    put_chunk(png, "IHDR", ihdr);
    for (const PngChunk& c : extra) put_chunk(png, c.type, c.data);

    // Rows with filter byte 0, in one zlib stream of stored blocks.
    const std::size_t row = height ? samples.size() / height : 0;
    std::vector<std::uint8_t> raw;
    for (std::uint32_t y = 0; y < height && row; ++y) {
        raw.push_back(0);
        raw.insert(raw.end(), samples.begin() + std::ptrdiff_t(y * row),
                   samples.begin() + std::ptrdiff_t((y + 1) * row));
    }
    std::vector<std::uint8_t> z = {0x78, 0x01};
    std::size_t at = 0;
    do {
        const std::size_t n = std::min<std::size_t>(raw.size() - at, 65535);
        const bool last = at + n == raw.size();
        z.push_back(last ? 1 : 0);
        z.push_back(std::uint8_t(n));
        z.push_back(std::uint8_t(n >> 8));
        z.push_back(std::uint8_t(~n));
        z.push_back(std::uint8_t(~n >> 8));
        z.insert(z.end(), raw.begin() + std::ptrdiff_t(at), raw.begin() + std::ptrdiff_t(at + n));
        at += n;
    } while (at < raw.size());
    std::uint32_t a = 1, b = 0;
    for (std::uint8_t c : raw) {
        a = (a + c) % 65521;
        b = (b + a) % 65521;
    }
    put_u32be(z, (b << 16) | a);
    put_chunk(png, "IDAT", z);
    put_chunk(png, "IEND", {});
    return png;
}

}  // namespace velq::test
