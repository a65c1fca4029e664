#include "render/drawing.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "host/worker_pool.h"
#include "render/cell_diagram.h"
#include "render/spikes.h"
#include "segments/colour.h"

namespace velq {

namespace {

// The picture is painted in bands of rows, every band by one thread, each going through the marks
// that reach it in their order: a pixel sees the same marks in the same order whatever the split.
constexpr int kBandRows = 32;
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
BandLists by_band(std::size_t count, int height, const std::function<void(std::size_t, int&, int&)>& rows) {
    BandLists l;
    l.bands = (height + kBandRows - 1) / kBandRows;
    l.start.assign(std::size_t(l.bands) + 1, 0);
    std::vector<std::pair<int, int>> span(count);
    for (std::size_t k = 0; k < count; ++k) {
        int y0 = 0, y1 = 0;
        rows(k, y0, y1);
        y0 = std::max(y0, 0);
        y1 = std::min(y1, height);
        span[k] = y0 < y1 ? std::pair{y0 / kBandRows, (y1 - 1) / kBandRows + 1} : std::pair{0, 0};
        for (int b = span[k].first; b < span[k].second; ++b) ++l.start[std::size_t(b) + 1];
    }
    std::partial_sum(l.start.begin(), l.start.end(), l.start.begin());
    l.marks.resize(l.start.back());
    std::vector<std::uint32_t> fill(l.start.begin(), l.start.end() - 1);
    for (std::size_t k = 0; k < count; ++k)
        for (int b = span[k].first; b < span[k].second; ++b)
            l.marks[fill[std::size_t(b)]++] = std::uint32_t(k);
    return l;
}

class BandRunner {
public:
    BandRunner(Host& host, Progress* progress, int threads)
        : host_(host), progress_(progress), pool_(threads) {}

