// Plane geometry of the circle packer: points, boxes and the few exact-order formulas (segment
// distance, segment crossing) that the outline cut and the corner candidates share.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace velq::pack {

// Points closer than this are the same point.
inline constexpr double kSamePoint = 1e-5;
// Tolerance of the outline simplification after each cut.
inline constexpr double kSimplify = 0.05;

struct Vec2 {
    double x = 0, y = 0;
};

inline Vec2 operator-(Vec2 a, Vec2 b) {
    return {a.x - b.x, a.y - b.y};
}
inline Vec2 operator+(Vec2 a, Vec2 b) {
    return {a.x + b.x, a.y + b.y};
}
inline Vec2 operator*(double s, Vec2 a) {
    return {s * a.x, s * a.y};
}
inline double dot(Vec2 a, Vec2 b) {
    return a.x * b.x + a.y * b.y;
}
inline double cross(Vec2 a, Vec2 b) {
    return a.x * b.y - a.y * b.x;
}
inline double norm(Vec2 a) {
    return std::sqrt(a.x * a.x + a.y * a.y);
}
inline double dist(Vec2 a, Vec2 b) {
    return norm(a - b);
}

struct Box {
    double x0 = std::numeric_limits<double>::infinity(), y0 = std::numeric_limits<double>::infinity();
    double x1 = -std::numeric_limits<double>::infinity(), y1 = -std::numeric_limits<double>::infinity();

    static Box around(Vec2 c, double r) { return {c.x - r, c.y - r, c.x + r, c.y + r}; }
    static Box of(Vec2 a, Vec2 b) {
        return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
    }
    void add(Vec2 p) {
        x0 = std::min(x0, p.x);
        y0 = std::min(y0, p.y);
        x1 = std::max(x1, p.x);
        y1 = std::max(y1, p.y);
    }
    void add(const Box& b) {
        x0 = std::min(x0, b.x0);
        y0 = std::min(y0, b.y0);
        x1 = std::max(x1, b.x1);
        y1 = std::max(y1, b.y1);
    }
    Box grown(double d) const { return {x0 - d, y0 - d, x1 + d, y1 + d}; }
    bool empty() const { return !(x0 <= x1 && y0 <= y1); }
    bool intersects(const Box& o) const { return x0 <= o.x1 && o.x0 <= x1 && y0 <= o.y1 && o.y0 <= y1; }
    bool contains(const Box& o) const { return x0 <= o.x0 && o.x1 <= x1 && y0 <= o.y0 && o.y1 <= y1; }
};

// Distance from p to the segment ab.
inline double segment_distance(Vec2 p, Vec2 a, Vec2 b) {
    const Vec2 ab = b - a, ap = p - a;
    const double len2 = dot(ab, ab);
    double t = len2 > 0 ? dot(ap, ab) / len2 : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    return dist(p, a + t * ab);
}

// True when the closed segments ab and cd share a point.
inline bool segments_meet(Vec2 a, Vec2 b, Vec2 c, Vec2 d) {
    const double d1 = cross(b - a, c - a), d2 = cross(b - a, d - a);
    const double d3 = cross(d - c, a - c), d4 = cross(d - c, b - c);
    if (((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0))) return true;
    auto on = [](Vec2 p, Vec2 q, Vec2 r, double c) {  // r on pq, given cross(q - p, r - p) == c
        return c == 0 && std::min(p.x, q.x) <= r.x && r.x <= std::max(p.x, q.x) &&
               std::min(p.y, q.y) <= r.y && r.y <= std::max(p.y, q.y);
    };
    return on(a, b, c, d1) || on(a, b, d, d2) || on(c, d, a, d3) || on(c, d, b, d4);
}

}  // namespace velq::pack
