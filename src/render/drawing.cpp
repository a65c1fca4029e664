#include "render/drawing.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "host/worker_pool.h"
#include "render/cell_diagram.h"
#include "render/cell_picture.h"
#include "render/spikes.h"
#include "segments/colour.h"

namespace velq {

namespace {

// The picture is painted in bands of rows, every band by one thread, each going through the marks
// that reach it in their order: a pixel sees the same marks in the same order whatever the split.
constexpr int kBandRows = 64;
constexpr int kBandsPerBatch = 8;  // bands between looks at the stop flag

struct Colour {
    double c[3];  // in the buffer's byte order: blue, green, red
};

Colour paint_colour(const Placement& p, int g) {
    auto level = [g](double v) { return std::clamp(v + g, 0.0, 255.0); };
    return {{level(p.paint.c2), level(p.paint.c1), level(p.paint.c0)}};
}

// Rounds to the nearest byte. Truncating after the clamp equals flooring before it, without the
// call to floor.
std::uint8_t to_byte(double v) {
    return std::uint8_t(std::clamp(v + 0.5, 0.0, 255.0));
}

void blend(std::uint8_t* px, const Colour& c, double coverage) {
    for (int k = 0; k < 3; ++k) px[k] = to_byte(px[k] + (c.c[k] - px[k]) * coverage);
}

class BandRunner {
public:
    BandRunner(Host& host, Progress* progress, int threads)
        : host_(host), progress_(progress), pool_(threads) {}

    // Runs paint(band, y0, y1) over every band of `rows` rows, `batch` bands between looks at the
    // stop flag; progress goes from `from` to `to` percent.
    bool run(int bands, int height, double from, double to, const std::function<void(int, int, int)>& paint,
             int rows = kBandRows, int batch = kBandsPerBatch) {
        for (int b0 = 0; b0 < bands; b0 += batch) {
            if (host_.stopped()) return false;
            const int b1 = std::min(bands, b0 + batch);
            pool_.run(b1 - b0, [&](int k) {
                const int b = b0 + k;
                paint(b, b * rows, std::min(height, (b + 1) * rows));
            });
            if (progress_) progress_->set(int(from + (to - from) * b1 / bands));
        }
        return !host_.stopped();
    }

    WorkerPool& pool() { return pool_; }

