#include "render/cell_diagram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "host/worker_pool.h"
#include "render/site_grid.h"

namespace velq {

namespace {

constexpr double kSamePoint = 1e-9;  // pixels: vertices this close are one

// Cuts one cell out of the frame, half-plane by half-plane, in coordinates relative to its site.
class CellCutter {
public:
    CellCutter(const CellCutter&) = delete;
    CellCutter& operator=(const CellCutter&) = delete;
    CellCutter(std::span<const CellSite> sites, const std::vector<SiteGrid>& grids, double width,
               double height)
        : sites_(sites), grids_(grids), width_(width), height_(height) {
        spacing_ = std::sqrt(std::max(width * height, 1.0) / std::max<std::size_t>(sites.size(), 1));
    }

    void cut(int i, std::vector<CellPoint>& vertex, std::vector<std::int32_t>& across) {
        // First within a box about the site, which saves the cuts that would only trim the frame
        // down to it; when the box still bounds the cell at the end (or nothing was left in it), it
        // was too small and the cell is cut again from a box four times as wide, at last from the
        // whole frame.
        const CellSite& s = sites_[std::size_t(i)];
        for (double h = 2 * std::sqrt(s.weight) + 3 * spacing_;; h *= 4) {
            const bool last = !(h < 2 * std::max(width_, height_));
            if (last) h = std::numeric_limits<double>::infinity();
            if ((search(i, h) && !poly_->touches(kBox)) || last) break;
        }
        for (std::size_t k = 0; k < poly_->n; ++k) {
            vertex.push_back({poly_->x[k] + s.x, poly_->y[k] + s.y});
            across.push_back(poly_->label[k]);
        }
    }

private:
    static constexpr std::int32_t kBox = -2;

    // A site that may cut the cell: site q of class `grid`, as seen from the cell's site.
    struct Near {
        double lim, d2;  // |c_j - c_i|^2 - w_j + w_i and |c_j - c_i|^2
        std::uint32_t q;
        std::uint16_t grid;
        std::uint8_t round;
    };