    // Runs paint(band, y0, y1) over every band; progress goes from `from` to `to` percent.
    bool run(int bands, int height, double from, double to, const std::function<void(int, int, int)>& paint) {
        for (int b0 = 0; b0 < bands; b0 += kBandsPerBatch) {
            if (host_.stopped()) return false;
            const int b1 = std::min(bands, b0 + kBandsPerBatch);
            pool_.run(b1 - b0, [&](int k) {
                const int b = b0 + k;
                paint(b, b * kBandRows, std::min(height, (b + 1) * kBandRows));
            });
            if (progress_) progress_->set(int(from + (to - from) * b1 / bands));
        }
        return !host_.stopped();
    }

private:
    Host& host_;
    Progress* progress_;
    WorkerPool pool_;
};

// The columns [x0, x1) whose centres lie inside a convex polygon on the line y.
bool row_span(std::span<const CellPoint> poly, double y, int width, int& x0, int& x1) {
    double lo = 1e300, hi = -1e300;
    for (std::size_t k = 0; k < poly.size(); ++k) {
        const CellPoint& a = poly[k];
        const CellPoint& b = poly[k + 1 == poly.size() ? 0 : k + 1];
        if ((a.y <= y && y < b.y) || (b.y <= y && y < a.y)) {
            const double x = a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y);
            lo = std::min(lo, x);
            hi = std::max(hi, x);
        }
    }
    if (lo > hi) return false;
    x0 = std::max(0, int(std::ceil(lo - 0.5)));
    x1 = std::min(width, int(std::ceil(hi - 0.5)));
    return x0 < x1;
}

void poly_rows(std::span<const CellPoint> poly, double pad, int& y0, int& y1) {
    double lo = 1e300, hi = -1e300;
    for (const CellPoint& p : poly) lo = std::min(lo, p.y), hi = std::max(hi, p.y);
    if (poly.empty()) return;
    y0 = int(std::max(-1.0, std::floor(lo - pad)));
    y1 = int(std::min(1e9, std::ceil(hi + pad) + 1));
}

// Each cell in its colour, lighter toward its circle's centre.
bool fill_cells(BandRunner& runner, const CellDiagram& d, std::span<const Placement> placements,
                std::span<const Colour> colours, UBUFFER& buffer) {
    const int width = buffer.width(), height = buffer.height();
    const BandLists lists = by_band(std::size_t(d.size()), height, [&](std::size_t i, int& y0, int& y1) {
        poly_rows(d.cell(int(i)), 0, y0, y1);
    });
    return runner.run(lists.bands, height, 50, 80, [&](int band, int y0, int y1) {
        std::vector<double> shade(std::size_t(width) + 1);
        for (std::uint32_t i : lists.of(band)) {
            const auto poly = d.cell(int(i));
            const Placement& p = placements[i];
            const double reach = 1.6 * std::max(p.radius, 1e-9), per = 1 / (reach * reach);
            // Only the rows whose centres the cell's height spans (row_span decides at the ends).
            int ya = y0, yb = y1;
            poly_rows(poly, 0, ya, yb);
            for (int y = std::max(y0, ya); y < std::min(y1, yb); ++y) {
                int x0 = 0, x1 = 0;
                if (!row_span(poly, y + 0.5, width, x0, x1)) continue;
                std::uint8_t* px = buffer.row(y) + std::size_t(x0) * 4;
                const double dy2 = (y + 0.5 - p.y) * (y + 0.5 - p.y);
                // The shades first, in a loop the compiler turns into vector code, then the bytes.
                double* sh = shade.data();
                for (int x = x0; x < x1; ++x) {
                    const double dx = x + 0.5 - p.x;
                    sh[x - x0] = 1.12 - 0.25 * std::sqrt(std::min(1.0, (dx * dx + dy2) * per));
                }
                for (int x = x0; x < x1; ++x, px += 4)
                    for (int k = 0; k < 3; ++k) px[k] = to_byte(colours[i].c[k] * sh[x - x0]);
            }
        }
    });
}

// Every edge two cells share, once, as a line `lead` pixels wide with soft sides.
bool draw_leads(BandRunner& runner, const CellDiagram& d, int lead, std::uint32_t lead_colour,
                UBUFFER& buffer) {
    const int width = buffer.width(), height = buffer.height();
    struct Edge {
        CellPoint a, b;
    };
    std::vector<Edge> edges;
    for (int i = 0; i < d.size(); ++i) {
        const auto poly = d.cell(i);
        const auto across = d.edges(i);
        for (std::size_t k = 0; k < poly.size(); ++k)
            if (across[k] > i) edges.push_back({poly[k], poly[k + 1 == poly.size() ? 0 : k + 1]});
    }
    const double half = lead / 2.0;
    const BandLists lists = by_band(edges.size(), height, [&](std::size_t k, int& y0, int& y1) {
        poly_rows(std::span<const CellPoint>(&edges[k].a, 2), half + 1, y0, y1);
    });
    const Colour ink{{double(colorref_blue(lead_colour)), double(colorref_green(lead_colour)),
                      double(colorref_red(lead_colour))}};
    return runner.run(lists.bands, height, 80, 100, [&](int band, int y0, int y1) {
        // The strongest coverage of any edge per pixel: the same whatever order the edges come in.
        std::vector<float> cover(std::size_t(width) * (y1 - y0), 0.f);
        for (std::uint32_t k : lists.of(band)) {
            const Edge& e = edges[k];
            const double ex = e.b.x - e.a.x, ey = e.b.y - e.a.y, len2 = ex * ex + ey * ey;
            // A pixel is covered only when its centre lies within `reach` of the edge: inside the
            // edge's box grown by `reach` and, row by row, inside the strip about the edge's line.
            // The tiny margin keeps any pixel rounding could cover (those left out would get no ink).
            const double reach = half + 0.5, margin = 1e-7, len = std::sqrt(len2);
            const double lo_x = std::min(e.a.x, e.b.x) - reach - 0.5 - margin,
                         hi_x = std::max(e.a.x, e.b.x) + reach - 0.5 + margin;
            const int xa = std::max(0, int(std::ceil(lo_x))), xb = std::min(width, int(std::floor(hi_x)) + 1);
            const int ya = std::max(y0, int(std::ceil(std::min(e.a.y, e.b.y) - reach - 0.5 - margin)));
            const int yb = std::min(y1, int(std::floor(std::max(e.a.y, e.b.y) + reach - 0.5 + margin)) + 1);
            // The strip's middle moves by `slope` a row; the margin covers its rounding.
            const bool slanted = std::abs(ey) > 1e-9 * len;
            const double slope = slanted ? ex / ey : 0, spread = slanted ? reach * len / std::abs(ey) : 0;
            for (int y = ya; y < yb; ++y) {
                int xs = xa, xe = xb;
                const double py = y + 0.5 - e.a.y;
                if (slanted) {
                    const double mid = e.a.x + py * slope;
                    xs = std::max(xa, int(std::ceil(std::max(lo_x, mid - spread - 0.5 - margin))));
                    xe = std::min(xb, int(std::floor(std::min(hi_x, mid + spread - 0.5 + margin))) + 1);
                }
                for (int x = xs; x < xe; ++x) {
                    const double px = x + 0.5 - e.a.x;
                    const double t = len2 > 0 ? std::clamp((px * ex + py * ey) / len2, 0.0, 1.0) : 0.0;
                    const double c = std::clamp(
                        half + 0.5 - std::sqrt((px - t * ex) * (px - t * ex) + (py - t * ey) * (py - t * ey)),
                        0.0, 1.0);
                    float& slot = cover[std::size_t(y - y0) * width + x];
                    slot = std::max(slot, float(c));
                }
            }
        }
        for (int y = y0; y < y1; ++y) {
            std::uint8_t* px = buffer.row(y);
            const float* c = cover.data() + std::size_t(y - y0) * width;
            for (int x = 0; x < width; ++x, px += 4)
                if (c[x] > 0) blend(px, ink, c[x]);
        }
    });
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
    const BandLists lists = by_band(marks.size(), height, [&](std::size_t k, int& y0, int& y1) {
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
    std::vector<Colour> colours;
    std::vector<CellSite> sites;
    colours.reserve(placements.size());
    sites.reserve(placements.size());
    const bool plain = drawing.kind == DrawingKind::CrystalCells;
    for (const Placement& p : placements) {
        colours.push_back(paint_colour(p, global_brightness));
        sites.push_back({p.x, p.y, plain ? 0.0 : p.radius * p.radius});
    }
    BandRunner runner(host, progress, threads);
    CellDiagram diagram;
    if (drawing.kind != DrawingKind::BurstSpikes) {
        if (!make_cell_diagram(host, sites, width, height, diagram, threads)) return false;
        if (progress) progress->set(50);
    }
    if (drawing.kind == DrawingKind::PebbleCells || plain)
        return fill_cells(runner, diagram, placements, colours, buffer) &&
               (drawing.lead <= 0 || draw_leads(runner, diagram, drawing.lead, drawing.lead_colour, buffer));

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