    // Calls fn(begin, end) over [0, count) in pieces, side by side.
    void each(std::size_t count, const std::function<void(std::size_t, std::size_t)>& fn) {
        constexpr std::size_t kPiece = 8192;
        pool_.run(int((count + kPiece - 1) / kPiece), [&](int k) {
            const std::size_t begin = std::size_t(k) * kPiece;
            fn(begin, std::min(count, begin + kPiece));
        });
    }

private:
    Host& host_;
    Progress* progress_;
    WorkerPool pool_;
};

// Mark numbers per band of rows, in mark order.
struct BandLists {
    std::vector<std::uint32_t> start, marks;
    int bands = 0;
    std::span<const std::uint32_t> of(int band) const {
        return {marks.data() + start[std::size_t(band)],
                start[std::size_t(band) + 1] - start[std::size_t(band)]};
    }
};

// rows(k, y0, y1) gives the rows [y0, y1) that mark k can touch.
BandLists by_band(BandRunner& runner, std::size_t count, int height,
                  const std::function<void(std::size_t, int&, int&)>& rows) {
    BandLists l;
    l.bands = (height + kBandRows - 1) / kBandRows;
    l.start.assign(std::size_t(l.bands) + 1, 0);
    std::vector<std::pair<int, int>> span(count);
    runner.each(count, [&](std::size_t begin, std::size_t end) {
        for (std::size_t k = begin; k < end; ++k) {
            int y0 = 0, y1 = 0;
            rows(k, y0, y1);
            y0 = std::max(y0, 0);
            y1 = std::min(y1, height);
            span[k] = y0 < y1 ? std::pair{y0 / kBandRows, (y1 - 1) / kBandRows + 1} : std::pair{0, 0};
        }
    });
    for (std::size_t k = 0; k < count; ++k)
        for (int b = span[k].first; b < span[k].second; ++b) ++l.start[std::size_t(b) + 1];
    std::partial_sum(l.start.begin(), l.start.end(), l.start.begin());
    l.marks.resize(l.start.back());
    std::vector<std::uint32_t> fill(l.start.begin(), l.start.end() - 1);
    for (std::size_t k = 0; k < count; ++k)
        for (int b = span[k].first; b < span[k].second; ++b)
            l.marks[fill[std::size_t(b)]++] = std::uint32_t(k);
    return l;
}

void poly_rows(std::span<const CellPoint> poly, double pad, int& y0, int& y1) {
    double lo = 1e300, hi = -1e300;
    for (const CellPoint& p : poly) lo = std::min(lo, p.y), hi = std::max(hi, p.y);
    if (poly.empty()) return;
    y0 = int(std::max(-1.0, std::floor(lo - pad)));
    y1 = int(std::min(1e9, std::ceil(hi + pad) + 1));
}

CellInk cell_ink(const Placement& p, const Colour& colour, int lead, std::uint32_t lead_colour) {
    const double far = 1.6 * std::max(p.radius, 1e-9);
    return {float(1 / (far * far)),
            lead > 0 ? float(lead / 2.0 + 0.5) : 0.0f,
            {float(colour.c[0]), float(colour.c[1]), float(colour.c[2])},
            {float(colorref_blue(lead_colour)), float(colorref_green(lead_colour)),
             float(colorref_red(lead_colour))},
            p.x,
            p.y};
}

bool paint_cells(BandRunner& runner, std::span<const CellSite> sites, std::span<const CellInk> inks,
                 UBUFFER& buffer) {
    const CellPicture picture(sites, inks, buffer.width(), buffer.height(), 0, &runner.pool());
    // Bands of one row of the picture's blocks, many to a batch: no mark spans bands here, and short
    // pieces keep both cores busy to the end of each batch.
    const int rows = CellPicture::kBlockRows, bands = (buffer.height() + rows - 1) / rows;
    return runner.run(
        bands, buffer.height(), 0, 100, [&](int, int y0, int y1) { picture.paint_rows(buffer, y0, y1); },
        rows, 32);
}

// A spike, or (with `disc` set) the circle of radius `radius` about `tip`.
struct Mark {
    Spike spike;
    double radius = 0;
    bool disc = false;
};

bool paint_marks(BandRunner& runner, std::span<const Mark> marks, std::span<const Colour> colours,
                 UBUFFER& buffer) {
    const int width = buffer.width(), height = buffer.height();
    const BandLists lists = by_band(runner, marks.size(), height, [&](std::size_t k, int& y0, int& y1) {
        const Mark& m = marks[k];
        if (m.disc) {
            const CellPoint box[2] = {{m.spike.tip.x, m.spike.tip.y - m.radius},
                                      {m.spike.tip.x, m.spike.tip.y + m.radius}};
            poly_rows(box, 1, y0, y1);
        } else {
            poly_rows(std::span<const CellPoint>(&m.spike.left, 3), 1, y0, y1);
        }
    });
    return runner.run(lists.bands, height, 50, 100, [&](int band, int y0, int y1) {
        for (std::uint32_t k : lists.of(band)) {
            const Mark& m = marks[k];
            const Colour& colour = colours[std::size_t(m.spike.owner)];
            const CellPoint* v = &m.spike.left;
            double lo_x, hi_x, lo_y, hi_y;
            // Inward unit normals and offsets of the triangle's sides: the coverage of a pixel is
            // its centre's distance inside the nearest side, plus half a pixel.
            double nx[3]{}, ny[3]{}, off[3]{};
            if (m.disc) {
                lo_x = m.spike.tip.x - m.radius, hi_x = m.spike.tip.x + m.radius;
                lo_y = m.spike.tip.y - m.radius, hi_y = m.spike.tip.y + m.radius;
            } else {
                const double area =
                    (v[1].x - v[0].x) * (v[2].y - v[0].y) - (v[2].x - v[0].x) * (v[1].y - v[0].y);
                if (area == 0) continue;
                for (int s = 0; s < 3; ++s) {
                    const CellPoint& a = v[s];
                    const CellPoint& b = v[(s + 1) % 3];
                    const double len = std::hypot(b.x - a.x, b.y - a.y);
                    nx[s] = (area > 0 ? -(b.y - a.y) : (b.y - a.y)) / len;
                    ny[s] = (area > 0 ? (b.x - a.x) : -(b.x - a.x)) / len;
                    off[s] = nx[s] * a.x + ny[s] * a.y;
                }
                lo_x = std::min({v[0].x, v[1].x, v[2].x}), hi_x = std::max({v[0].x, v[1].x, v[2].x});
                lo_y = std::min({v[0].y, v[1].y, v[2].y}), hi_y = std::max({v[0].y, v[1].y, v[2].y});
            }
            const int xa = std::max(0, int(std::floor(lo_x - 1))),
                      xb = std::min(width, int(std::ceil(hi_x + 1)));
            const int ya = std::max(y0, int(std::floor(lo_y - 1))),
                      yb = std::min(y1, int(std::ceil(hi_y + 1)));
            for (int y = ya; y < yb; ++y) {
                std::uint8_t* px = buffer.row(y) + std::size_t(std::max(xa, 0)) * 4;
                for (int x = xa; x < xb; ++x, px += 4) {
                    const double cx = x + 0.5, cy = y + 0.5;
                    double inside;
                    if (m.disc) {
                        {
                            const double dx = cx - m.spike.tip.x, dy = cy - m.spike.tip.y;
                            inside = m.radius - std::sqrt(dx * dx + dy * dy);
                        }
                    } else {
                        inside = std::min({nx[0] * cx + ny[0] * cy - off[0], nx[1] * cx + ny[1] * cy - off[1],
                                           nx[2] * cx + ny[2] * cy - off[2]});
                    }
                    const double c = std::clamp(inside + 0.5, 0.0, 1.0);
                    if (c > 0) blend(px, colour, c);
                }
            }
        }
    });
}

// The direction of the picture's brightness gradient (Sobel) at (x, y) of the picture; 0 on a flat spot.
double gradient_angle(const UBUFFER& picture, double x, double y) {
    if (!picture || picture.channels() < 3) return 0;
    const int w = picture.width(), h = picture.height();
    const int cx = std::clamp(int(x), 0, w - 1), cy = std::clamp(int(y), 0, h - 1);
    auto luma = [&](int dx, int dy) {
        const std::uint8_t* p = &picture.at(std::clamp(cx + dx, 0, w - 1), std::clamp(cy + dy, 0, h - 1));
        return 0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2];
    };
    const double gx =
        luma(1, -1) + 2 * luma(1, 0) + luma(1, 1) - luma(-1, -1) - 2 * luma(-1, 0) - luma(-1, 1);
    const double gy =
        luma(-1, 1) + 2 * luma(0, 1) + luma(1, 1) - luma(-1, -1) - 2 * luma(0, -1) - luma(1, -1);
    return gx == 0 && gy == 0 ? 0.0 : std::atan2(gy, gx);
}

}  // namespace