    // The cell within the frame and the square of half side h about the site; false when that is
    // empty (the cell may still lie outside the square: overlapping circles).
    bool search(int i, double h) {
        const CellSite& s = sites_[std::size_t(i)];
        const double x0 = std::max(0.0, s.x - h), x1 = std::min(width_, s.x + h);
        const double y0 = std::max(0.0, s.y - h), y1 = std::min(height_, s.y + h);
        poly_->n = 0;
        if (x0 < x1 && y0 < y1) {
            poly_->room(4);
            poly_->push(x0 - s.x, y0 - s.y, y0 == 0 ? -1 : kBox);
            poly_->push(x1 - s.x, y0 - s.y, x1 == width_ ? -1 : kBox);
            poly_->push(x1 - s.x, y1 - s.y, y1 == height_ ? -1 : kBox);
            poly_->push(x0 - s.x, y1 - s.y, x0 == 0 ? -1 : kBox);
        }
        reach2_ = poly_->farthest2();
        // First every site of each class within a disc about the site wide enough to hold the
        // neighbours of a packed circle (its radius, the class's largest and a site spacing), in
        // three rounds by the distance from the site to their dividing lines: within a quarter of
        // the spacing of the site's own circle, within one spacing, then the rest. Cutting by the
        // nearest first saves most of the cuts. The gather takes no branch per site: each is written
        // to the list, and the count moves on only for those inside the disc.
        const double r = std::sqrt(s.weight);
        const double bound0 = 4 * (r + 0.25 * spacing_) * (r + 0.25 * spacing_),
                     bound1 = 4 * (r + spacing_) * (r + spacing_);
        std::size_t count = 0;
        seen_.resize(grids_.size());
        for (std::size_t c = 0; c < grids_.size(); ++c) {
            const SiteGrid& g = grids_[c];
            const double disc = r + g.max_radius + spacing_, disc2 = disc * disc;
            seen_[c] = disc;
            const int xa = g.col_of(s.x - disc), xb = g.col_of(s.x + disc);
            for (int y = g.row_of(s.y - disc); y <= g.row_of(s.y + disc); ++y) {
                // The buckets of a row are one run of sites.
                const std::size_t row = std::size_t(y) * g.cols;
                const std::uint32_t q0 = g.start[row + xa], q1 = g.start[row + xb + 1];
                if (count + (q1 - q0) > near_.size()) near_.resize(2 * (count + (q1 - q0)));
                Near* list = near_.data();
                for (std::uint32_t q = q0; q < q1; ++q) {
                    const double ox = g.x[q] - s.x, oy = g.y[q] - s.y, d2 = ox * ox + oy * oy;
                    list[count] = {d2 - g.weight[q] + s.weight, d2, q, std::uint16_t(c), 0};
                    count += d2 < disc2;
                }
            }
        }
        // The rounds in turn, each in the order found. The distance from the site to a dividing
        // line is lim / (2 |d|); a line through or behind the site is in the first round.
        if (order_.size() <= count) order_.resize(2 * count + 1);  // one past: written, never read
        for (std::size_t k = 0; k < count; ++k) {
            Near& c = near_[k];
            const double key = std::max(c.lim, 0.0) * std::max(c.lim, 0.0);
            c.round = std::uint8_t(int(key > bound0 * c.d2) + int(key > bound1 * c.d2));
        }
        std::size_t ordered = 0;
        for (int round = 0; round < 3; ++round)
            for (std::size_t k = 0; k < count; ++k) {
                order_[ordered] = std::uint32_t(k);
                ordered += near_[k].round == round;
            }
        for (std::size_t k = 0; k < ordered && poly_->n > 0; ++k) {
            const Near& c = near_[order_[k]];
            if (beyond_cell(c.lim, c.d2)) continue;
            const SiteGrid& g = grids_[c.grid];
            const std::int32_t j = g.ids[c.q];
            if (j != i) clip(i, j, g.x[c.q] - s.x, g.y[c.q] - s.y, c.lim);
        }
        // Then, class by class, the sites beyond the disc that can still reach the cell, in rings of
        // buckets about the site's own, nearest first, until the next ring lies beyond the reach;
        // cuts only shrink it. The lightest class first: its many small sites near by make the
        // tightest cuts. (Plain cells have no radii, so their disc is small and the rings do most.)
        for (std::size_t c = grids_.size(); c-- > 0 && poly_->n > 0;) {
            const SiteGrid& g = grids_[c];
            double out = reach(s.weight, g.max_weight);
            if (out <= seen_[c]) continue;
            const double in2 = seen_[c] * seen_[c];
            const int cx = g.col_of(s.x), cy = g.row_of(s.y);
            // The rings wholly inside the disc were seen: the square of rings up to k reaches
            // corner2(k) from the site at its farthest corner.
            auto corner2 = [&](int k) {
                const double fx =
                    std::max(s.x - (g.x0 + (cx - k) * g.side), g.x0 + (cx + k + 1) * g.side - s.x) + 1e-9;
                const double fy =
                    std::max(s.y - (g.y0 + (cy - k) * g.side), g.y0 + (cy + k + 1) * g.side - s.y) + 1e-9;
                return fx * fx + fy * fy;
            };
            int first = 0;
            while (corner2(first) < in2) ++first;
            for (int k = first; poly_->n > 0; ++k) {
                // Every site of a ring lies outside the square of the rings within it.
                if (k > 0) {
                    const int m = k - 1;
                    if (cx - m <= 0 && cy - m <= 0 && cx + m >= g.cols - 1 && cy + m >= g.rows - 1) break;
                    const double inner =
                        std::min({s.x - (g.x0 + (cx - m) * g.side), g.x0 + (cx + m + 1) * g.side - s.x,
                                  s.y - (g.y0 + (cy - m) * g.side), g.y0 + (cy + m + 1) * g.side - s.y});
                    if (inner * (1 - 1e-12) - 1e-9 >= out) break;
                }
                for (int y = std::max(0, cy - k); y <= std::min(g.rows - 1, cy + k) && poly_->n > 0; ++y) {
                    const bool edge_row = y == cy - k || y == cy + k;
                    const double by0 = g.y0 + y * g.side,
                                 dy = std::max({by0 - s.y, s.y - (by0 + g.side), 0.0});
                    const double fy = std::max(std::abs(by0 - s.y), std::abs(by0 + g.side - s.y));
                    for (int x = std::max(0, cx - k); x <= std::min(g.cols - 1, cx + k) && poly_->n > 0;
                         x = edge_row || x == cx + k ? x + 1 : cx + k) {
                        // Buckets wholly inside the disc were seen (with a hair's margin: a site can
                        // sit a rounding error outside its bucket); those beyond the reach cannot cut.
                        const double bx0 = g.x0 + x * g.side;
                        const double dx = std::max({bx0 - s.x, s.x - (bx0 + g.side), 0.0});
                        const double fx = std::max(std::abs(bx0 - s.x), std::abs(bx0 + g.side - s.x));
                        if (dx * dx + dy * dy >= out * out ||
                            (fx + 1e-9) * (fx + 1e-9) + (fy + 1e-9) * (fy + 1e-9) < in2)
                            continue;
                        const std::size_t b = std::size_t(y) * g.cols + x;
                        for (std::uint32_t q = g.start[b]; q < g.start[b + 1] && poly_->n > 0; ++q) {
                            const double ox = g.x[q] - s.x, oy = g.y[q] - s.y, d2 = ox * ox + oy * oy;
                            if (d2 < in2 || d2 >= out * out) continue;
                            const double lim = d2 - g.weight[q] + s.weight;
                            if (beyond_cell(lim, d2)) continue;
                            if (clip(i, g.ids[q], ox, oy, lim)) out = reach(s.weight, g.max_weight);
                        }
                    }
                }
            }
        }
        return poly_->n > 0;
    }

