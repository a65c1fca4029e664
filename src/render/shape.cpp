#include "render/shape.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "image/packbits.h"
#include "image/resample.h"

namespace velq {

namespace {
// Channel 0 of alt_buffer into the shade plane, channel 1 into the mask plane.
void extract_planes(SHAPE& s) {
    const std::size_t n = std::size_t(SHAPE::kSide) * SHAPE::kSide;
    const std::uint8_t* a = s.alt_buffer.data();
    std::uint8_t* sh = s.shade_plane.data();
    std::uint8_t* m = s.mask_plane.data();
    for (std::size_t i = 0; i < n; ++i) {
        sh[i] = a[2 * i];
        m[i] = a[2 * i + 1];
    }
    ++s.generation;
    s.stencils.planes_changed(find_ink(s.shade_plane, s.mask_plane));
}

bool allocate_buffers(SHAPE& s) {
    constexpr int n = SHAPE::kSide;
    return s.preview_buffer.allocate(n, n, 4) && s.org_buffer.allocate(n, n, 2) &&
           s.alt_buffer.allocate(n, n, 2) && s.shade_plane.allocate(n, n, 1) &&
           s.mask_plane.allocate(n, n, 1);
}
// Any picture OpenCV reads, as 8-bit blue, green, red, alpha: 3 channels gain an opaque alpha, grey
// and grey with alpha are spread over the three colours, and any other depth is scaled by 1/255.
cv::Mat to_bgra8(const cv::Mat& in) {
    cv::Mat img = in;
    if (img.type() != CV_8UC4) {
        if (img.channels() == 3) {
            cv::cvtColor(img, img, cv::COLOR_BGR2BGRA);
        } else if (img.channels() == 1) {
            cv::cvtColor(img, img, cv::COLOR_GRAY2BGRA);
        } else if (img.channels() == 2) {
            cv::Mat planes[2];
            cv::split(img, planes);
            const cv::Mat bgra[4] = {planes[0], planes[0], planes[0], planes[1]};
            cv::merge(bgra, 4, img);
        }
    }
    if (img.type() != CV_8UC4) img.convertTo(img, CV_8U, 0.00392156862745098, 0);
    return img;
}

// Undoes packbits_encode into `out`, which must be filled exactly; false when the code does not fit.
bool unpack(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    std::size_t i = 0, o = 0;
    while (i < in.size()) {
        const int n = in[i++];
        if (n < 128) {
            const std::size_t len = std::size_t(n) + 1;
            if (i + len > in.size() || o + len > out.size()) return false;
            std::copy_n(in.begin() + std::ptrdiff_t(i), len, out.begin() + std::ptrdiff_t(o));
            i += len;
            o += len;
        } else if (n > 128) {
            const std::size_t len = std::size_t(257 - n);
            if (i >= in.size() || o + len > out.size()) return false;
            std::fill_n(out.begin() + std::ptrdiff_t(o), len, in[i++]);
            o += len;
        }
    }
    return o == out.size();
}

// The tone of one opacity or shade value, as apply_layer_tone gives it.
void tone_planes(std::uint8_t* shade, std::uint8_t* mask, std::size_t n, int brightness, int transparency) {
    for (std::size_t i = 0; i < n; ++i) {
        if (mask[i] == 0) continue;
        shade[i] = std::uint8_t(std::clamp(double(shade[i]) * brightness / 100, 0.0, 255.0));
        mask[i] = std::uint8_t(std::clamp(double(mask[i]) * transparency / 255, 0.0, 255.0));
    }
}

// Alpha below this is cut away before the shape is measured.
constexpr int kAlphaCut = 10;

}  // namespace

SHAPE::SHAPE(Host& host) {
    if (!allocate_buffers(*this)) {
        host.message("Failed to allocate org_buffer, alt_buffer, int SHAPE()");
        return;
    }
    constexpr int n = kSide, c = kSide / 2;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            if ((x - c) * (x - c) + (y - c) * (y - c) > c * c) continue;
            org_buffer.at(x, y, 0) = 255;
            org_buffer.at(x, y, 1) = 255;
            for (int k = 0; k < 4; ++k) preview_buffer.at(x, y, k) = 255;
        }
    }
    copy_to(host, org_buffer, alt_buffer);
    extract_planes(*this);
}

