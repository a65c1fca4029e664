// The small 3-D algebra of animated models: 4 x 4 affine matrices acting on column vectors (a point
// p becomes M p), unit quaternions for rotations, and the key interpolations (lerp, slerp along the
// shortest arc).
#pragma once

#include "animation/camera.h"

namespace velq {

struct Mat4 {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

struct Quat {
    double w = 1, x = 0, y = 0, z = 0;
};

Mat4 operator*(const Mat4& a, const Mat4& b);
// a + b * k, entry by entry (skinning blends matrices by weight).
Mat4 add_scaled(const Mat4& a, const Mat4& b, double k);
Mat4 zero_matrix();
Vec3 apply(const Mat4& m, const Vec3& p);         // the point p moved by m
Vec3 apply_linear(const Mat4& m, const Vec3& v);  // the direction v turned by m (no translation)
// The affine matrix translate(t) * rotate(r) * scale(s).
Mat4 compose(const Vec3& t, const Quat& r, const Vec3& s);

Vec3 operator+(const Vec3& a, const Vec3& b);
Vec3 operator-(const Vec3& a, const Vec3& b);
Vec3 operator*(const Vec3& a, double k);
double dot(const Vec3& a, const Vec3& b);
Vec3 cross(const Vec3& a, const Vec3& b);
double length(const Vec3& a);
// a / |a|; the zero vector stays zero.
Vec3 normalised(const Vec3& a);

Vec3 lerp(const Vec3& a, const Vec3& b, double f);
// The rotation a fraction f of the way from a to b along the shorter of the two arcs (q and -q are the
// same rotation: b is negated when the quaternions point apart). Both are normalised first.
Quat slerp(Quat a, Quat b, double f);

}  // namespace velq
