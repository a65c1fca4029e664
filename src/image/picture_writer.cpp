#include "image/picture_writer.h"

#include <filesystem>
#include <new>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "image/file_types.h"
#include "image/replace_file.h"
#include "image/resolution_stamp.h"
#include "image/tiff_alpha.h"

namespace velq {
namespace {

bool is_bgra(const UBUFFER& p) {
    return p && p.channels() == 4 && p.width() > 0 && p.height() > 0;
}

// A Mat over the picture's own samples: no copy.
cv::Mat wrap(const UBUFFER& p) {
    return cv::Mat(p.height(), p.width(), CV_8UC4, const_cast<std::uint8_t*>(p.data()));
}

}  // namespace

PictureType picture_type_of(std::string_view path) {
    const std::string ext = file_extension(path);
    if (ext == "png") return PictureType::Png;
    if (ext == "jpg") return PictureType::Jpeg;
    if (ext == "bmp") return PictureType::Bmp;
    if (ext == "tif" || ext == "tiff") return PictureType::Tiff;
    return PictureType::Unknown;
}

PictureError encode_picture(PictureType type, const UBUFFER& picture, int dpi,
                            std::vector<std::uint8_t>& out) {
    out.clear();
    if (!is_bgra(picture)) return PictureError::EmptyPicture;
    const char* ext = nullptr;
    std::vector<int> params;
    switch (type) {
        case PictureType::Png:
            ext = ".png";
            break;
        case PictureType::Jpeg:
            ext = ".jpg";
            break;
        case PictureType::Bmp:
            ext = ".bmp";
            break;
        case PictureType::Tiff:
            ext = ".tif";
            if (dpi > 0)
                params = {cv::IMWRITE_TIFF_RESUNIT, 2,  cv::IMWRITE_TIFF_XDPI, dpi,
                          cv::IMWRITE_TIFF_YDPI,    dpi};
            break;
        case PictureType::Unknown:
            return PictureError::UnknownType;
    }
    try {
        if (!cv::imencode(ext, wrap(picture), out, params)) return PictureError::EncodeFailed;
    } catch (const cv::Exception&) {
        return PictureError::EncodeFailed;
    } catch (const std::bad_alloc&) {
        return PictureError::EncodeFailed;
    }
    if (type == PictureType::Tiff && !mark_tiff_alpha(out)) return PictureError::EncodeFailed;
    if (dpi <= 0) return PictureError::None;
    bool stamped = true;
    if (type == PictureType::Jpeg) stamped = stamp_jpeg_dpi(out, dpi);
    if (type == PictureType::Png) stamped = stamp_png_dpi(out, dpi);
    if (type == PictureType::Bmp) stamped = stamp_bmp_dpi(out, dpi);
    return stamped ? PictureError::None : PictureError::EncodeFailed;
}

PictureError write_picture(const std::string& path, const UBUFFER& picture, int dpi) {
    std::vector<std::uint8_t> bytes;
    const PictureError e = encode_picture(picture_type_of(path), picture, dpi, bytes);
    if (e != PictureError::None) return e;
    return replace_file(path, bytes) ? PictureError::None : PictureError::WriteFailed;
}

PictureError write_raw(const std::string& path, const UBUFFER& picture) {
    if (!is_bgra(picture)) return PictureError::EmptyPicture;
    const std::string ext = std::filesystem::path(path).extension().string();
    std::vector<std::uint8_t> bytes;
    try {
        if (ext.empty() || !cv::haveImageWriter(path)) return PictureError::UnknownType;
        cv::Mat opaque(picture.height(), picture.width(), CV_8UC4);
        for (int y = 0; y < picture.height(); ++y) {
            const std::uint8_t* s = picture.row(y);
            std::uint8_t* d = opaque.ptr<std::uint8_t>(y);
            for (int x = 0; x < picture.width(); ++x, s += 4, d += 4) {
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
                d[3] = 255;
            }
        }
        if (!cv::imencode(ext, opaque, bytes)) return PictureError::EncodeFailed;
    } catch (const cv::Exception&) {
        return PictureError::EncodeFailed;
    } catch (const std::bad_alloc&) {
        return PictureError::EncodeFailed;
    }
    return replace_file(path, bytes) ? PictureError::None : PictureError::WriteFailed;
}

}  // namespace velq
