#include "image/picture_convert.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace velq {
namespace {

// The opaque alpha of a depth, as the colour conversions add it: 255, 65535, 1.0, ...
double opaque_alpha(int depth) {
    switch (depth) {
        case CV_8U:
            return 255;
        case CV_16U:
            return 65535;
        case CV_32F:
        case CV_64F:
            return 1.0;
        default:
            return 255;  // other depths are scaled to 8 bits before expansion
    }
}

// src: 1, 2 or 3 channels; dst: the same size and depth with 4 channels, already allocated.
void expand_to_four(const cv::Mat& src, cv::Mat& dst) {
    const int depth = src.depth();
    const bool cvt_depth = depth == CV_8U || depth == CV_16U || depth == CV_32F;
    if (src.channels() == 3 && cvt_depth) {
        cv::cvtColor(src, dst, cv::COLOR_BGR2BGRA);
    } else if (src.channels() == 1 && cvt_depth) {
        cv::cvtColor(src, dst, cv::COLOR_GRAY2BGRA);
    } else {
        // Grey + alpha (no colour conversion exists for it) and depths the conversions lack.
        dst.setTo(cv::Scalar(0, 0, 0, opaque_alpha(depth)));
        static const int grey[] = {0, 0, 0, 1, 0, 2};
        static const int grey_alpha[] = {0, 0, 0, 1, 0, 2, 1, 3};
        static const int colour[] = {0, 0, 1, 1, 2, 2};
        switch (src.channels()) {
            case 1:
                cv::mixChannels(&src, 1, &dst, 1, grey, 3);
                break;
            case 2:
                cv::mixChannels(&src, 1, &dst, 1, grey_alpha, 4);
                break;
            default:
                cv::mixChannels(&src, 1, &dst, 1, colour, 3);
                break;
        }
    }
}

}  // namespace

void clear_faint_pixels(UBUFFER& bgra) {
    std::uint8_t* p = bgra.data();
    const std::size_t n = std::size_t(bgra.width()) * bgra.height();
    for (std::size_t i = 0; i < n; ++i, p += 4) {
        if (p[3] < kFaintAlpha) p[0] = p[1] = p[2] = p[3] = 0;
    }
}

ConvertResult bgra_from_decoded(const cv::Mat& decoded, UBUFFER& out) {
    out.reset();
    const int channels = decoded.channels();
    if (decoded.empty() || decoded.dims != 2 || channels < 1 || channels > 4)
        return ConvertResult::Unsupported;
    if (!out.allocate(decoded.cols, decoded.rows, 4, Init::Uninitialised)) return ConvertResult::OutOfMemory;
    // Every conversion below writes straight into the picture's own samples.
    cv::Mat dst(decoded.rows, decoded.cols, CV_8UC4, out.data());
    const int depth = decoded.depth();

    try {
        if (depth == CV_8U) {
            if (channels == 4) {
                decoded.copyTo(dst);
            } else {
                expand_to_four(decoded, dst);
            }
        } else if (depth == CV_32F || depth == CV_64F) {
            // Expanded at the source depth first, so a missing alpha is 1.0 and scales to 0: floating
            // pictures without alpha come out fully transparent, as they always have.
            cv::Mat wide;
            if (channels == 4) {
                wide = decoded;
            } else {
                wide.create(decoded.rows, decoded.cols, CV_MAKETYPE(depth, 4));
                expand_to_four(decoded, wide);
            }
            wide.convertTo(dst, CV_8U, kDepthScale, 0);
        } else {
            // 16 bits and the other integer depths: scaling first and adding an opaque alpha after
            // gives the same bytes as expanding first (65535 scales to 255), on a quarter less memory.
            if (channels == 4) {
                decoded.convertTo(dst, CV_8U, kDepthScale, 0);
            } else {
                cv::Mat narrow;
                decoded.convertTo(narrow, CV_8U, kDepthScale, 0);
                expand_to_four(narrow, dst);
            }
        }
    } catch (const cv::Exception&) {
        out.reset();
        return ConvertResult::Unsupported;
    } catch (const std::bad_alloc&) {
        out.reset();
        return ConvertResult::OutOfMemory;
    }
    // The conversions write in place when size and type match; make sure none reallocated.
    if (dst.data != out.data()) {
        out.reset();
        return ConvertResult::Unsupported;
    }
    clear_faint_pixels(out);
    return ConvertResult::Ok;
}

}  // namespace velq
