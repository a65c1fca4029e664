// Writes the seed pictures for picture_reader_fuzz into the folder given as the only argument: tiny
// PNG, JPEG (baseline, progressive, with EXIF), BMP, TIFF and WebP files, with and without alpha,
// 8 and 16 bits, with resolution fields, and a layered PSD as Save writes it. Generated at build time
// so no binary seeds are kept.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "image/psd_writer.h"

namespace {

std::uint32_t crc(const std::uint8_t* p, std::size_t n) {
    std::uint32_t c = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < n; ++i) {
        c ^= p[i];
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    }
    return c ^ 0xFFFFFFFFu;
}

void put_be32(std::vector<std::uint8_t>& v, std::size_t at, std::uint32_t x) {
    for (int i = 0; i < 4; ++i) v[at + i] = std::uint8_t(x >> (24 - 8 * i));
}

// A pHYs chunk (11811 pixels per metre) inserted after IHDR.
std::vector<std::uint8_t> with_phys(std::vector<std::uint8_t> png) {
    std::vector<std::uint8_t> chunk(21, 0);
    put_be32(chunk, 0, 9);
    chunk[4] = 'p', chunk[5] = 'H', chunk[6] = 'Y', chunk[7] = 's';
    put_be32(chunk, 8, 11811);
    put_be32(chunk, 12, 11811);
    chunk[16] = 1;
    put_be32(chunk, 17, crc(chunk.data() + 4, 13));
    png.insert(png.begin() + 33, chunk.begin(), chunk.end());
    return png;
}

// An EXIF segment (XResolution 300/1, unit inch, big-endian) inserted after the JFIF segment.
std::vector<std::uint8_t> with_exif(std::vector<std::uint8_t> jpeg) {
    const std::uint8_t seg[] = {
        0xFF, 0xE1, 0,    54,   'E', 'x', 'i', 'f', 0, 0,         // APP1, length, identifier
        'M',  'M',  0,    42,   0,   0,   0,   8,                 // TIFF header, IFD0 at 8
        0,    2,                                                  // two entries
        0x01, 0x1A, 0,    5,    0,   0,   0,   1,   0, 0, 0, 38,  // XResolution, RATIONAL at 38
        0x01, 0x28, 0,    3,    0,   0,   0,   1,   0, 2, 0, 0,   // ResolutionUnit = inch
        0,    0,    0,    0,                                      // no next IFD
        0,    0,    0x01, 0x2C, 0,   0,   0,   1};                // 300 / 1
    const std::size_t after_jfif = 4 + ((std::size_t(jpeg[4]) << 8) | jpeg[5]);
    jpeg.insert(jpeg.begin() + std::ptrdiff_t(after_jfif), std::begin(seg), std::end(seg));
    return jpeg;
}

void save(const std::string& dir, const std::string& name, const std::vector<std::uint8_t>& bytes) {
    if (std::FILE* f = std::fopen((dir + "/" + name).c_str(), "wb")) {
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
}

std::vector<std::uint8_t> encode(const cv::Mat& m, const char* ext, const std::vector<int>& params = {}) {
    std::vector<std::uint8_t> out;
    cv::imencode(ext, m, out, params);
    return out;
}

// Two layers over a background, one with soft alpha and one hidden, so the fuzzer starts from
// every part of the layer records as well as the merged picture.
void save_psd(const std::string& dir, const cv::Mat& bgra) {
    velq::UBUFFER merged;
    if (!merged.allocate(bgra.cols, bgra.rows, 4)) return;
    std::memcpy(merged.data(), bgra.data, merged.size());
    const velq::PsdLayer layers[] = {{"Background", false}, {"Ly0", false}, {"Ly1", true}};
    if (std::FILE* f = std::fopen((dir + "/layers.psd").c_str(), "w+b")) {
        velq::write_psd(f, merged, 300, layers, [&](int index, velq::UBUFFER& p) {
            for (int y = 0; y < p.height(); ++y)
                for (int x = 0; x < p.width(); ++x)
                    for (int c = 0; c < 4; ++c)
                        p.at(x, y, c) = c == 3 ? std::uint8_t(index == 1 && x < 3 ? 0 : 40 * (x + y))
                                               : merged.at(x, y, c);
            return true;
        });
        std::fclose(f);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::string dir = argv[1];
    cv::Mat bgra(6, 7, CV_8UC4), bgr(6, 7, CV_8UC3), grey(6, 7, CV_8UC1), deep(5, 4, CV_16UC3);
    cv::randu(bgra, cv::Scalar::all(0), cv::Scalar::all(256));
    cv::randu(bgr, cv::Scalar::all(0), cv::Scalar::all(256));
    cv::randu(grey, cv::Scalar::all(0), cv::Scalar::all(256));
    cv::randu(deep, cv::Scalar::all(0), cv::Scalar::all(65536));

    save(dir, "bgra.png", with_phys(encode(bgra, ".png")));
    save(dir, "grey.png", encode(grey, ".png"));
    save(dir, "deep.png", encode(deep, ".png"));
    save(dir, "baseline.jpg", with_exif(encode(bgr, ".jpg", {cv::IMWRITE_JPEG_QUALITY, 50})));
    save(dir, "progressive.jpg", encode(grey, ".jpg", {cv::IMWRITE_JPEG_PROGRESSIVE, 1}));
    save(dir, "bgr.bmp", encode(bgr, ".bmp"));
    save(dir, "bgra.tif", encode(bgra, ".tif", {cv::IMWRITE_TIFF_RESUNIT, 3, cv::IMWRITE_TIFF_XDPI, 118}));
    save(dir, "deep.tif", encode(deep, ".tif"));
    save(dir, "lossy.webp", encode(bgr, ".webp", {cv::IMWRITE_WEBP_QUALITY, 30}));
    save(dir, "lossless.webp", encode(bgra, ".webp", {cv::IMWRITE_WEBP_QUALITY, 101}));
    save_psd(dir, bgra);
    return 0;
}