int SHAPE::read_shape(Host& host, const std::string& path) {
    cv::Mat img;
    try {
        img = cv::imread(path, cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception&) {
        img.release();
    }
    if (img.empty()) {
        host.message("Failed to read_shape");
        return -1;
    }
    UBUFFER work;
    if (!allocate_buffers(*this) || !work.allocate(kSide, kSide, 4)) {
        host.message("Failed to allocate shp_buffer in read_shape");
        return -1;
    }
    try {
        img = to_bgra8(img);
    } catch (const cv::Exception&) {
        img.release();
    }
    if (img.empty() || img.channels() != 4) {
        host.message("Failed to read_shape");
        return -1;
    }
    if (img.cols < kSide && img.rows < kSide) {
        host.message("Too small shape image, must be larger than 1024x1024 pixel");
        return -1;
    }

    // Cut away the faint pixels and find the box of what is left.
    int left = img.cols, top = img.rows, right = -1, bottom = -1;
    for (int y = 0; y < img.rows; ++y) {
        std::uint8_t* row = img.ptr<std::uint8_t>(y);
        for (int x = 0; x < img.cols; ++x) {
            std::uint8_t* p = row + 4 * x;
            if (p[3] < kAlphaCut) {
                p[0] = p[1] = p[2] = p[3] = 0;
                continue;
            }
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    if (right < 0) {  // nothing opaque enough to be a shape
        host.message("Failed to read_shape");
        return -1;
    }
    const int bw = right - left + 1, bh = bottom - top + 1;

    // The circle around the box's centre that holds every remaining pixel.
    const double cx = left + bw * 0.5, cy = top + bh * 0.5;
    std::int64_t max_d2 = 0;
    for (int y = top; y <= bottom; ++y) {
        const std::uint8_t* row = img.ptr<std::uint8_t>(y);
        for (int x = left; x <= right; ++x) {
            if (row[4 * x + 3] == 0) continue;
            const double d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
            if (d2 > double(max_d2)) max_d2 = std::int64_t(d2 + 0.5);
        }
    }
    const int side = int(2 * std::sqrt(double(max_d2)) + 0.5);

    // The box centred in a square of that side, then brought to the working square.
    UBUFFER ext;
    if (!ext.allocate(side, side, 4)) {
        host.message("Failed to allocate ext_buffer in read_shape()");
        return -1;
    }
    const int ox = int((side - bw) * 0.5), oy = int((side - bh) * 0.5);
    for (int y = top; y <= bottom; ++y) {
        const std::uint8_t* row = img.ptr<std::uint8_t>(y);
        for (int x = left; x <= right; ++x) {
            const std::uint8_t* p = row + 4 * x;
            const int tx = ox + x - left, ty = oy + y - top;
            if (p[3] == 0 || !ext.inside(tx, ty)) continue;
            std::copy(p, p + 4, &ext.at(tx, ty));
        }
    }
    img.release();
    if (get_resized(host, ext, work) != 0) return -1;
    ext.reset();

    // Grey level and opacity, nothing outside the bounding disc.
    constexpr int c = kSide / 2;
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const std::uint8_t* p = &work.at(x, y);
            const std::uint8_t a = p[3];
            if (a == 0) continue;
            if ((x - c) * (x - c) + (y - c) * (y - c) > c * c) continue;
            const auto g = std::uint8_t(float(p[0] + p[1] + p[2]) / 3.0f + 0.5f);
            org_buffer.at(x, y, 0) = g;
            org_buffer.at(x, y, 1) = a;
            std::uint8_t* q = &preview_buffer.at(x, y);
            q[0] = q[1] = q[2] = g;
            q[3] = a;
        }
    }
    if (!copy_to(host, org_buffer, alt_buffer)) return -1;
    extract_planes(*this);
    name = path;
    return 0;
}

std::unique_ptr<SHAPE> SHAPE::from_planes(Host& host, std::span<const std::uint8_t> shade,
                                          std::span<const std::uint8_t> opacity, std::uint16_t character) {
    constexpr std::size_t n = std::size_t(kSide) * kSide;
    std::unique_ptr<SHAPE> s(new SHAPE());
    if (shade.size() != n || opacity.size() != n || !s->shade_plane.allocate(kSide, kSide, 1) ||
        !s->mask_plane.allocate(kSide, kSide, 1)) {
        host.message("Failed to allocate org_buffer, alt_buffer, int SHAPE()");
        return nullptr;
    }
    packbits_encode(shade, s->packed_org);
    packbits_encode(opacity, s->packed_org);
    s->packed_org.shrink_to_fit();
    std::copy(shade.begin(), shade.end(), s->shade_plane.data());
    std::copy(opacity.begin(), opacity.end(), s->mask_plane.data());
    s->character = character;
    ++s->generation;
    s->stencils.planes_changed(find_ink(s->shade_plane, s->mask_plane));
    return s;
}

UBUFFER SHAPE::preview() const {
    UBUFFER out;
    if (preview_buffer) return preview_buffer.clone();
    if (!shade_plane || !mask_plane || !out.allocate(kSide, kSide, 4)) return out;
    const std::size_t n = std::size_t(kSide) * kSide;
    for (std::size_t i = 0; i < n; ++i) {
        std::uint8_t* q = out.data() + 4 * i;
        q[0] = q[1] = q[2] = shade_plane.data()[i];
        q[3] = mask_plane.data()[i];
    }
    return out;
}

void SHAPE::apply_layer_tone(int brightness_percent, int transparency) {
    if (!usable()) return;
    const std::size_t n = std::size_t(kSide) * kSide;
    if (!packed_org.empty()) {
        std::uint8_t *sh = shade_plane.data(), *m = mask_plane.data();
        std::vector<std::uint8_t> planes(2 * n);
        if (!unpack(packed_org, planes)) return;
        std::copy_n(planes.begin(), n, sh);
        std::copy_n(planes.begin() + std::ptrdiff_t(n), n, m);
        tone_planes(sh, m, n, brightness_percent, transparency);
        ++generation;
        stencils.planes_changed(find_ink(shade_plane, mask_plane));
        return;
    }
    const std::uint8_t* o = org_buffer.data();
    std::uint8_t* a = alt_buffer.data();
    std::copy(o, o + 2 * n, a);
    for (std::size_t i = 0; i < n; ++i) {
        if (o[2 * i + 1] == 0) continue;
        const double shade = double(o[2 * i]) * brightness_percent / 100;
        const double opacity = double(o[2 * i + 1]) * transparency / 255;
        a[2 * i] = std::uint8_t(std::clamp(shade, 0.0, 255.0));
        a[2 * i + 1] = std::uint8_t(std::clamp(opacity, 0.0, 255.0));
    }
    extract_planes(*this);
}

}  // namespace velq
