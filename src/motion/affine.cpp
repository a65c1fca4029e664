#include "motion/affine.h"

#include <cmath>

namespace velq {

Mat4 operator*(const Mat4& a, const Mat4& b) {
    Mat4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double s = 0;
            for (int k = 0; k < 4; ++k) s += a.m[i][k] * b.m[k][j];
            r.m[i][j] = s;
        }
    return r;
}

Mat4 add_scaled(const Mat4& a, const Mat4& b, double k) {
    Mat4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m[i][j] = a.m[i][j] + b.m[i][j] * k;
    return r;
}

Mat4 zero_matrix() {
    Mat4 r;
    for (auto& row : r.m)
        for (double& v : row) v = 0;
    return r;
}

Vec3 apply(const Mat4& m, const Vec3& p) {
    return {m.m[0][0] * p.x + m.m[0][1] * p.y + m.m[0][2] * p.z + m.m[0][3],
            m.m[1][0] * p.x + m.m[1][1] * p.y + m.m[1][2] * p.z + m.m[1][3],
            m.m[2][0] * p.x + m.m[2][1] * p.y + m.m[2][2] * p.z + m.m[2][3]};
}

Vec3 apply_linear(const Mat4& m, const Vec3& v) {
    return {m.m[0][0] * v.x + m.m[0][1] * v.y + m.m[0][2] * v.z,
            m.m[1][0] * v.x + m.m[1][1] * v.y + m.m[1][2] * v.z,
            m.m[2][0] * v.x + m.m[2][1] * v.y + m.m[2][2] * v.z};
}

Mat4 compose(const Vec3& t, const Quat& q, const Vec3& s) {
    const double n = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    const double w = n > 0 ? q.w / n : 1, x = n > 0 ? q.x / n : 0, y = n > 0 ? q.y / n : 0,
                 z = n > 0 ? q.z / n : 0;
    const double r[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                            {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                            {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}};
    const double sc[3] = {s.x, s.y, s.z};
    Mat4 m;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m.m[i][j] = r[i][j] * sc[j];
    m.m[0][3] = t.x;
    m.m[1][3] = t.y;
    m.m[2][3] = t.z;
    return m;
}

Vec3 operator+(const Vec3& a, const Vec3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Vec3 operator-(const Vec3& a, const Vec3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vec3 operator*(const Vec3& a, double k) {
    return {a.x * k, a.y * k, a.z * k};
}
double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const Vec3& a) {
    return std::sqrt(dot(a, a));
}
Vec3 normalised(const Vec3& a) {
    const double n = length(a);
    return n > 0 ? a * (1.0 / n) : Vec3{};
}

Vec3 lerp(const Vec3& a, const Vec3& b, double f) {
    return a + (b - a) * f;
}

namespace {

Quat unit(const Quat& q) {
    const double n = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    return n > 0 ? Quat{q.w / n, q.x / n, q.y / n, q.z / n} : Quat{};
}

}  // namespace

Quat slerp(Quat a, Quat b, double f) {
    a = unit(a);
    b = unit(b);
    double c = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    if (c < 0) {
        b = {-b.w, -b.x, -b.y, -b.z};
        c = -c;
    }
    double ka = 1 - f, kb = f;
    // Nearly the same rotation: the chord is the arc.
    if (c < 0.9999) {
        const double angle = std::acos(c), s = std::sin(angle);
        ka = std::sin((1 - f) * angle) / s;
        kb = std::sin(f * angle) / s;
    }
    return unit({a.w * ka + b.w * kb, a.x * ka + b.x * kb, a.y * ka + b.y * kb, a.z * ka + b.z * kb});
}

}  // namespace velq
