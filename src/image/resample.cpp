#include "image/resample.h"

#include <cmath>
#include <vector>

#include "host/parallel.h"

namespace velq {

void shrink_edges(int s, int d, std::vector<int>& lo, std::vector<int>& hi) {
    lo.resize(d);
    hi.resize(d);
    for (int i = 0; i < d; ++i) {
        lo[i] = int(double(i) * s / d + 0.5);
        hi[i] = std::min(int(double(i + 1) * s / d + 0.5), s - 1);
    }
}

namespace {

int clamp_byte(double v) {
    if (!(v > 0)) return 0;  // also NaN
    if (v > 255) return 255;
    return static_cast<int>(v);
}

void nearest_channel(const UBUFFER& src, int sc, UBUFFER& dst, int dc) {
    const int sw = src.width(), sh = src.height(), dw = dst.width(), dh = dst.height();
    std::vector<int> cols(dw);
    for (int c = 0; c < dw; ++c) cols[c] = int(std::int64_t(c) * sw / dw);
    const int sch = src.channels(), dch = dst.channels();
    parallel_rows(0, dh, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r) {
            const std::uint8_t* s = src.row(int(std::int64_t(r) * sh / dh)) + sc;
            std::uint8_t* d = dst.row(r) + dc;
            for (int c = 0; c < dw; ++c) d[std::size_t(c) * dch] = s[std::size_t(cols[c]) * sch];
        }
    });
}

// Box average of the shrink. Each destination box (x0, x1] x (y0, y1] is summed directly (the boxes of
// a row band are disjoint), which gives exactly the integers a summed-area table would, in one pass
// over the source and split over all cores. `pairs` maps source channels to destination channels.
bool shrink_channels(const UBUFFER& src, UBUFFER& dst, const int* src_ch, const int* dst_ch, int n) {
    const int sw = src.width(), sh = src.height(), dw = dst.width(), dh = dst.height();
    const int sch = src.channels(), dch = dst.channels();
    std::vector<int> x0, x1, y0, y1;
    shrink_edges(sw, dw, x0, x1);
    shrink_edges(sh, dh, y0, y1);
    bool whole_pixels = n == sch;  // every channel, in order: rows can be summed as they lie
    for (int k = 0; k < n; ++k) whole_pixels = whole_pixels && src_ch[k] == k;
    bool ok = true;
    parallel_rows(0, dh, [&](int r0, int r1) {
        std::vector<std::uint32_t> column;  // per source column and channel: the band's sum
        try {
            column.resize(std::size_t(sw) * n);
        } catch (const std::bad_alloc&) {
            ok = false;
            return;
        }
        for (int r = r0; r < r1; ++r) {
            std::fill(column.begin(), column.end(), 0u);
            for (int y = y0[r] + 1; y <= y1[r]; ++y) {
                const std::uint8_t* row = src.row(y);
                if (whole_pixels) {
                    for (std::size_t i = 0; i < column.size(); ++i) column[i] += row[i];
                } else {
                    for (int x = 0; x < sw; ++x)
                        for (int k = 0; k < n; ++k)
                            column[std::size_t(x) * n + k] += row[std::size_t(x) * sch + src_ch[k]];
                }
            }
            const int bh = y1[r] - y0[r];
            std::uint8_t* d = dst.row(r);
            for (int c = 0; c < dw; ++c) {
                const int area = (x1[c] - x0[c]) * bh;
                for (int k = 0; k < n; ++k) {
                    std::uint8_t& out = d[std::size_t(c) * dch + dst_ch[k]];
                    if (area == 0) {  // the zero-area box at the right or bottom edge stores 0
                        out = 0;
                        continue;
                    }
                    std::uint32_t sum = 0;
                    for (int x = x0[c] + 1; x <= x1[c]; ++x) sum += column[std::size_t(x) * n + k];
                    out = std::uint8_t(clamp_byte(std::trunc(double(sum) / area + 0.5)));
                }
            }
        }
    });
    return ok;
}

bool enlarging(const UBUFFER& src, const UBUFFER& dst) {
    return dst.width() >= src.width() || dst.height() >= src.height();
}

}  // namespace

int resize_channel(Host& host, const UBUFFER& src, int src_channel, UBUFFER& dst, int dst_channel) {
    if (!src || !dst) return -1;
    if (enlarging(src, dst)) {
        nearest_channel(src, src_channel, dst, dst_channel);
        return 0;
    }
    if (!shrink_channels(src, dst, &src_channel, &dst_channel, 1)) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return -1;
    }
    return 0;
}

