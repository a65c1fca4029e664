#include "render/drawing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#include "host/worker_pool.h"
#include "render/cell_diagram.h"
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

// ceil(v) clamped to [lo, hi], without a call to ceil (the baseline instruction set has none).
int ceil_within(double v, int lo, int hi) {
    v = std::clamp(v, double(lo), double(hi));
    const int c = int(v);
    return c + (double(c) < v);
}

// floor(v) clamped to [lo, hi], likewise.
int floor_within(double v, int lo, int hi) {
    v = std::clamp(v, double(lo), double(hi));
    const int c = int(v);
    return c - (double(c) > v);
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

// Brings the rows [y0, y1) into the cache in one sweep. A band's cells reach its rows in no order
// along them, and otherwise wait on memory a line at a time.
void warm_rows(const UBUFFER& buffer, int y0, int y1) {
#if defined(__SSE2__) || defined(_M_X64)
    const std::size_t bytes = std::size_t(buffer.width()) * std::size_t(buffer.channels());
    for (int y = y0; y < y1; ++y)
        for (std::size_t at = 0; at < bytes; at += 64)
            _mm_prefetch(reinterpret_cast<const char*>(buffer.row(y)) + at, _MM_HINT_T0);
#endif
}

// Mark numbers per band of rows, in mark order.
struct BandLists {
    std::vector<std::uint32_t> start, marks;
    std::vector<std::pair<int, int>> rows;  // per mark: the rows [first, second) it touches in the picture
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
    l.rows.resize(count);
    std::vector<std::pair<int, int>> span(count);
    runner.each(count, [&](std::size_t begin, std::size_t end) {
        for (std::size_t k = begin; k < end; ++k) {
            int y0 = 0, y1 = 0;
            rows(k, y0, y1);
            y0 = std::max(y0, 0);
            y1 = std::min(y1, height);
            l.rows[k] = y0 < y1 ? std::pair{y0, y1} : std::pair{0, 0};
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

// The columns whose centres lie inside a convex polygon, row by row from the top: the spans of
// row_span, found by walking the polygon's descending and ascending sides instead of testing every
// edge on every row.
class ConvexSpans {
public:
    explicit ConvexSpans(std::span<const CellPoint> poly) : poly_(poly) {
        const std::size_t n = poly.size();
        std::size_t top = 0;
        for (std::size_t k = 1; k < n; ++k)
            if (poly[k].y < poly[top].y) top = k;
        for (std::size_t s = 0; s < n && ok_; ++s) {
            const std::size_t k = (top + s) % n, l = k + 1 == n ? 0 : k + 1;
            if (poly[k].y != poly[l].y) ok_ = add(poly[k].y < poly[l].y ? down_ : up_, poly[k], poly[l]);
        }
        std::reverse(up_.edge, up_.edge + up_.count);
        // Each side must run downwards edge after edge; a cell that rounding left not quite convex
        // takes the test of every edge instead.
        for (const Side* side : {&down_, &up_})
            for (std::size_t k = 1; k < side->count && ok_; ++k)
                ok_ = side->edge[k - 1].y1 <= side->edge[k].y0;
    }

    // Lines must come in increasing y.
    bool at(double y, int width, int& x0, int& x1) {
        if (!ok_) return row_span(poly_, y, width, x0, x1);
        double lo = 1e300, hi = -1e300;
        cross(down_, y, lo, hi);
        cross(up_, y, lo, hi);
        if (lo > hi) return false;
        x0 = ceil_within(lo - 0.5, 0, width);
        x1 = ceil_within(hi - 0.5, 0, width);
        return x0 < x1;
    }

private:
    static constexpr std::size_t kMaxSide = 16;  // longer sides take the test of every edge
    // An edge from its top end: x = x0 + (y - y0) slope for y in [y0, y1).
    struct Edge {
        double y0, y1, x0, slope;
    };
    struct Side {
        Edge edge[kMaxSide];
        std::size_t count = 0, at = 0;
    };

    static bool add(Side& side, const CellPoint& a, const CellPoint& b) {
        if (side.count == kMaxSide) return false;
        const CellPoint& top = a.y < b.y ? a : b;
        side.edge[side.count++] = {top.y, std::max(a.y, b.y), top.x, (b.x - a.x) / (b.y - a.y)};
        return true;
    }

    // The crossing of the line y with a side, walking on from the edge of the previous line.
    static void cross(Side& side, double y, double& lo, double& hi) {
        for (; side.at < side.count; ++side.at) {
            const Edge& e = side.edge[side.at];
            if (y < e.y1) {
                if (e.y0 <= y) {
                    const double x = e.x0 + (y - e.y0) * e.slope;
                    lo = std::min(lo, x);
                    hi = std::max(hi, x);
                }
                return;
            }
        }
    }

    std::span<const CellPoint> poly_;
    Side down_, up_;
    bool ok_ = true;
};

void poly_rows(std::span<const CellPoint> poly, double pad, int& y0, int& y1) {
    double lo = 1e300, hi = -1e300;
    for (const CellPoint& p : poly) lo = std::min(lo, p.y), hi = std::max(hi, p.y);
    if (poly.empty()) return;
    y0 = int(std::max(-1.0, std::floor(lo - pad)));
    y1 = int(std::min(1e9, std::ceil(hi + pad) + 1));
}

// A shared edge of a cell: inward unit normal, so the distance inside is nx x + ny y - off.
struct CellLine {
    double nx, ny, off;
    int row0, row1;  // the rows [row0, row1) a pixel within the lead's reach of the edge can be on
};

// What every pixel of one cell needs.
struct CellInk {
    float per;      // 1 / (1.6 r)^2: the shading reaches its darkest at 1.6 radii
    float reach;    // lead / 2 + 0.5; 0 without lead
    float c[3];     // the cell's colour, blue first
    float e[3];     // the lead's colour
    double cx, cy;  // the circle's centre
};

// Scratch for one band of rows: a cell's lead lines, and those beside one row.
struct CellScratch {
    std::vector<CellLine> lines;
    std::vector<double> nx, base;  // per line beside the row: distance at column centre x is nx x + base
};

// A pixel's four bytes as one word, blue in the low byte.
static_assert(std::endian::native == std::endian::little, "pixels are assembled as little-endian words");

#if defined(__GNUC__)
#define VELQ_INLINE __attribute__((always_inline)) inline
#else
#define VELQ_INLINE inline
#endif

#if defined(__SSE2__) || defined(_M_X64)
#define VELQ_CELL_LANES 1
// A cell's ink in four lanes each, made once per cell.
struct CellLanes {
    __m128 per, reach, c[3], e[3];
    explicit CellLanes(const CellInk& ink) : per(_mm_set1_ps(ink.per)), reach(_mm_set1_ps(ink.reach)) {
        for (int k = 0; k < 3; ++k) c[k] = _mm_set1_ps(ink.c[k]), e[k] = _mm_set1_ps(ink.e[k]);
    }
};
#else
struct CellLanes {
    explicit CellLanes(const CellInk&) {}
};
#endif

// Four pixels of one cell's row from column centre x on (n of them inside the row): the cell's
// colour shaded by the distance from its circle's centre (dy2 squared down), then the lead colour
// by the coverage of the nearest of the lead lines beside the row. In float, four lanes at once
// where the processor has them and one by one elsewhere, with the same operations in the same order,
// so both give the same bytes. Each channel is rounded to a byte before the lead is blended over it
// (a mix of two bytes needs no clamp; coverage 0 gives the byte back).
VELQ_INLINE void paint_quad(std::uint8_t* px, int n, double x, float dy2, const CellInk& ink,
                            [[maybe_unused]] const CellLanes& lanes, const double* nx, const double* base,
                            std::size_t lines) {
    const float dx0 = float(x - ink.cx);
#if VELQ_CELL_LANES
    const __m128 lane = _mm_setr_ps(0, 1, 2, 3), one = _mm_set1_ps(1.0f), half = _mm_set1_ps(0.5f);
    const __m128 dx = _mm_add_ps(_mm_set1_ps(dx0), lane);
    const __m128 far =
        _mm_min_ps(_mm_mul_ps(_mm_add_ps(_mm_mul_ps(dx, dx), _mm_set1_ps(dy2)), lanes.per), one);
    const __m128 shade = _mm_sub_ps(_mm_set1_ps(1.12f), _mm_mul_ps(_mm_set1_ps(0.25f), _mm_sqrt_ps(far)));
    __m128 dist = lanes.reach;
    for (std::size_t k = 0; k < lines; ++k) {
        const __m128 start = _mm_set1_ps(float(nx[k] * x + base[k])), step = _mm_set1_ps(float(nx[k]));
        dist = _mm_min_ps(dist, _mm_add_ps(start, _mm_mul_ps(step, lane)));
    }
    const __m128 cover = _mm_min_ps(_mm_max_ps(_mm_sub_ps(lanes.reach, dist), _mm_setzero_ps()), one);
    __m128i bytes = _mm_setzero_si128();
    for (int c = 0; c < 3; ++c) {
        const __m128 level = _mm_cvtepi32_ps(_mm_cvttps_epi32(
            _mm_min_ps(_mm_add_ps(_mm_mul_ps(lanes.c[c], shade), half), _mm_set1_ps(255.0f))));
        const __m128 mixed =
            _mm_add_ps(_mm_add_ps(level, _mm_mul_ps(_mm_sub_ps(lanes.e[c], level), cover)), half);
        bytes = _mm_or_si128(bytes, _mm_slli_epi32(_mm_cvttps_epi32(mixed), 8 * c));
    }
    const __m128i alpha = _mm_set1_epi32(int(0xff000000u));
    if (n == 4) {
        const __m128i old = _mm_loadu_si128(reinterpret_cast<const __m128i*>(px));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(px), _mm_or_si128(bytes, _mm_and_si128(old, alpha)));
        return;
    }
    alignas(16) std::uint32_t out[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(out), bytes);
    for (int j = 0; j < n; ++j) {
        std::uint32_t old;
        std::memcpy(&old, px + 4 * j, 4);
        out[j] |= old & 0xff000000u;
        std::memcpy(px + 4 * j, &out[j], 4);
    }
#else
    for (int j = 0; j < n; ++j) {
        const float dx = dx0 + float(j);
        const float shade = 1.12f - 0.25f * std::sqrt(std::min((dx * dx + dy2) * ink.per, 1.0f));
        float dist = ink.reach;
        for (std::size_t k = 0; k < lines; ++k)
            dist = std::min(dist, float(nx[k] * x + base[k]) + float(nx[k]) * float(j));
        const float cover = std::min(std::max(ink.reach - dist, 0.0f), 1.0f);
        std::uint8_t* p = px + 4 * j;
        for (int c = 0; c < 3; ++c) {
            const float level = float(int(std::min(ink.c[c] * shade + 0.5f, 255.0f)));
            p[c] = std::uint8_t(int(level + (ink.e[c] - level) * cover + 0.5f));
        }
    }
#endif
}

// The rows [y0, y1) of one cell, which spans rows [ya, yb): each in its colour, lighter toward its circle's
// centre, with lead lines along the edges it shares with other cells. A pixel's lead coverage is clamp(reach
// - distance, 0, 1), the distance being to the nearest shared edge; for a pixel inside a convex cell that is
// the distance to the nearest of its own shared edges' lines, so each cell needs only its own edges, and its
// neighbours draw the other half of the line.
VELQ_INLINE void paint_cell(std::span<const CellPoint> poly, std::span<const std::int32_t> across,
                            const CellInk& ink, int ya, int yb, int y0, int y1, UBUFFER& buffer,
                            CellScratch& scratch) {
    const int width = buffer.width();
    std::vector<CellLine>& lines = scratch.lines;
    lines.clear();
    if (ink.reach > 0) {
        // Cells run clockwise on screen, so the inward normal of a -> b is (a.y - b.y, b.x - a.x).
        for (std::size_t k = 0; k < poly.size(); ++k) {
            if (across[k] < 0) continue;  // the frame has no lead
            const CellPoint& a = poly[k];
            const CellPoint& b = poly[k + 1 == poly.size() ? 0 : k + 1];
            const double len = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
            if (!(len > 0)) continue;
            const double nx = (a.y - b.y) / len, ny = (b.x - a.x) / len;
            // Rows whose centres lie within the reach of the edge's ends, up and down.
            lines.push_back({nx, ny, nx * a.x + ny * a.y,
                             ceil_within(std::min(a.y, b.y) - ink.reach - 0.5, -1, 1 << 30),
                             floor_within(std::max(a.y, b.y) + ink.reach - 0.5, -2, 1 << 30) + 1});
        }
    }
    if (scratch.nx.size() < lines.size()) scratch.nx.resize(lines.size()), scratch.base.resize(lines.size());
    double* nx = scratch.nx.data();
    double* base = scratch.base.data();
    // Only the rows whose centres the cell's height spans (the spans decide at the ends).
    ConvexSpans spans(poly);
    const CellLanes lanes(ink);
    for (int y = std::max(y0, ya); y < std::min(y1, yb); ++y) {
        int x0 = 0, x1 = 0;
        if (!spans.at(y + 0.5, width, x0, x1)) continue;
        const double cy = y + 0.5;
        const float dy2 = float((cy - ink.cy) * (cy - ink.cy));
        // A pixel within the lead's reach of a cell's edge line lies within its reach of the edge
        // itself (the cell is convex), so a row needs only the edges beside it.
        std::size_t count = 0;
        for (const CellLine& l : lines) {
            nx[count] = l.nx;
            base[count] = l.ny * cy - l.off;
            count += l.row0 <= y && y < l.row1;
        }
        std::uint8_t* row = buffer.row(y);
        for (int xc = x0; xc < x1; xc += 4)
            paint_quad(row + std::size_t(xc) * 4, std::min(4, x1 - xc), xc + 0.5, dy2, ink, lanes, nx, base,
                       count);
    }
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

bool paint_cells(BandRunner& runner, const CellDiagram& d, std::span<const CellInk> inks, UBUFFER& buffer) {
    const int height = buffer.height();
    const BandLists lists =
        by_band(runner, std::size_t(d.size()), height,
                [&](std::size_t i, int& y0, int& y1) { poly_rows(d.cell(int(i)), 0, y0, y1); });
    return runner.run(lists.bands, height, 50, 100, [&](int band, int y0, int y1) {
        CellScratch scratch;
        warm_rows(buffer, y0, y1);
        for (std::uint32_t i : lists.of(band))
            paint_cell(d.cell(int(i)), d.edges(int(i)), inks[i], lists.rows[i].first, lists.rows[i].second,
                       y0, y1, buffer, scratch);
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
    // One pass over the placements, which are large, side by side.
    std::vector<Colour> colours(placements.size());
    std::vector<CellSite> sites(placements.size());
    std::vector<CellInk> inks(cells ? placements.size() : 0);
    runner.each(placements.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const Placement& p = placements[i];
            colours[i] = paint_colour(p, global_brightness);
            sites[i] = {p.x, p.y, plain ? 0.0 : p.radius * p.radius};
            if (cells) inks[i] = cell_ink(p, colours[i], drawing.lead, drawing.lead_colour);
        }
    });
    CellDiagram diagram;
    if (drawing.kind != DrawingKind::BurstSpikes) {
        if (!make_cell_diagram(host, sites, width, height, diagram, threads)) return false;
        if (progress) progress->set(50);
    }
    if (cells) return paint_cells(runner, diagram, inks, buffer);

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