    // Whether a site's dividing line (lim = d^2 - w_j + w_i, d^2 its squared distance) lies beyond
    // every vertex, so that it cannot cut: 2 v.d <= 2 |v| |d| <= lim.
    bool beyond_cell(double lim, double d2) const { return lim > 0 && lim * lim >= 4 * reach2_ * d2; }

    // How far from site i a site of weight up to w can be and still cut the cell: it takes a vertex v
    // only if |v - c_j|^2 - w_j < |v - c_i|^2 - w_i, so only if |c_j - c_i| is below
    // |v - c_i| + sqrt(|v - c_i|^2 - w_i + w) for the farthest v. A hair more, against rounding.
    double reach(double w_i, double w) const {
        return (std::sqrt(reach2_) + std::sqrt(std::max(0.0, reach2_ - w_i + w))) * (1 + 1e-12) + 1e-9;
    }

    // A polygon about the site: its points and, per point, the label of the edge that leaves it; in
    // arrays that only grow.
    struct Poly {
        std::vector<double> x, y;
        std::vector<std::int32_t> label;
        std::size_t n = 0;

        void room(std::size_t m) {
            if (x.size() < m) x.resize(2 * m), y.resize(2 * m), label.resize(2 * m);
        }
        void push(double px, double py, std::int32_t l) {
            x[n] = px, y[n] = py, label[n] = l;
            ++n;
        }
        // push(), except that a point within kSamePoint of the last one takes its place.
        void put(double px, double py, std::int32_t l) {
            if (n > 0 && same(x[n - 1], y[n - 1], px, py)) --n;
            push(px, py, l);
        }
        bool touches(std::int32_t l) const {
            return std::find(label.begin(), label.begin() + std::ptrdiff_t(n), l) !=
                   label.begin() + std::ptrdiff_t(n);
        }
        double farthest2() const {
            double m = 0;
            for (std::size_t k = 0; k < n; ++k) m = std::max(m, x[k] * x[k] + y[k] * y[k]);
            return m;
        }
    };

