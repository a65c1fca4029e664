#include "animation/rasteriser.h"

#include <algorithm>
#include <cmath>

#include "animation/order_sort.h"
#include "host/saturate.h"
#include "render/shape.h"

namespace velq {

namespace {

int floor_int(double v) {
    return saturate_int(std::floor(v));
}

PixelRect clip(PixelRect r, int w, int h) {
    r.x0 = std::clamp(r.x0, 0, w);
    r.x1 = std::clamp(r.x1, 0, w);
    r.y0 = std::clamp(r.y0, 0, h);
    r.y1 = std::clamp(r.y1, 0, h);
    return r;
}

Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Bilinear sample of one channel of a side x side x 2 stencil at texel position (fu, fv), outside
// counting as 0. Texel i is taken as centred at i rather than i + 0.5: the still render puts texel i
// on pixel trunc(left + i), and this keeps a shape that comes to rest from jumping.
double sample(const UBUFFER& st, int channel, double fu, double fv) {
    const int side = st.width();
    const double x = fu, y = fv;
    const int x0 = int(std::floor(x)), y0 = int(std::floor(y));
    const double ax = x - x0, ay = y - y0;
    auto at = [&](int i, int j) -> double {
        if (i < 0 || j < 0 || i >= side || j >= side) return 0.0;
        return st.at(i, j, channel);
    };
    const double top = at(x0, y0) * (1 - ax) + at(x0 + 1, y0) * ax;
    const double bottom = at(x0, y0 + 1) * (1 - ax) + at(x0 + 1, y0 + 1) * ax;
    return top * (1 - ay) + bottom * ay;
}

// One perspective quad: every pixel centre in its bounding box is cast from the camera onto the
// quad's plane; points inside the stencil square are sampled, depth-tested and blended.
PixelRect paint_projected(const Primitive& p, const ProjectedQuad& q, const Camera& cam, const UBUFFER& st,
                          int global_brightness, UBUFFER& picture, DBUFFER& depth) {
    const int w = picture.width(), h = picture.height();
    double minx = q.x[0], maxx = q.x[0], miny = q.y[0], maxy = q.y[0];
    for (int k = 1; k < 4; ++k) {
        minx = std::min(minx, q.x[k]);
        maxx = std::max(maxx, q.x[k]);
        miny = std::min(miny, q.y[k]);
        maxy = std::max(maxy, q.y[k]);
    }
    const PixelRect r =
        clip({floor_int(minx), floor_int(miny), floor_int(maxx) + 1, floor_int(maxy) + 1}, w, h);
    if (r.empty()) return r;

    const Vec3 c = cam.position();
    const Vec3 n = cross(q.axis_u, q.axis_v);
    const Vec3 to_centre{p.centre.x - c.x, p.centre.y - c.y, p.centre.z - c.z};
    const double num = dot(n, to_centre);
    const double d = cam.distance();
    const int side = st.width();
    const double scale = side / (2.0 * p.half);
    const double k = p.look.brightness / 100.0;
    const int transparency = p.look.transparency;
    const double tint[3] = {p.look.paint.c2, p.look.paint.c1, p.look.paint.c0};  // blue, green, red
    for (int y = r.y0; y < r.y1; ++y) {
        const double dy = y + 0.5 - c.y;
        std::uint8_t* row = picture.row(y);
        double* zrow = depth.row(y);
        for (int x = r.x0; x < r.x1; ++x) {
            const Vec3 dir{x + 0.5 - c.x, dy, d};
            const double den = dot(n, dir);
            if (std::fabs(den) < 1e-12) continue;
            const double tt = num / den;
            if (!(tt > 0)) continue;
            const Vec3 rel{c.x + tt * dir.x - p.centre.x, c.y + tt * dir.y - p.centre.y,
                           c.z + tt * dir.z - p.centre.z};
            const double fu = (dot(rel, q.axis_u) + p.half) * scale;
            const double fv = (dot(rel, q.axis_v) + p.half) * scale;
            if (!(fu >= 0 && fv >= 0 && fu < side && fv < side)) continue;
            const double z = tt * d;
            if (z > zrow[x]) continue;
            const int m = int(sample(st, 1, fu, fv) + 0.5);
            if (m == 0) continue;
            const int s = int(sample(st, 0, fu, fv) + 0.5);
            std::uint8_t* px = row + std::size_t(x) * 4;
            for (int ch = 0; ch < 3; ++ch)
                px[ch] =
                    std::uint8_t(blend_value(s, m, px[ch], tint[ch], global_brightness, transparency, k));
            px[3] = 255;
            zrow[x] = z;
        }
    }
    return r;
}

}  // namespace

PixelRect flat_rect(const Circle& c, int width, int height) {
    const double r = c.radius;
    const int d = saturate_int(2 * r + 0.5);
    if (d <= 0) return {};
    const double left = c.x - r, top = c.y - r;
    // Columns trunc(left + i) for i in 0..d-1; truncation toward zero folds (-1, 0) onto column 0.
    PixelRect rect{saturate_int(left), saturate_int(top), saturate_int(left + (d - 1)) + 1,
                   saturate_int(top + (d - 1)) + 1};
    return clip(rect, width, height);
}

int rasterise(const Mesh& mesh, const Camera& camera, ShapePainter& painter, UBUFFER& picture, DBUFFER& depth,
              std::vector<PixelRect>* touched, std::vector<PixelRect>* depth_touched,
              RasterScratch* scratch) {
    RasterScratch own;
    RasterScratch& sc = scratch ? *scratch : own;
    const auto& prims = mesh.primitives();
    const auto& quads = mesh.quads();
    // Far to near, then in the still render's order, then in mesh order.
    auto& keys = sc.keys;
    keys.resize(prims.size());
    for (std::size_t i = 0; i < prims.size(); ++i) {
        const double depth = quads[i].centre_depth;  // no NaN, which would break the sort's ordering
        keys[i] = {depth == depth ? depth : -HUGE_VAL, std::uint64_t(prims[i].order) << 32 | i};
    }
    const bool one_depth = std::all_of(keys.begin(), keys.end(),
                                       [&](const RasterScratch::Key& k) { return k.depth == keys[0].depth; });
    if (one_depth) {
        // Shapes at rest all lie on the picture: the order alone decides, and a stable radix sort on it
        // keeps mesh order among equal orders.
        sort_by_order(keys, sc.spare,
                      [](const RasterScratch::Key& k) { return std::uint32_t(k.order_index >> 32); });
    } else {
        std::sort(keys.begin(), keys.end(), [](const RasterScratch::Key& a, const RasterScratch::Key& b) {
            if (a.depth != b.depth) return a.depth > b.depth;
            return a.order_index < b.order_index;
        });
    }
    int failures = 0;
    const int w = picture.width(), h = picture.height();
    // Runs of flat primitives go to the painter together (it may paint them in parallel bands).
    std::vector<Circle>& run = sc.run;
    run.clear();
    auto flush = [&] {
        if (run.empty()) return;
        failures += painter.paint_all(run, picture);
        run.clear();
    };
    for (const RasterScratch::Key& key : keys) {
        const std::uint32_t i = std::uint32_t(key.order_index);
        const Primitive& p = prims[i];
        if (!p.look.shape) continue;
        if (p.flat()) {
            Circle c = p.look;
            c.x = p.centre.x;
            c.y = p.centre.y;
            c.radius = p.half;
            if (touched) {
                const PixelRect r = flat_rect(c, w, h);
                if (!r.empty()) touched->push_back(r);
            }
            run.push_back(c);
            continue;
        }
        flush();
        const ProjectedQuad& q = quads[i];
        if (!q.visible || !(p.half > 0)) continue;
        double edge = 0;
        for (int k = 0; k < 4; ++k)
            edge = std::max(edge, std::hypot(q.x[(k + 1) % 4] - q.x[k], q.y[(k + 1) % 4] - q.y[k]));
        const int side = std::clamp(saturate_int(edge + 0.5), 1, SHAPE::kSide);
        const auto st = painter.stencil(*p.look.shape, side);
        if (!st) {
            ++failures;
            continue;
        }
        const PixelRect r = paint_projected(p, q, camera, *st, painter.global_brightness(), picture, depth);
        if (!r.empty()) {
            if (touched) touched->push_back(r);
            if (depth_touched) depth_touched->push_back(r);
        }
    }
    flush();
    return failures;
}

}  // namespace velq