int get_resized(Host& host, const UBUFFER& src, UBUFFER& dst) {
    if (!src || !dst) return -1;
    const int channels = std::min({src.channels(), dst.channels(), 8});
    if (enlarging(src, dst)) {
        for (int c = 0; c < channels; ++c) nearest_channel(src, c, dst, c);
        return 0;
    }
    const int order[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    if (!shrink_channels(src, dst, order, order, channels)) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return -1;
    }
    return 0;
}

namespace {

// Where destination coordinate i samples the source: the left (upper) neighbour and the fraction. The
// last column (row) is pulled 0.1 / F back inside; a single column (row) is its own neighbour.
void bilinear_axis(int n, int dn, int factor, std::vector<int>& at, std::vector<double>& frac) {
    at.resize(dn);
    frac.resize(dn);
    const double f = factor;
    for (int i = 0; i < dn; ++i) {
        double s = i / f;
        if (n == 1) {
            s = 0;
        } else if (int(s) >= n - 1) {
            s = n - 1 - 0.1 / f;
        }
        at[i] = int(s);
        frac[i] = s - int(s);
    }
}

template <int kChannels>
void enlarge_rows(const UBUFFER& src, UBUFFER& dst, const int* channel_list, int channel_count,
                  const std::vector<int>& xs, const std::vector<double>& fxs, const std::vector<int>& ys,
                  const std::vector<double>& fys, int r0, int r1) {
    const int w = src.width(), h = src.height(), ch = src.channels(), dch = dst.channels();
    const int dw = dst.width();
    const int n = kChannels > 0 ? kChannels : channel_count;
    for (int y = r0; y < r1; ++y) {
        const int y0 = ys[y];
        const double fy = fys[y];
        const std::uint8_t* a = src.row(y0);
        const std::uint8_t* b = src.row(h == 1 ? y0 : y0 + 1);
        std::uint8_t* d = dst.row(y);
        for (int x = 0; x < dw; ++x) {
            const std::size_t p0 = std::size_t(xs[x]) * ch;
            const std::size_t p1 = w == 1 ? p0 : p0 + ch;
            const double fx = fxs[x];
            for (int k = 0; k < n; ++k) {
                const int c = kChannels > 0 ? k : channel_list[k];
                // Evaluated left to right exactly as written: v00 (1 - fx)(1 - fy) + v10 fx (1 - fy) + ...
                const double v = a[p0 + c] * (1 - fx) * (1 - fy) + a[p1 + c] * fx * (1 - fy) +
                                 b[p0 + c] * (1 - fx) * fy + b[p1 + c] * fx * fy;
                d[std::size_t(x) * dch + c] = std::uint8_t(clamp_byte(v));
            }
        }
    }
}

}  // namespace

void enlarge_bilinear(const UBUFFER& src, UBUFFER& dst, int factor, int channel) {
    std::vector<int> xs, ys;
    std::vector<double> fxs, fys;
    bilinear_axis(src.width(), dst.width(), factor, xs, fxs);
    bilinear_axis(src.height(), dst.height(), factor, ys, fys);
    parallel_rows(0, dst.height(),
                  [&](int r0, int r1) { enlarge_rows<0>(src, dst, &channel, 1, xs, fxs, ys, fys, r0, r1); });
}

void enlarge_bilinear_rows(const UBUFFER& src, UBUFFER& dst, int factor, int row_begin, int row_end) {
    std::vector<int> xs, ys;
    std::vector<double> fxs, fys;
    bilinear_axis(src.width(), dst.width(), factor, xs, fxs);
    bilinear_axis(src.height(), dst.height(), factor, ys, fys);
    parallel_rows(row_begin, row_end, [&](int r0, int r1) {
        if (src.channels() == 4 && dst.channels() == 4) {
            enlarge_rows<4>(src, dst, nullptr, 4, xs, fxs, ys, fys, r0, r1);
        } else {
            const int list[4] = {0, 1, 2, 3};
            enlarge_rows<0>(src, dst, list, std::min({4, src.channels(), dst.channels()}), xs, fxs, ys, fys,
                            r0, r1);
        }
    });
}