    static bool same(double px, double py, double qx, double qy) {
        return std::abs(px - qx) < kSamePoint && std::abs(py - qy) < kSamePoint;
    }

    // Keeps the part of the cell where site i's power distance is at most site j's, j lying at
    // (dx, dy) from i with limit = |d|^2 - w_j + w_i; true when the cell changed.
    bool clip(int i, std::int32_t j, double dx, double dy, double limit) {
        if (dx == 0 && dy == 0) {
            // The same centre: the heavier site (or the first of equals) owns all of it.
            if (limit < 0 || (limit == 0 && j < i)) poly_->n = 0;
            return true;
        }
        const std::size_t n = poly_->n;
        if (side_.size() < n) side_.resize(2 * n);
        const double *px = poly_->x.data(), *py = poly_->y.data();
        const std::int32_t* pl = poly_->label.data();
        double* side = side_.data();
        // Which points lie outside, as bits when there are few enough (nearly always).
        constexpr std::size_t kBits = 64;
        std::uint64_t out = 0;
        bool any_out = false, any_in = false;
        for (std::size_t k = 0; k < n; ++k) {
            side[k] = 2 * (px[k] * dx + py[k] * dy) - limit;
            const bool o = side[k] > 0;
            out |= std::uint64_t(o) << (k % kBits);
            any_out |= o;
            any_in |= !o;
        }
        if (!any_out) return false;
        next_->n = 0;
        double far2 = -1;  // the new cell's farthest point, when found on the way
        if (any_in) {
            next_->room(2 * n);  // a convex polygon's cut adds one point; twice covers any rounding
            // Puts where the line crosses edge k -> k + 1; gives that point's squared distance.
            auto cross = [&](std::size_t k, std::int32_t label) {
                const std::size_t l = k + 1 == n ? 0 : k + 1;
                const double t = side[k] / (side[k] - side[l]);
                const double x = px[k] + t * (px[l] - px[k]), y = py[k] + t * (py[l] - py[k]);
                next_->put(x, y, label);
                return x * x + y * y;
            };
            const std::uint64_t all = n >= kBits ? ~std::uint64_t(0) : (std::uint64_t(1) << n) - 1;
            const std::uint64_t in = all & ~out, in_next = (in >> 1) | ((in & 1) << ((n - 1) % kBits));
            const std::uint64_t leaves = in & ~in_next, enters = out & in_next;
            if (n <= kBits && leaves != 0 && (leaves & (leaves - 1)) == 0) {
                // One run of points outside, as a convex cell has: the points inside from the one
                // after `enter` to `leave`, then the line's two crossings. Leaving: the clip line
                // runs on from its crossing. Entering: the old edge goes on from it.
                const std::size_t leave = std::size_t(std::countr_zero(leaves)),
                                  enter = std::size_t(std::countr_zero(enters)),
                                  first = enter + 1 == n ? 0 : enter + 1;
                // The farthest point is taken on the way; one that put() then drops can only make
                // it larger, which costs a look further out, never a missed cut.
                far2 = 0;
                auto keep = [&](std::size_t k) {
                    next_->push(px[k], py[k], pl[k]);
                    far2 = std::max(far2, px[k] * px[k] + py[k] * py[k]);
                };
                if (first <= leave) {
                    for (std::size_t k = first; k <= leave; ++k) keep(k);
                } else {
                    for (std::size_t k = first; k < n; ++k) keep(k);
                    for (std::size_t k = 0; k <= leave; ++k) keep(k);
                }
                far2 = std::max(far2, cross(leave, j));
                far2 = std::max(far2, cross(enter, pl[enter]));
            } else {
                for (std::size_t k = 0; k < n; ++k) {
                    const std::size_t l = k + 1 == n ? 0 : k + 1;
                    const bool in_k = side[k] <= 0, in_l = side[l] <= 0;
                    if (in_k) next_->put(px[k], py[k], pl[k]);
                    if (in_k && !in_l) cross(k, j);
                    if (!in_k && in_l) cross(k, pl[k]);
                }
            }
            std::size_t& m = next_->n;
            if (m > 1 && same(next_->x[m - 1], next_->y[m - 1], next_->x[0], next_->y[0])) --m;
            if (m < 3) m = 0;
        }
        std::swap(poly_, next_);
        reach2_ = poly_->n == 0 ? 0 : far2 >= 0 ? far2 : poly_->farthest2();
        return true;
    }

