// Draws the bundled shape set into data/shapes/: 1024 x 1024 BGRA pictures whose alpha is the
// shape's coverage (4 x 4 samples a pixel) and whose grey is a soft light from the upper left.
// Build and run with scripts/make-shapes.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

namespace {

constexpr int kSide = 1024;
constexpr double kPi = 3.14159265358979323846;

// Shapes are drawn in [-1, 1] x [-1, 1], y pointing down. `inside` says whether a point is covered,
// `shade` (0..1, optional) darkens details such as a leaf's vein.
struct Shape {
    std::string name;
    std::function<bool(double, double)> inside;
    std::function<double(double, double)> detail;
};

bool in_circle(double x, double y, double cx, double cy, double r) {
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r;
}

bool in_polygon(double x, double y, const std::vector<cv::Point2d>& poly) {
    bool in = false;
    for (std::size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++) {
        const cv::Point2d a = poly[i], b = poly[j];
        if ((a.y > y) != (b.y > y) && x < (b.x - a.x) * (y - a.y) / (b.y - a.y) + a.x) in = !in;
    }
    return in;
}

std::vector<cv::Point2d> star_points(int tips, double outer, double inner) {
    std::vector<cv::Point2d> p;
    for (int i = 0; i < 2 * tips; ++i) {
        const double a = -kPi / 2 + i * kPi / tips, r = i % 2 ? inner : outer;
        p.emplace_back(r * std::cos(a), r * std::sin(a));
    }
    return p;
}

std::vector<Shape> shapes() {
    const auto star = star_points(5, 0.98, 0.42);
    return {
        {"star", [star](double x, double y) { return in_polygon(x, y - 0.06, star); }, {}},
        {"heart",
         [](double x, double y) {
             const double u = x * 1.3, v = -(y * 1.3 - 0.3);  // the classic sextic, tip down
             const double q = u * u + v * v - 1;
             return q * q * q - u * u * v * v * v <= 0;
         },
         {}},
        {"leaf",
         [](double x, double y) {
             // An almond (two overlapping discs) turned by 45 degrees, with a short stem.
             const double c = std::cos(kPi / 4), s = std::sin(kPi / 4);
             const double u = c * x - s * y, v = s * x + c * y;
             const bool blade = in_circle(u, v, 0, 0.52, 1.0) && in_circle(u, v, 0, -0.52, 1.0);
             const bool stem = u > 0.7 && u < 1.15 && std::abs(v) < 0.03;
             return blade || stem;
         },
         [](double x, double y) {
             // A darker middle vein and three pairs of side veins.
             const double c = std::cos(kPi / 4), s = std::sin(kPi / 4);
             const double u = c * x - s * y, v = s * x + c * y;
             if (std::abs(v) < 0.016 && u < 0.75) return 0.6;
             for (const double start : {-0.45, -0.1, 0.25}) {
                 const double along = u - start;  // side veins leave the middle at 45 degrees
                 if (along > 0 && std::abs(std::abs(v) - along) < 0.012 && std::abs(v) < 0.3) return 0.72;
             }
             return 1.0;
         }},
        {"flower",
         [](double x, double y) {
             if (in_circle(x, y, 0, 0, 0.38)) return true;
             for (int k = 0; k < 6; ++k) {
                 const double a = k * kPi / 3;
                 if (in_circle(x, y, 0.6 * std::cos(a), 0.6 * std::sin(a), 0.36)) return true;
             }
             return false;
         },
         [](double x, double y) { return in_circle(x, y, 0, 0, 0.26) ? 0.6 : 1.0; }},
        {"drop",
         [](double x, double y) {
             const double r = 0.58, cy = 0.36, apex = -0.98;
             if (in_circle(x, y, 0, cy, r)) return true;
             // The two tangents from the apex to the round bottom.
             const double d = cy - apex, t = std::sqrt(d * d - r * r);
             const double ty = apex + t * t / d, tx = t * r / d;
             return in_polygon(x, y, {{0, apex}, {tx, ty}, {-tx, ty}});
         },
         {}},
        {"ring",
         [](double x, double y) { return in_circle(x, y, 0, 0, 0.97) && !in_circle(x, y, 0, 0, 0.58); },
         {}},
        {"moon",
         [](double x, double y) {
             return in_circle(x, y, 0, 0, 0.95) && !in_circle(x, y, 0.42, -0.24, 0.78);
         },
         {}},
    };
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : "data/shapes";
    for (const Shape& s : shapes()) {
        cv::Mat img(kSide, kSide, CV_8UC4, cv::Scalar(0, 0, 0, 0));
        for (int py = 0; py < kSide; ++py) {
            for (int px = 0; px < kSide; ++px) {
                int covered = 0;
                double detail = 1.0;
                for (int sy = 0; sy < 4; ++sy) {
                    for (int sx = 0; sx < 4; ++sx) {
                        const double x = (px + (sx + 0.5) / 4) / (kSide / 2.0) - 1;
                        const double y = (py + (sy + 0.5) / 4) / (kSide / 2.0) - 1;
                        if (!s.inside(x, y)) continue;
                        ++covered;
                        if (s.detail) detail = std::min(detail, s.detail(x, y));
                    }
                }
                if (covered == 0) continue;
                const double x = (px + 0.5) / (kSide / 2.0) - 1, y = (py + 0.5) / (kSide / 2.0) - 1;
                // Light from the upper left: 255 there, about 150 at the far lower right.
                const double light = 1.0 - 0.2 * std::hypot(x + 0.45, y + 0.45);
                const auto grey = std::uint8_t(std::clamp(255 * light * detail, 0.0, 255.0));
                img.at<cv::Vec4b>(py, px) = {grey, grey, grey, std::uint8_t(covered * 255 / 16)};
            }
        }
        const std::string path = dir + "/" + s.name + ".png";
        if (!cv::imwrite(path, img, {cv::IMWRITE_PNG_COMPRESSION, 9})) {
            std::fprintf(stderr, "could not write %s\n", path.c_str());
            return 1;
        }
        std::printf("%s\n", path.c_str());
    }
    return 0;
}
