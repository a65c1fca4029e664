#include "filters/local_contrast.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host/parallel.h"

namespace velq {

namespace {

// Rows handled between two progress reports (and stop checks).
constexpr int kRowsPerReport = 64;

}  // namespace

IBUFFER make_contrast_tables(Host& host, int width, int height) {
    return IBUFFER::create(host, width, height, 3, Init::Uninitialised);
}

bool build_contrast_tables(Host& host, const UBUFFER& picture, IBUFFER& tables) {
    const int w = picture.width(), h = picture.height(), ch = picture.channels();
    // Running sums along each row, rows in parallel.
    parallel_rows(0, h, [&](int y0, int y1) {
        for (int y = y0; y < y1 && !host.stopped(); ++y) {
            const std::uint8_t* s = picture.row(y);
            std::uint32_t* t = tables.row(y);
            std::uint32_t r0 = 0, r1 = 0, r2 = 0;
            for (int x = 0; x < w; ++x, s += ch, t += 3) {
                t[0] = r0 += s[0];
                t[1] = r1 += s[1];
                t[2] = r2 += s[2];
            }
        }
    });
    if (host.stopped()) return false;
    // Then down each column, columns in parallel: modular sums do not care about the order.
    parallel_rows(0, w, [&](int x0, int x1) {
        for (int y = 1; y < h && !host.stopped(); ++y) {
            const std::uint32_t* above = tables.row(y - 1);
            std::uint32_t* t = tables.row(y);
            for (std::size_t i = std::size_t(x0) * 3; i < std::size_t(x1) * 3; ++i) t[i] += above[i];
        }
    });
    return !host.stopped();
}

namespace {

// Scratch rows of one thread: box means, sample values and results, three per pixel.
struct RowScratch {
    explicit RowScratch(int w)
        : mean(std::size_t(w) * 3), value(std::size_t(w) * 3), out(std::size_t(w) * 3) {}
    std::vector<double> mean, value;
    std::vector<std::int32_t> out;
};

// v + (v - mean) * k or v + (mean - v) * k, clamped to 0..255 and truncated. The samples are
// gathered into a flat row first so that the arithmetic runs as one straight vector loop.
template <class Towards>
void apply_means(std::uint8_t* p, int w, int ch, double k, RowScratch& s, Towards diff) {
    const std::size_t n = std::size_t(w) * 3;
    double* v = s.value.data();
    const double* m = s.mean.data();
    std::int32_t* out = s.out.data();
    for (int x = 0; x < w; ++x)
        for (int c = 0; c < 3; ++c) v[std::size_t(x) * 3 + c] = p[std::size_t(x) * ch + c];
    for (std::size_t i = 0; i < n; ++i) {
        double nv = v[i] + diff(v[i], m[i]) * k;
        nv = nv > 0.0 ? nv : 0.0;
        nv = nv < 255.0 ? nv : 255.0;
        out[i] = static_cast<std::int32_t>(nv);
    }
    for (int x = 0; x < w; ++x)
        for (int c = 0; c < 3; ++c)
            p[std::size_t(x) * ch + c] = static_cast<std::uint8_t>(out[std::size_t(x) * 3 + c]);
}

// One row of the operator. The box means of the row go to `mean` first (3 per pixel): in the middle
// of the row every box has the same area and the loop runs straight over the interleaved table.
void contrast_row(const IBUFFER& tables, UBUFFER& picture, int y, int r, double k, bool up, RowScratch& s) {
    const int w = picture.width(), h = picture.height(), ch = picture.channels();
    const int y0 = std::max(y - r, 0), y1 = std::min(y + r, h - 1);
    const int dy = y1 - y0;
    if (dy == 0 || w < 2 || r == 0) return;  // no box has any area: every pixel keeps its value
    const std::uint32_t* t0 = tables.row(y0);
    const std::uint32_t* t1 = tables.row(y1);
    double* mean = s.mean.data();
    const auto box_mean = [&](int x, int c) {
        const std::size_t a = std::size_t(std::max(x - r, 0)) * 3 + c;
        const std::size_t b = std::size_t(std::min(x + r, w - 1)) * 3 + c;
        const std::uint32_t sum = t1[b] - t0[b] - t1[a] + t0[a];
        const std::int64_t area = std::int64_t(std::min(x + r, w - 1) - std::max(x - r, 0)) * dy;
        return double(sum) / double(area);
    };
    // Pixels whose box reaches neither side: x in [r, w - 1 - r].
    const int mid0 = std::min(r, w), mid1 = std::max(mid0, w - r);
    for (int x = 0; x < mid0; ++x)
        for (int c = 0; c < 3; ++c) mean[std::size_t(x) * 3 + c] = box_mean(x, c);
    {
        const double area = double(std::int64_t(2 * r) * dy);
        const std::size_t off = std::size_t(r) * 3;
        const std::uint32_t *a0 = t0 - off, *a1 = t1 - off, *b0 = t0 + off, *b1 = t1 + off;
        for (std::size_t i = std::size_t(mid0) * 3; i < std::size_t(mid1) * 3; ++i) {
            const std::uint32_t sum = b1[i] - b0[i] - a1[i] + a0[i];
            mean[i] = double(sum) / area;
        }
    }
    for (int x = mid1; x < w; ++x)
        for (int c = 0; c < 3; ++c) mean[std::size_t(x) * 3 + c] = box_mean(x, c);

    std::uint8_t* p = picture.row(y);
    if (up) {
        apply_means(p, w, ch, k, s, [](double v, double m) { return v - m; });
    } else {
        apply_means(p, w, ch, k, s, [](double v, double m) { return m - v; });
    }
}

}  // namespace

void local_contrast(Progress& progress, UBUFFER& picture, double k, ContrastDirection dir, IBUFFER& tables) {
    Host& host = progress.host();
    if (!build_contrast_tables(host, picture, tables)) return;
    const int w = picture.width(), h = picture.height();
    const int r = contrast_radius(w);
    const bool up = dir == ContrastDirection::Up;
    for (int band = 0; band < h && !host.stopped(); band += kRowsPerReport) {
        parallel_rows(
            band, std::min(h, band + kRowsPerReport),
            [&](int ya, int yb) {
                RowScratch scratch(w);
                for (int y = ya; y < yb; ++y) contrast_row(tables, picture, y, r, k, up, scratch);
            },
            8);
        progress.update(std::min(h, band + kRowsPerReport), h);
    }
}

int local_contrast(Progress& progress, UBUFFER& picture, double k, ContrastDirection dir) {
    IBUFFER tables = make_contrast_tables(progress.host(), picture.width(), picture.height());
    if (!tables) return -1;
    local_contrast(progress, picture, k, dir, tables);
    return 0;
}

}  // namespace velq