int blur(Host& host, UBUFFER& buf, int k) {
    if (!buf || k < 1) return 0;
    const int w = buf.width(), hgt = buf.height(), ch = buf.channels();
    const int h = int(k * 0.5), m = k - h;
    if (hgt - m <= h || w - m <= h) return 0;  // no pixel lies inside the frame
    UBUFFER out = buf.clone();
    if (!out) {
        host.message("Failed to allocate buffer in UBUFFER::blur()");
        return -1;
    }
    // Every written pixel's box, columns x-h+1..x+m and rows y-h+1..y+m, lies inside the picture, so its
    // sum is the plain k x k sum: running column sums slide down each block of rows, a running row sum
    // slides along each row. The integers equal the summed-area table's, so the bytes do too.
    const double kk = double(k) * k;
    // trunc(sum / (k * k) + 0.5) for every sum a box can have, when that table is small.
    std::vector<std::uint8_t> rounded;
    const std::uint32_t max_sum = std::uint32_t(k) * std::uint32_t(k) * 255u;
    if (max_sum < (1u << 22)) {
        rounded.resize(max_sum + 1);
        for (std::uint32_t v = 0; v <= max_sum; ++v) rounded[v] = std::uint8_t(std::int64_t(v / kk + 0.5));
    }
    bool ok = true;
    parallel_rows(h, hgt - m, [&](int ya, int yb) {
        std::vector<std::uint32_t> column;
        try {
            column.assign(std::size_t(w) * ch, 0u);
        } catch (const std::bad_alloc&) {
            ok = false;
            return;
        }
        for (int j = ya - h + 1; j <= ya + m; ++j) {
            const std::uint8_t* row = buf.row(j);
            for (std::size_t i = 0; i < column.size(); ++i) column[i] += row[i];
        }
        for (int y = ya; y < yb; ++y) {
            if (y > ya) {
                const std::uint8_t* add = buf.row(y + m);
                const std::uint8_t* sub = buf.row(y - h);
                for (std::size_t i = 0; i < column.size(); ++i) column[i] += std::uint32_t(add[i]) - sub[i];
            }
            std::uint8_t* d = out.row(y);
            std::uint32_t sum[8] = {};
            const int nc = std::min(ch, 8);
            // Columns 1..k-1 now; each step adds the box's last column and drops its first.
            for (int x = 1; x <= h + m - 1; ++x)
                for (int c = 0; c < nc; ++c) sum[c] += column[std::size_t(x) * ch + c];
            for (int x = h; x < w - m; ++x) {
                const std::uint32_t* add = &column[std::size_t(x + m) * ch];
                const std::uint32_t* sub = &column[std::size_t(x - h + 1) * ch];
                std::uint8_t* px = d + std::size_t(x) * ch;
                for (int c = 0; c < nc; ++c) {
                    sum[c] += add[c];
                    px[c] = rounded.empty() ? std::uint8_t(std::int64_t(sum[c] / kk + 0.5)) : rounded[sum[c]];
                    sum[c] -= sub[c];
                }
            }
        }
    });
    if (!ok) {
        host.message("Failed to allocate buffer in UBUFFER::blur()");
        return -1;
    }
    buf = std::move(out);
    return 0;
}

int blur(Host& host, DBUFFER& buf, int k, double skip) {
    if (!buf || k < 1) return 0;
    const int w = buf.width(), hgt = buf.height();
    DBUFFER table;
    if (!table.allocate(w, hgt, 1, Init::Uninitialised)) {
        host.message("Failed to allocate buffer in UBUFFER::blur()");
        return -1;
    }
    for (int y = 0; y < hgt; ++y) {
        double run = 0;
        for (int x = 0; x < w; ++x) {
            const double v = buf.at(x, y);
            if (!(v == skip)) run += v;
            table.at(x, y) = y > 0 ? run + table.at(x, y - 1) : run;
        }
    }
    const int h = int(k * 0.5), m = k - h;
    const double kk = double(k) * k;
    for (int y = h; y < hgt - m; ++y) {
        const int r1 = std::min(y + m, hgt - 1), r0 = std::max(y + m - k, 0);
        for (int x = h; x < w - m; ++x) {
            if (buf.at(x, y) == skip) continue;
            const int c1 = std::min(x + m, w - 1), c0 = std::max(x + m - k, 0);
            const double sum = table.at(c0, r0) - table.at(c0, r1) - table.at(c1, r0) + table.at(c1, r1);
            buf.at(x, y) = sum / kk;
        }
    }
    return 0;
}

void clear_border(UBUFFER& buf, int b) {
    if (!buf || b <= 0) return;
    const int w = buf.width(), h = buf.height(), ch = buf.channels();
    for (int y = 0; y < h; ++y) {
        std::uint8_t* r = buf.row(y);
        for (int x = 0; x < w; ++x) {
            if (y < b || y >= h - b || x < b || x >= w - b)
                std::fill(r + std::size_t(x) * ch, r + std::size_t(x + 1) * ch, std::uint8_t(0));
        }
    }
}

}  // namespace velq
