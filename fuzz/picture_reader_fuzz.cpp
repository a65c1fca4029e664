// Feeds arbitrary bytes to the picture reader: header check, resolution parser, cut-off JPEG walk,
// decoder and conversion. Nothing may crash, and whatever decodes must be a sane picture: within the
// size limit, as large as its header said, with every faint pixel cleared.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "image/picture_header.h"
#include "image/picture_reader.h"
#include "image/resolution.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    const velq::PictureHeader header = velq::read_picture_header(bytes);
    const int dpi = velq::read_dpi(bytes);
    if (dpi < 0 || (dpi == 0 && header.sized())) std::abort();

    // Headers the reader accepts but whose decoding would need more than libFuzzer's memory limit
    // (a legitimate 2^28-pixel 16-bit picture is 2 GiB) are only parsed, not decoded.
    if (header.sized() && !header.too_large() && header.width * header.height > (std::int64_t(1) << 22))
        return 0;
    const velq::PictureRead r = velq::decode_picture(bytes);
    if (bool(r) != bool(r.picture)) std::abort();
    if (!r) return 0;
    if (!header.sized() || header.too_large() || r.dpi != dpi) std::abort();
    if (header.format == velq::PictureFormat::Jpeg && !velq::jpeg_is_complete(bytes)) std::abort();
    const velq::UBUFFER& p = r.picture;
    if (p.channels() != 4 || std::int64_t(p.width()) * p.height() > velq::kMaxPicturePixels) std::abort();
    const std::uint8_t* px = p.data();
    for (std::size_t i = 0, n = std::size_t(p.width()) * p.height(); i < n; ++i, px += 4) {
        if (px[3] < 10 && (px[0] | px[1] | px[2] | px[3])) std::abort();
    }
    return 0;
}
