#include "image/picture_reader.h"

#include <new>

#include <webp/decode.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "image/file_bytes.h"
#include "image/picture_convert.h"
#include "image/picture_header.h"
#include "image/psd_reader.h"
#include "image/resolution.h"

namespace velq {
namespace {

PictureRead failed(PictureError e, int dpi = 0) {
    PictureRead r;
    r.error = e;
    r.dpi = dpi;
    return r;
}

// OpenCV's decoder takes a WebP file only when libwebp finds its features in the first 32 bytes.
// Other files that say "RIFF...WEBP" would be offered to OpenCV's other decoders, some of which
// abort the program on malformed input (the DICOM one looks for "DICM" at byte 128), so they are
// refused here. The other formats' magic numbers are the ones their decoders ask for.
bool webp_decoder_takes(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kSignatureBytes = 32;
    if (bytes.size() < kSignatureBytes) return false;
    WebPBitstreamFeatures features;
    return WebPGetFeatures(bytes.data(), kSignatureBytes, &features) == VP8_STATUS_OK;
}

}  // namespace

PictureRead decode_picture(std::span<const std::uint8_t> bytes) {
    const PictureHeader header = read_picture_header(bytes);
    if (!header.sized()) return failed(PictureError::Unreadable);
    const int dpi = read_dpi(bytes);
    if (header.too_large()) return failed(PictureError::TooLarge, dpi);
    // A JPEG decoder fills a cut-off picture with grey and reports success; every other decoder
    // refuses such a file, so a cut-off JPEG is refused too.
    if (header.format == PictureFormat::Jpeg && !jpeg_is_complete(bytes)) {
        return failed(PictureError::Unreadable, dpi);
    }
    if (header.format == PictureFormat::WebP && !webp_decoder_takes(bytes))
        return failed(PictureError::Unreadable, dpi);

    if (header.format == PictureFormat::Psd) {
        PictureRead r;
        r.dpi = dpi;
        r.error = decode_psd(bytes, r.picture);
        if (!r) return failed(r.error, dpi);
        clear_faint_pixels(r.picture);
        return r;
    }

    cv::Mat decoded;
    try {
        // Unchanged: keep alpha and depth; no orientation applied.
        const cv::Mat encoded(1, int(bytes.size()), CV_8U, const_cast<std::uint8_t*>(bytes.data()));
        decoded = cv::imdecode(encoded, cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception&) {
        return failed(PictureError::Unreadable, dpi);
    } catch (const std::bad_alloc&) {
        return failed(PictureError::OutOfMemory, dpi);
    }
    if (decoded.empty()) return failed(PictureError::Unreadable, dpi);
    if (std::int64_t(decoded.cols) * decoded.rows > kMaxPicturePixels)
        return failed(PictureError::TooLarge, dpi);

    PictureRead r;
    r.dpi = dpi;
    switch (bgra_from_decoded(decoded, r.picture)) {
        case ConvertResult::Ok:
            break;
        case ConvertResult::Unsupported:
            return failed(PictureError::Unreadable, dpi);
        case ConvertResult::OutOfMemory:
            return failed(PictureError::OutOfMemory, dpi);
    }
    return r;
}

PictureRead read_picture(const std::string& path) {
    const FileBytes file = read_file_bytes(path);
    switch (file.error) {
        case FileBytes::Error::None:
            break;
        case FileBytes::Error::TooLarge:
            return failed(PictureError::TooLarge);
        case FileBytes::Error::OutOfMemory:
            return failed(PictureError::OutOfMemory);
        default:
            return failed(PictureError::Unreadable);
    }
    return decode_picture(file.bytes);
}

}  // namespace velq