bool paint_drawing(Host& host, const Drawing& drawing, std::span<const Placement> placements,
                   const UBUFFER& picture, int global_brightness, UBUFFER& buffer, Progress* progress,
                   int threads) {
    if (!buffer || buffer.channels() != 4 || drawing.kind == DrawingKind::None) return true;
    const int width = buffer.width(), height = buffer.height();
    const bool plain = drawing.kind == DrawingKind::CrystalCells;
    const bool cells = drawing.kind == DrawingKind::PebbleCells || plain;
    BandRunner runner(host, progress, threads);
    // One pass over the placements, which are large, side by side. Cells keep their colours in
    // their inks only.
    std::vector<Colour> colours(cells ? 0 : placements.size());
    std::vector<CellSite> sites(placements.size());
    std::vector<CellInk> inks(cells ? placements.size() : 0);
    runner.each(placements.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const Placement& p = placements[i];
            sites[i] = {p.x, p.y, plain ? 0.0 : p.radius * p.radius};
            if (cells)
                inks[i] = cell_ink(p, paint_colour(p, global_brightness), drawing.lead, drawing.lead_colour);
            else
                colours[i] = paint_colour(p, global_brightness);
        }
    });
    if (cells) return paint_cells(runner, sites, inks, buffer);
    CellDiagram diagram;
    if (drawing.kind == DrawingKind::WebSpikes) {
        if (!make_cell_diagram(host, sites, width, height, diagram, threads)) return false;
        if (progress) progress->set(50);
    }

    // Spikes: small circles first, so the large stars lie on top.
    std::vector<int> order(placements.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return placements[std::size_t(a)].radius < placements[std::size_t(b)].radius;
    });
    std::vector<Mark> marks;
    std::vector<Spike> spikes;
    const double sx = picture ? double(picture.width()) / width : 1,
                 sy = picture ? double(picture.height()) / height : 1;
    for (int i : order) {
        const Placement& p = placements[std::size_t(i)];
        spikes.clear();
        if (drawing.kind == DrawingKind::WebSpikes) {
            web_spikes(diagram, sites, i, 0.16 * p.radius * drawing.spike_width, spikes);
        } else {
            burst_spikes(p.x, p.y, drawing.burst, gradient_angle(picture, p.x * sx, p.y * sy), 1.9 * p.radius,
                         0.11 * p.radius * drawing.spike_width, i, spikes);
        }
        for (const Spike& s : spikes) marks.push_back({s, 0, false});
        if (drawing.kind == DrawingKind::BurstSpikes)
            marks.push_back({Spike{{}, {}, {p.x, p.y}, i}, 0.3 * p.radius, true});
    }
    return paint_marks(runner, marks, colours, buffer);
}

}  // namespace velq
