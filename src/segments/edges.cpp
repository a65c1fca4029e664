#include "segments/edges.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "host/progress.h"

namespace velq {
namespace {

constexpr double kSame = 1e-5;  // points closer than this are one point

// The edge grid, read through the label map: cell (i, j) is label(i / 4, j / 4). It is never
// stored; only its visited marks are, one bit per grid point.
class EdgeGrid {
public:
    explicit EdgeGrid(const IBUFFER& map) : map_(map), gw_(4 * map.width() - 1), gh_(4 * map.height() - 1) {}

    bool allocate() {
        try {
            bits_.assign((std::size_t(gw_) * std::size_t(gh_) + 63) / 64, 0);
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }

    int width() const { return gw_; }
    int height() const { return gh_; }
    std::uint32_t label(int i, int j) const { return map_.at(i >> 2, j >> 2); }

    // How many of the pairs (a, b), (a, c), (b, d), (c, d) differ at point (x, y).
    int differing(int x, int y, std::uint32_t& a, std::uint32_t& b, std::uint32_t& c,
                  std::uint32_t& d) const {
        a = label(x, y);
        b = label(x + 1, y);
        c = label(x, y + 1);
        d = label(x + 1, y + 1);
        return int(a != b) + int(a != c) + int(b != d) + int(c != d);
    }

    bool visited(int x, int y) const {
        const std::size_t k = std::size_t(y) * gw_ + x;
        return (bits_[k >> 6] >> (k & 63)) & 1;
    }
    void mark(int x, int y) {
        const std::size_t k = std::size_t(y) * gw_ + x;
        bits_[k >> 6] |= std::uint64_t(1) << (k & 63);
    }

private:
    const IBUFFER& map_;
    int gw_, gh_;
    std::vector<std::uint64_t> bits_;
};

struct GridPoint {
    int x, y;
    bool operator==(const GridPoint&) const = default;
};

// One trace along a border from (sx, sy). Junctions end a trace and are never marked, so every
// piece that meets there ends on the same point. `forbidden` is a first step the trace may not take.
void trace(EdgeGrid& g, int sx, int sy, const GridPoint* forbidden, std::vector<GridPoint>& out) {
    out.clear();
    int x = sx, y = sy;
    for (;;) {
        out.push_back({x, y});
        if (x + 1 >= g.width() || y + 1 >= g.height()) return;
        std::uint32_t a, b, c, d;
        if (g.differing(x, y, a, b, c, d) > 2) return;
        g.mark(x, y);
        const bool want[4] = {a != c, c != d, b != d, a != b};
        const int dx[4] = {-1, 0, 1, 0};
        const int dy[4] = {0, 1, 0, -1};
        bool moved = false;
        for (int k = 0; k < 4 && !moved; ++k) {
            if (!want[k]) continue;
            const int tx = x + dx[k], ty = y + dy[k];
            if (tx < 0 || ty < 0 || tx >= g.width() || ty >= g.height()) continue;
            if (forbidden && out.size() == 1 && GridPoint{tx, ty} == *forbidden) continue;
            if (tx == sx && ty == sy) {
                if (out.size() < 3) continue;
                out.push_back({tx, ty});  // back at the start: the border is a loop
                return;
            }
            if (g.visited(tx, ty)) continue;
            x = tx;
            y = ty;
            moved = true;
        }
        if (!moved) return;
    }
}

double dist_to_segment(const BoundaryPoint& p, const BoundaryPoint& a, const BoundaryPoint& b) {
    const double vx = b.x - a.x, vy = b.y - a.y;
    const double len2 = vx * vx + vy * vy;
    double t = 0;
    if (len2 > 0) t = std::clamp(((p.x - a.x) * vx + (p.y - a.y) * vy) / len2, 0.0, 1.0);
    const double ex = a.x + t * vx - p.x, ey = a.y + t * vy - p.y;
    return std::sqrt(ex * ex + ey * ey);
}

}  // namespace

void simplify_ring(std::vector<BoundaryPoint>& points, double tolerance) {
    const std::size_t n = points.size();
    if (n < 3) return;
    // Split the ring at the point farthest from its first one and simplify both halves.
    std::size_t far = 0;
    double best = -1;
    for (std::size_t i = 1; i < n; ++i) {
        const double d = std::hypot(points[i].x - points[0].x, points[i].y - points[0].y);
        if (d > best) {
            best = d;
            far = i;
        }
    }
    std::vector<BoundaryPoint> a(points.begin(), points.begin() + std::ptrdiff_t(far) + 1);
    std::vector<BoundaryPoint> b(points.begin() + std::ptrdiff_t(far), points.end());
    b.push_back(points[0]);
    simplify_polyline(a, tolerance);
    simplify_polyline(b, tolerance);
    points = std::move(a);
    points.insert(points.end(), b.begin() + 1, b.end() - 1);
}

void simplify_polyline(std::vector<BoundaryPoint>& points, double tolerance) {
    const std::size_t n = points.size();
    if (n < 3) return;
    std::vector<char> keep(n, 0);
    keep[0] = keep[n - 1] = 1;
    std::vector<std::pair<std::size_t, std::size_t>> spans{{0, n - 1}};
    while (!spans.empty()) {
        const auto [first, last] = spans.back();
        spans.pop_back();
        double worst = -1;
        std::size_t at = first;
        for (std::size_t i = first + 1; i < last; ++i) {
            const double dd = dist_to_segment(points[i], points[first], points[last]);
            if (dd > worst) {
                worst = dd;
                at = i;
            }
        }
        if (worst > tolerance) {
            keep[at] = 1;
            spans.push_back({at, last});
            spans.push_back({first, at});
        }
    }
    std::size_t o = 0;
    for (std::size_t i = 0; i < n; ++i)
        if (keep[i]) points[o++] = points[i];
    points.resize(o);
}

std::vector<BoundaryPiece> get_segment_edges(const IBUFFER& label_map, double tolerance, bool show,
                                             Host& host) {
    std::vector<BoundaryPiece> pieces;
    std::unique_ptr<Progress> progress;
    if (show) progress = std::make_unique<Progress>(host, "Getting vectorized segment edges");
    if (!label_map || label_map.width() < 1 || label_map.height() < 1) return pieces;
    EdgeGrid g(label_map);
    if (!g.allocate()) {
        host.message("Failed to allocate buffer in get_segment_edges()");
        return pieces;
    }
    const int gw = g.width(), gh = g.height();
    const double total = double(gh) * double(gw);
    std::vector<GridPoint> first, second;
    std::vector<BoundaryPoint> line;
    // A point where two cells of one pixel meet never lies on a border, so only columns and rows
    // on pixel borders (index 3 mod 4) are looked at.
    for (int j = 0; j + 1 < gh && !host.stopped(); ++j) {
        const bool border_row = (j & 3) == 3;
        for (int i = border_row ? 0 : 3; i + 1 < gw; i += border_row ? 1 : 4) {
            if (g.visited(i, j)) continue;
            std::uint32_t a, b, c, d;
            if (g.differing(i, j, a, b, c, d) != 2) continue;
            trace(g, i, j, nullptr, first);
            const GridPoint step = first.size() > 1 ? first[1] : GridPoint{-1, -1};
            trace(g, i, j, &step, second);
            line.clear();
            for (auto it = first.rbegin(); it != first.rend(); ++it)
                line.push_back({it->x * 1.0, it->y * 1.0});
            for (std::size_t k = 1; k < second.size(); ++k)
                line.push_back({second[k].x * 1.0, second[k].y * 1.0});
            if (line.size() >= 2) {
                BoundaryPiece piece;
                for (BoundaryPoint& p : line) {
                    p.x *= 0.25;
                    p.y *= 0.25;
                }
                const double ex = line.front().x - line.back().x, ey = line.front().y - line.back().y;
                if (std::sqrt(ex * ex + ey * ey) < kSame) {
                    line.pop_back();
                    piece.closed = true;
                }
                if (piece.closed)
                    simplify_ring(line, tolerance);
                else
                    simplify_polyline(line, tolerance);
                piece.points = line;
                pieces.push_back(std::move(piece));
            }
            if (progress) progress->set(int((double(j) * gw + i) * 100.0 / total));
        }
    }
    return pieces;
}

void add_frame_pieces(std::vector<BoundaryPiece>& pieces, int width, int height) {
    const double r = (4.0 * width - 2) * 0.25, b = (4.0 * height - 2) * 0.25;
    const double perimeter = 2 * (r + b);
    // Position along the frame, clockwise on screen from the top-left corner; -1 off the frame.
    auto along = [&](const BoundaryPoint& p) {
        if (std::fabs(p.y) < kSame && p.x >= -kSame && p.x <= r + kSame) return std::clamp(p.x, 0.0, r);
        if (std::fabs(p.x - r) < kSame && p.y >= -kSame && p.y <= b + kSame)
            return r + std::clamp(p.y, 0.0, b);
        if (std::fabs(p.y - b) < kSame && p.x >= -kSame && p.x <= r + kSame)
            return r + b + (r - std::clamp(p.x, 0.0, r));
        if (std::fabs(p.x) < kSame && p.y >= -kSame && p.y <= b + kSame)
            return 2 * r + b + (b - std::clamp(p.y, 0.0, b));
        return -1.0;
    };
    auto point_at = [&](double t) -> BoundaryPoint {
        if (t <= r) return {t, 0};
        if (t <= r + b) return {r, t - r};
        if (t <= 2 * r + b) return {r - (t - r - b), b};
        return {0, b - (t - 2 * r - b)};
    };
    std::vector<double> cuts;
    for (const BoundaryPiece& p : pieces) {
        if (p.closed || p.points.size() < 2) continue;
        for (const BoundaryPoint* e : {&p.points.front(), &p.points.back()}) {
            const double t = along(*e);
            if (t >= 0) cuts.push_back(t >= perimeter - kSame ? 0.0 : t);
        }
    }
    if (cuts.empty()) return;
    std::sort(cuts.begin(), cuts.end());
    std::vector<double> unique_cuts;
    for (double t : cuts)
        if (unique_cuts.empty() || t - unique_cuts.back() >= kSame) unique_cuts.push_back(t);
    const double corners[4] = {r, r + b, 2 * r + b, perimeter};
    const std::size_t n = unique_cuts.size();
    for (std::size_t k = 0; k < n; ++k) {
        const double from = unique_cuts[k];
        const double to = k + 1 < n ? unique_cuts[k + 1] : unique_cuts[0] + perimeter;
        BoundaryPiece piece;
        piece.points.push_back(point_at(from));
        // Corners passed on the way, on this lap and on the next one.
        for (double lap : {0.0, perimeter})
            for (double c : corners)
                if (c + lap > from + kSame && c + lap < to - kSame)
                    piece.points.push_back(point_at(std::fmod(c + lap, perimeter)));
        piece.points.push_back(point_at(to >= perimeter ? to - perimeter : to));
        pieces.push_back(std::move(piece));
    }
}

}  // namespace velq
