#include "picture_files.h"

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

std::vector<std::uint8_t> encoded(const cv::Mat& m, const std::string& ext, const std::vector<int>& params) {
    std::vector<std::uint8_t> out;
    cv::imencode(ext, m, out, params);
    return out;
}

std::vector<std::uint8_t> noise_file(int w, int h, int type, const std::string& ext,
                                     const std::vector<int>& params) {
    cv::Mat m(h, w, type);
    cv::randu(m, cv::Scalar::all(0), cv::Scalar::all(256));
    return encoded(m, ext, params);
}

std::vector<std::uint8_t> patched_png(std::vector<std::uint8_t> png, const std::vector<PngChunk>& extra,
                                      std::uint32_t width, std::uint32_t height) {
    if (width) {  // IHDR's data starts at byte 16, its CRC (over type and data) at 29
        std::vector<std::uint8_t> size;
        put_u32be(size, width);
        put_u32be(size, height);
        std::copy(size.begin(), size.end(), png.begin() + 16);
        size.clear();
        put_u32be(size, png_crc(png.data() + 12, 17));
        std::copy(size.begin(), size.end(), png.begin() + 29);
    }
    std::vector<std::uint8_t> chunks;
    for (const PngChunk& c : extra) put_chunk(chunks, c.type, c.data);
    png.insert(png.begin() + 33, chunks.begin(), chunks.end());
    return png;
}

}  // namespace velq::test
