#include "image/resample.h"

#include <cmath>
#include <vector>

#include "host/parallel.h"

namespace velq {

void summed_area_table(const UBUFFER& src, int channel, IBUFFER& table) {
    const int w = src.width(), h = src.height(), ch = src.channels();
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* s = src.row(y) + channel;
        std::uint32_t* t = table.row(y);
        const std::uint32_t* above = y > 0 ? table.row(y - 1) : nullptr;
        std::uint32_t run = 0;
        for (int x = 0; x < w; ++x) {
            run += s[std::size_t(x) * ch];
            t[x] = above ? run + above[x] : run;
        }
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

// Box edges of the shrink: trunc(i * s / d + 0.5) and min(trunc((i + 1) * s / d + 0.5), s - 1).
void shrink_edges(int s, int d, std::vector<int>& lo, std::vector<int>& hi) {
    lo.resize(d);
    hi.resize(d);
    for (int i = 0; i < d; ++i) {
        lo[i] = int(double(i) * s / d + 0.5);
        hi[i] = std::min(int(double(i + 1) * s / d + 0.5), s - 1);
    }
}

void shrink_channel(const IBUFFER& table, UBUFFER& dst, int dc, int sw, int sh) {
    const int dw = dst.width(), dh = dst.height(), dch = dst.channels();
    std::vector<int> x0, x1, y0, y1;
    shrink_edges(sw, dw, x0, x1);
    shrink_edges(sh, dh, y0, y1);
    parallel_rows(0, dh, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r) {
            std::uint8_t* d = dst.row(r) + dc;
            const int ya = y0[r], yb = y1[r];
            for (int c = 0; c < dw; ++c) {
                const int area = (x1[c] - x0[c]) * (yb - ya);
                if (area == 0) {  // the zero-area box at the right or bottom edge stores 0
                    d[std::size_t(c) * dch] = 0;
                    continue;
                }
                const double sum = box_sum(table, x0[c], ya, x1[c], yb);
                d[std::size_t(c) * dch] = std::uint8_t(clamp_byte(std::trunc(sum / area + 0.5)));
            }
        }
    });
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
    IBUFFER table;
    if (!table.allocate(src.width(), src.height(), 1, Init::Uninitialised)) {
        host.message("Failed to allocate buffers for integral in UBUFFER::get_resized()");
        return -1;
    }
    summed_area_table(src, src_channel, table);
    shrink_channel(table, dst, dst_channel, src.width(), src.height());
    return 0;
}

int get_resized(Host& host, const UBUFFER& src, UBUFFER& dst) {
    if (!src || !dst) return -1;
    const int channels = std::min(src.channels(), dst.channels());
    if (enlarging(src, dst)) {
        for (int c = 0; c < channels; ++c) nearest_channel(src, c, dst, c);
        return 0;
    }
    for (int c = 0; c < channels; ++c)
        if (resize_channel(host, src, c, dst, c) != 0) return -1;
    return 0;
}

void enlarge_bilinear(const UBUFFER& src, UBUFFER& dst, int factor, int channel) {
    const int w = src.width(), h = src.height(), ch = src.channels();
    const int dw = dst.width(), dh = dst.height(), dch = dst.channels();
    const double f = factor;
    // Per destination column: the left neighbour and the fraction. A single column is its own
    // right neighbour.
    std::vector<int> xs(dw);
    std::vector<double> fxs(dw);
    for (int x = 0; x < dw; ++x) {
        double sx = x / f;
        if (w == 1) {
            sx = 0;
        } else if (int(sx) >= w - 1) {
            sx = w - 1 - 0.1 / f;
        }
        xs[x] = int(sx);
        fxs[x] = sx - int(sx);
    }
    parallel_rows(0, dh, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            double sy = y / f;
            if (h == 1) {
                sy = 0;
            } else if (int(sy) >= h - 1) {
                sy = h - 1 - 0.1 / f;
            }
            const int y0 = int(sy);
            const double fy = sy - y0;
            const std::uint8_t* a = src.row(y0) + channel;
            const std::uint8_t* b = src.row(h == 1 ? y0 : y0 + 1) + channel;
            std::uint8_t* d = dst.row(y) + channel;
            for (int x = 0; x < dw; ++x) {
                const int x0 = xs[x];
                const int x1 = w == 1 ? x0 : x0 + 1;
                const double fx = fxs[x];
                const double v = a[std::size_t(x0) * ch] * (1 - fx) * (1 - fy) +
                                 a[std::size_t(x1) * ch] * fx * (1 - fy) +
                                 b[std::size_t(x0) * ch] * (1 - fx) * fy + b[std::size_t(x1) * ch] * fx * fy;
                d[std::size_t(x) * dch] = std::uint8_t(clamp_byte(v));
            }
        }
    });
}

int blur(Host& host, UBUFFER& buf, int k) {
    if (!buf || k < 1) return 0;
    const int w = buf.width(), hgt = buf.height(), ch = buf.channels();
    IBUFFER table;
    if (!table.allocate(w, hgt, 1, Init::Uninitialised)) {
        host.message("Failed to allocate buffer in UBUFFER::blur()");
        return -1;
    }
    const int h = int(k * 0.5), m = k - h;
    const double kk = double(k) * k;
    for (int c = 0; c < ch; ++c) {
        summed_area_table(buf, c, table);
        parallel_rows(h, std::max(h, hgt - m), [&](int ya, int yb) {
            for (int y = ya; y < yb; ++y) {
                const int r1 = std::min(y + m, hgt - 1), r0 = std::max(y + m - k, 0);
                std::uint8_t* d = buf.row(y) + c;
                for (int x = h; x < w - m; ++x) {
                    const int c1 = std::min(x + m, w - 1), c0 = std::max(x + m - k, 0);
                    const double sum = box_sum(table, c0, r0, c1, r1);
                    d[std::size_t(x) * ch] = std::uint8_t(std::int64_t(sum / kk + 0.5));
                }
            }
        });
    }
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
