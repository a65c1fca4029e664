#include "render/passage_style.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <opencv2/imgproc.hpp>

#include "render/shape.h"

namespace velq {

namespace {

constexpr int kSide = SHAPE::kSide;
constexpr std::array<std::string_view, kPassageStyleCount> kNames = {
    "Flat", "Outline", "Shadow", "Emboss", "Bevel", "Bubble", "Metallic", "Bubble Metallic"};

cv::Mat wrap(std::span<const std::uint8_t> p) {
    return cv::Mat(kSide, kSide, CV_8U, const_cast<std::uint8_t*>(p.data()));
}
cv::Mat wrap(std::span<std::uint8_t> p) {
    return cv::Mat(kSide, kSide, CV_8U, p.data());
}

// Distance of every pixel inside the glyph (coverage of half or more) to the nearest outside one.
cv::Mat inner_distance(const cv::Mat& coverage) {
    cv::Mat inside, d;
    cv::threshold(coverage, inside, 127, 255, cv::THRESH_BINARY);
    cv::distanceTransform(inside, d, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    return d;
}

// Signed distance to the contour, negative inside, refined by the coverage at the edge.
cv::Mat signed_distance(const cv::Mat& coverage) {
    cv::Mat inside, outside, d_in, d_out;
    cv::threshold(coverage, inside, 127, 255, cv::THRESH_BINARY);
    cv::bitwise_not(inside, outside);
    cv::distanceTransform(inside, d_in, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    cv::distanceTransform(outside, d_out, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    cv::Mat sd(coverage.size(), CV_32F);
    for (int y = 0; y < coverage.rows; ++y) {
        const std::uint8_t* c = coverage.ptr<std::uint8_t>(y);
        const float *a = d_in.ptr<float>(y), *b = d_out.ptr<float>(y);
        float* s = sd.ptr<float>(y);
        for (int x = 0; x < coverage.cols; ++x) {
            const bool edge = c[x] > 0 && c[x] < 255;
            s[x] = edge ? 0.5f - c[x] / 255.0f : (c[x] >= 128 ? 0.5f - a[x] : b[x] - 0.5f);
        }
    }
    return sd;
}

// The height of a soap film stretched over the glyph: u solves the Poisson equation lap u = -1 inside
// and is 0 outside, coarse to fine on a 256-pixel grid; sqrt(2u) rounds every stroke like a tube.
cv::Mat inflated_height(const cv::Mat& coverage) {
    cv::Mat u;
    // The grid keeps the glyph box's proportions; its longer side takes 32, 64, 128 then 256 steps.
    const double longer = std::max(coverage.cols, coverage.rows);
    for (int steps : {32, 64, 128, 256}) {
        const double h = longer / steps;  // pixels of the shape per grid step
        const cv::Size size(std::max(3, int(coverage.cols / h)), std::max(3, int(coverage.rows / h)));
        cv::Mat mask;
        cv::resize(coverage, mask, size, 0, 0, cv::INTER_AREA);
        if (u.empty())
            u = cv::Mat::zeros(size, CV_32F);
        else
            cv::resize(u, u, size, 0, 0, cv::INTER_LINEAR);
        const float rhs = float(h * h);
        cv::Mat next = u.clone();
        const int iterations = steps == 32 ? 400 : 120;
        for (int it = 0; it < iterations; ++it) {
            for (int y = 1; y < size.height - 1; ++y) {
                const std::uint8_t* m = mask.ptr<std::uint8_t>(y);
                const float *up = u.ptr<float>(y - 1), *row = u.ptr<float>(y), *down = u.ptr<float>(y + 1);
                float* out = next.ptr<float>(y);
                for (int x = 1; x < size.width - 1; ++x)
                    out[x] = m[x] >= 128 ? 0.25f * (up[x] + down[x] + row[x - 1] + row[x + 1] + rhs) : 0.0f;
            }
            std::swap(u, next);
        }
    }
    cv::Mat full;
    cv::resize(u, full, coverage.size(), 0, 0, cv::INTER_CUBIC);
    cv::max(full, 0.0, full);
    cv::sqrt(2 * full, full);
    return full;
}

// A wide Gaussian blur of a smooth field, taken at a quarter of the resolution (the field has no
// detail a quarter-scale grid would lose) and brought back.
cv::Mat smooth(const cv::Mat& field, double sigma) {
    if (sigma < 8 || field.cols < 16 || field.rows < 16) {
        cv::Mat out;
        cv::GaussianBlur(field, out, {0, 0}, sigma);
        return out;
    }
    cv::Mat small, out;
    cv::resize(field, small, {field.cols / 4, field.rows / 4}, 0, 0, cv::INTER_AREA);
    cv::GaussianBlur(small, small, {0, 0}, sigma / 4);
    cv::resize(small, out, field.size(), 0, 0, cv::INTER_LINEAR);
    return out;
}

struct Light {
    double ambient, diffuse, specular, power;
};

// Unit normals of the height field (x right, y down, z toward the viewer).
void normals(const cv::Mat& height, cv::Mat& nx, cv::Mat& ny, cv::Mat& nz) {
    cv::Mat gx, gy;
    cv::Sobel(height, gx, CV_32F, 1, 0, 3, 1.0 / 8);
    cv::Sobel(height, gy, CV_32F, 0, 1, 3, 1.0 / 8);
    cv::Mat len;
    cv::magnitude(gx, gy, len);
    cv::multiply(len, len, len);
    cv::sqrt(len + 1, len);
    cv::divide(-gx, len, nx);
    cv::divide(-gy, len, ny);
    cv::divide(1.0, len, nz);
}

// From the upper left and in front, as on the bundled shapes.
const double kLx = -1 / std::sqrt(3.69), kLy = -1 / std::sqrt(3.69), kLz = 1.3 / std::sqrt(3.69);

double lambert(double nx, double ny, double nz) {
    return std::max(0.0, nx * kLx + ny * kLy + nz * kLz);
}

double highlight(double nx, double ny, double nz, double power) {
    const double hx = kLx, hy = kLy, hz = kLz + 1;  // halfway between the light and the viewer
    const double len = std::sqrt(hx * hx + hy * hy + hz * hz);
    return std::pow(std::max(0.0, (nx * hx + ny * hy + nz * hz) / len), power);
}

std::uint8_t to_byte(double v) {
    return std::uint8_t(std::clamp(v * 255 + 0.5, 0.0, 255.0));
}

// Calls fn(x, y, nx, ny, nz) for every pixel with opacity; returns the shade it gives.
template <class Fn>
void shade_opaque(const cv::Mat& height, const cv::Mat& opacity, cv::Mat& shade, Fn fn) {
    cv::Mat nx, ny, nz;
    normals(height, nx, ny, nz);
    for (int y = 0; y < height.rows; ++y) {
        const float *a = nx.ptr<float>(y), *b = ny.ptr<float>(y), *c = nz.ptr<float>(y);
        const std::uint8_t* m = opacity.ptr<std::uint8_t>(y);
        std::uint8_t* out = shade.ptr<std::uint8_t>(y);
        for (int x = 0; x < height.cols; ++x)
            if (m[x] != 0) out[x] = to_byte(fn(y, double(a[x]), double(b[x]), double(c[x])));
    }
}

void shade_lit(const cv::Mat& height, const Light& k, const cv::Mat& opacity, cv::Mat& shade) {
    shade_opaque(height, opacity, shade, [&](int, double a, double b, double c) {
        const double shine = k.specular > 0 ? k.specular * highlight(a, b, c, k.power) : 0.0;
        return k.ambient + k.diffuse * lambert(a, b, c) + shine;
    });
}

// Chrome: a sky-to-ground ramp over the glyph's height, bent by the reflected view ray, times the
// light, so faces turned from it stay dark.
void shade_chrome(const cv::Mat& height, const cv::Mat& coverage, double specular, cv::Mat& shade) {
    int top = coverage.rows, bottom = 0;
    for (int y = 0; y < coverage.rows; ++y)
        if (cv::countNonZero(coverage.row(y)) > 0) {
            top = std::min(top, y);
            bottom = y;
        }
    const double span = std::max(1, bottom - top);
    shade_opaque(height, coverage, shade, [&](int y, double a, double b, double c) {
        const double u = (y - top) / span + 0.9 * 2 * c * b;
        const double ramp = 0.55 + 0.45 * (0.55 + 0.45 * std::cos(2 * M_PI * (1.3 * u + 0.1)));
        return 0.15 + 0.95 * ramp * lambert(a, b, c) +
               (specular > 0 ? specular * highlight(a, b, c, 40) : 0.0);
    });
}

cv::Mat bevel_height(const cv::Mat& coverage, double em) {
    cv::Mat h = cv::min(inner_distance(coverage), 0.06 * em);
    cv::GaussianBlur(h, h, {0, 0}, 1.5);
    return h;
}

}  // namespace

std::string_view passage_style_name(PassageStyle style) {
    return kNames[std::size_t(style)];
}

std::optional<PassageStyle> passage_style_from_name(std::string_view name) {
    for (int i = 0; i < kPassageStyleCount; ++i) {
        std::string dashed(kNames[std::size_t(i)]);
        for (char& c : dashed) c = c == ' ' ? '-' : char(std::tolower(static_cast<unsigned char>(c)));
        if (name == kNames[std::size_t(i)] || name == dashed) return PassageStyle(i);
    }
    return std::nullopt;
}

double passage_style_margin(PassageStyle style) {
    switch (style) {
        case PassageStyle::Outline:
            return 0.05;
        case PassageStyle::Shadow:
            return 0.14;
        default:
            return 0.01;
    }
}

void style_glyph(PassageStyle style, std::span<const std::uint8_t> coverage, double em,
                 std::span<std::uint8_t> shade, std::span<std::uint8_t> opacity) {
    std::fill(shade.begin(), shade.end(), std::uint8_t(0));
    std::fill(opacity.begin(), opacity.end(), std::uint8_t(0));
    // Only the glyph's box and the room its style needs take any work.
    const cv::Rect box = cv::boundingRect(wrap(coverage));
    if (box.empty()) return;
    const int pad = int(std::ceil(0.15 * em)) + 4;
    const cv::Rect roi = cv::Rect(box.x - pad, box.y - pad, box.width + 2 * pad, box.height + 2 * pad) &
                         cv::Rect(0, 0, kSide, kSide);
    const cv::Mat cov = wrap(coverage)(roi);
    cv::Mat op = wrap(opacity)(roi), sh = wrap(shade)(roi);
    cov.copyTo(op);
    sh.setTo(255);
    switch (style) {
        case PassageStyle::Flat:
            break;
        case PassageStyle::Outline: {
            // A ring of half-width w on both sides of the contour, its edges anti-aliased.
            const cv::Mat sd = signed_distance(cov);
            const float w = float(0.035 * em);
            for (int y = 0; y < op.rows; ++y) {
                const float* s = sd.ptr<float>(y);
                std::uint8_t* o = op.ptr<std::uint8_t>(y);
                for (int x = 0; x < op.cols; ++x)
                    o[x] = to_byte(std::clamp(w + 0.5f - std::abs(s[x]), 0.0f, 1.0f));
            }
            break;
        }
        case PassageStyle::Shadow: {
            // The letter over a soft dark copy of itself, moved down and to the right.
            cv::Mat blurred;
            blurred = smooth(cov, 0.02 * em);
            const double shift = 0.05 * em;
            const cv::Mat move = (cv::Mat_<double>(2, 3) << 1, 0, shift, 0, 1, shift);
            cv::warpAffine(blurred, blurred, move, cov.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, 0);
            for (int y = 0; y < op.rows; ++y) {
                const std::uint8_t *c = cov.ptr<std::uint8_t>(y), *b = blurred.ptr<std::uint8_t>(y);
                std::uint8_t *o = op.ptr<std::uint8_t>(y), *s = sh.ptr<std::uint8_t>(y);
                for (int x = 0; x < op.cols; ++x) {
                    const double letter = c[x] / 255.0, dark = 0.7 * b[x] / 255.0 * (1 - letter);
                    const double total = letter + dark;
                    o[x] = to_byte(total);
                    s[x] = total > 0 ? to_byte((letter + dark * 50 / 255.0) / total) : 255;
                }
            }
            break;
        }
        case PassageStyle::Emboss: {
            cv::Mat h;
            cov.convertTo(h, CV_32F, 0.08 * em / 255);
            h = smooth(h, 0.025 * em);
            shade_lit(h, {0.35, 0.75, 0, 1}, op, sh);
            break;
        }
        case PassageStyle::Bevel:
            shade_lit(bevel_height(cov, em), {0.30, 0.75, 0.25, 30}, op, sh);
            break;
        case PassageStyle::Bubble:
            shade_lit(inflated_height(cov), {0.25, 0.55, 0.45, 40}, op, sh);
            break;
        case PassageStyle::Metallic:
            shade_chrome(bevel_height(cov, em), cov, 0, sh);
            break;
        case PassageStyle::BubbleMetallic:
            shade_chrome(inflated_height(cov), cov, 0.45, sh);
            break;
    }
    // Nothing is drawn where nothing is opaque, so the planes pack small.
    sh.setTo(0, op == 0);
}

}  // namespace velq