    std::span<const CellSite> sites_;
    const std::vector<SiteGrid>& grids_;
    double width_, height_, spacing_ = 1;
    Poly polys_[2];
    Poly* poly_ = &polys_[0];  // the cell so far; the cuts write the next one into *next_
    Poly* next_ = &polys_[1];
    std::vector<double> side_;
    std::vector<double> seen_;  // per class: every site nearer than this has been tried
    std::vector<Near> near_;    // grown as needed
    std::vector<std::uint32_t> order_;
    double reach2_ = 0;
};

}  // namespace

bool make_cell_diagram(Host& host, std::span<const CellSite> sites, double width, double height,
                       CellDiagram& out, int threads) {
    out = {};
    const int n = int(sites.size());
    WorkerPool pool(threads);
    const std::vector<SiteGrid> grids = make_site_grids(sites, width, height, &pool);

    // Blocks of cells, each cut into a list of its own and joined in order afterwards.
    constexpr int kBlock = 512;
    const int blocks = (n + kBlock - 1) / kBlock;
    struct Piece {
        std::vector<std::uint32_t> count;
        std::vector<CellPoint> vertex;
        std::vector<std::int32_t> across;
    };
    std::vector<Piece> pieces(std::size_t(blocks), Piece{});
    constexpr int kBatch = 32;  // blocks between looks at the stop flag
    for (int b0 = 0; b0 < blocks; b0 += kBatch) {
        if (host.stopped()) return false;
        const int b1 = std::min(blocks, b0 + kBatch);
        pool.run(b1 - b0, [&](int k) {
            const int b = b0 + k;
            Piece& p = pieces[std::size_t(b)];
            CellCutter cutter(sites, grids, width, height);
            p.vertex.reserve(8 * kBlock);
            p.across.reserve(8 * kBlock);
            for (int i = b * kBlock; i < std::min(n, (b + 1) * kBlock); ++i) {
                const std::size_t before = p.vertex.size();
                cutter.cut(i, p.vertex, p.across);
                p.count.push_back(std::uint32_t(p.vertex.size() - before));
            }
        });
    }
    // The pieces are joined in order, each copied by whichever thread is free.
    out.first.resize(std::size_t(n) + 1);
    out.first[0] = 0;
    std::vector<std::size_t> at(pieces.size() + 1, 0);
    std::size_t cell = 0;
    for (std::size_t b = 0; b < pieces.size(); ++b) {
        for (std::uint32_t c : pieces[b].count) out.first[cell + 1] = out.first[cell] + c, ++cell;
        at[b + 1] = at[b] + pieces[b].vertex.size();
    }
    out.vertex.resize(at.back());
    out.across.resize(at.back());
    pool.run(blocks, [&](int b) {
        Piece& p = pieces[std::size_t(b)];
        std::copy(p.vertex.begin(), p.vertex.end(), out.vertex.begin() + std::ptrdiff_t(at[std::size_t(b)]));
        std::copy(p.across.begin(), p.across.end(), out.across.begin() + std::ptrdiff_t(at[std::size_t(b)]));
        p = Piece{};
    });
    return true;
}

double cell_area(const CellDiagram& d, int i) {
    const auto v = d.cell(i);
    double twice = 0;
    for (std::size_t k = 0; k < v.size(); ++k) {
        const CellPoint& a = v[k];
        const CellPoint& b = v[k + 1 == v.size() ? 0 : k + 1];
        twice += a.x * b.y - b.x * a.y;
    }
    return std::abs(twice) / 2;
}

}  // namespace velq
