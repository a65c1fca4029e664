#include "render/cell_diagram.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/worker_pool.h"

namespace velq {

namespace {

// Sites are searched in classes of similar weight, each on a grid of its own: a fixed window would
// miss a huge circle's cut on its tiny neighbours, while one grid bounded by the heaviest site would
// make every tiny cell search as far as the largest circle reaches. A class spans radii within a
// factor of four: narrower ones give more grids, each adding its near buckets to every cell's search.
constexpr int kClasses = 12;
constexpr int kMaxGridSide = 4096;
constexpr double kSamePoint = 1e-9;  // pixels: vertices this close are one

struct Grid {
    double x0 = 0, y0 = 0, side = 1;
    int cols = 1, rows = 1;
    double max_weight = 0;
    std::vector<std::uint32_t> start;  // per bucket, row by row; one more at the end
    std::vector<std::int32_t> ids;     // sites by bucket, in index order within one
    std::vector<CellSite> at;          // the sites of `ids`, read in a row rather than scattered

    int col_of(double x) const { return std::clamp(int(std::floor((x - x0) / side)), 0, cols - 1); }
    int row_of(double y) const { return std::clamp(int(std::floor((y - y0) / side)), 0, rows - 1); }
};

struct Extent {
    double x0, y0, x1, y1;
};

Grid make_grid(std::span<const CellSite> sites, const std::vector<std::int32_t>& members, const Extent& e) {
    Grid g;
    for (std::int32_t id : members) g.max_weight = std::max(g.max_weight, sites[std::size_t(id)].weight);
    const double w = e.x1 - e.x0, h = e.y1 - e.y0;
    const double spacing = std::sqrt(std::max(w * h, 1.0) / double(members.size()));
    g.side = std::max({2 * std::sqrt(g.max_weight), spacing, 1e-6});
    g.cols = std::clamp(int(std::ceil(w / g.side)), 1, kMaxGridSide);
    g.rows = std::clamp(int(std::ceil(h / g.side)), 1, kMaxGridSide);
    g.side = std::max({g.side, w / g.cols, h / g.rows});
    g.x0 = e.x0;
    g.y0 = e.y0;
    g.start.assign(std::size_t(g.cols) * g.rows + 1, 0);
    std::vector<std::uint32_t> bucket(members.size());
    for (std::size_t k = 0; k < members.size(); ++k) {
        const CellSite& s = sites[std::size_t(members[k])];
        bucket[k] = std::uint32_t(g.row_of(s.y) * g.cols + g.col_of(s.x));
        ++g.start[bucket[k] + 1];
    }
    for (std::size_t b = 1; b < g.start.size(); ++b) g.start[b] += g.start[b - 1];
    g.ids.resize(members.size());
    std::vector<std::uint32_t> fill(g.start.begin(), g.start.end() - 1);
    for (std::size_t k = 0; k < members.size(); ++k) g.ids[fill[bucket[k]]++] = members[k];
    g.at.resize(g.ids.size());
    for (std::size_t k = 0; k < g.ids.size(); ++k) g.at[k] = sites[std::size_t(g.ids[k])];
    return g;
}

std::vector<Grid> make_grids(std::span<const CellSite> sites, const Extent& e) {
    double max_weight = 0;
    for (const CellSite& s : sites) max_weight = std::max(max_weight, s.weight);
    const double max_radius = std::sqrt(max_weight);
    std::vector<std::vector<std::int32_t>> members(kClasses);
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const double w = sites[i].weight;
        int c = kClasses - 1;
        if (w > 0) c = std::min(kClasses - 1, int(std::floor(std::log2(max_radius / std::sqrt(w)) / 2)));
        members[std::size_t(std::max(c, 0))].push_back(std::int32_t(i));
    }
    std::vector<Grid> grids;
    for (const auto& m : members)
        if (!m.empty()) grids.push_back(make_grid(sites, m, e));
    return grids;
}

// Cuts one cell out of the frame, half-plane by half-plane, in coordinates relative to its site.
class CellCutter {
public:
    CellCutter(std::span<const CellSite> sites, const std::vector<Grid>& grids, double width, double height)
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
            if ((search(i, h) && std::find(label_.begin(), label_.end(), kBox) == label_.end()) || last)
                break;
        }
        for (std::size_t k = 0; k < poly_.size(); ++k) {
            vertex.push_back({poly_[k].x + s.x, poly_[k].y + s.y});
            across.push_back(label_[k]);
        }
    }

private:
    static constexpr std::int32_t kBox = -2;

    // The cell within the frame and the square of half side h about the site; false when that is
    // empty (the cell may still lie outside the square: overlapping circles).
    bool search(int i, double h) {
        const CellSite& s = sites_[std::size_t(i)];
        const double x0 = std::max(0.0, s.x - h), x1 = std::min(width_, s.x + h);
        const double y0 = std::max(0.0, s.y - h), y1 = std::min(height_, s.y + h);
        poly_ = {{x0 - s.x, y0 - s.y}, {x1 - s.x, y0 - s.y}, {x1 - s.x, y1 - s.y}, {x0 - s.x, y1 - s.y}};
        label_ = {y0 == 0 ? -1 : kBox, x1 == width_ ? -1 : kBox, y1 == height_ ? -1 : kBox,
                  x0 == 0 ? -1 : kBox};
        if (x0 >= x1 || y0 >= y1) poly_.clear(), label_.clear();
        reach2_ = farthest2();
        const std::size_t n = grids_.size();
        ring_.assign(n, 2);
        // First the sites in the three by three buckets about the site in every class, in three
        // rounds by the distance from the site to their dividing lines: within a quarter of the site
        // spacing of the site's own circle (its neighbours in a packing), within one spacing, then
        // the rest, most of which lie beyond the cell by then. Cutting by the nearest first saves most
        // of the cuts; the searches by ring below then find little more.
        const double r = std::sqrt(s.weight);
        const double bound[2] = {4 * (r + 0.25 * spacing_) * (r + 0.25 * spacing_),
                                 4 * (r + spacing_) * (r + spacing_)};
        std::size_t count[3] = {0, 0, 0};
        for (const Grid& g : grids_) {
            const int cx = g.col_of(s.x), cy = g.row_of(s.y);
            const int xa = std::max(0, cx - 1), xb = std::min(g.cols - 1, cx + 1);
            for (int y = std::max(0, cy - 1); y <= std::min(g.rows - 1, cy + 1); ++y) {
                // The three buckets of a row are one run of sites.
                const std::size_t row = std::size_t(y) * g.cols;
                const std::uint32_t q0 = g.start[row + xa], q1 = g.start[row + xb + 1];
                const std::size_t room = std::max({count[0], count[1], count[2]}) + (q1 - q0);
                if (room > near_[0].size()) grow_near(room);
                for (std::uint32_t q = q0; q < q1; ++q) {
                    const CellSite& o = g.at[q];
                    const double ox = o.x - s.x, oy = o.y - s.y, d2 = ox * ox + oy * oy;
                    // The distance from the site to the dividing line is lim / (2 |d|).
                    const double lim = d2 - o.weight + s.weight, key = lim <= 0 ? -1.0 : lim * lim;
                    const int round = int(key > bound[0] * d2) + int(key > bound[1] * d2);
                    near_[round][count[round]++] = {lim, d2, g.ids[q]};
                }
            }
        }
        for (int round = 0; round < 3; ++round)
            for (std::size_t k = 0; k < count[round] && !poly_.empty(); ++k) {
                // The line lies beyond every vertex: 2 v.d <= 2 |v| |d| <= lim.
                const Near& c = near_[round][k];
                if (c.j == i || (c.lim > 0 && c.lim * c.lim >= 4 * reach2_ * c.d2)) continue;
                clip(i, c.j);
            }
        for (std::size_t left = n; left > 0 && !poly_.empty();) {
            // The lightest class first: its many small sites near by make the first, tightest cuts.
            for (std::size_t c = n; c-- > 0 && !poly_.empty();) {
                const Grid& g = grids_[c];
                const int cx = g.col_of(s.x), cy = g.row_of(s.y), k = ring_[c];
                if (k < 0) continue;
                // Every unseen site of the class lies outside the square of buckets seen so far.
                const int seen_k = k - 1;
                const bool whole = cx - seen_k <= 0 && cy - seen_k <= 0 && cx + seen_k >= g.cols - 1 &&
                                   cy + seen_k >= g.rows - 1;
                const double seen = std::min(
                    {s.x - (g.x0 + (cx - seen_k) * g.side), g.x0 + (cx + seen_k + 1) * g.side - s.x,
                     s.y - (g.y0 + (cy - seen_k) * g.side), g.y0 + (cy + seen_k + 1) * g.side - s.y});
                if (whole || seen * (1 - 1e-12) - 1e-9 >= reach(s.weight, g.max_weight)) {
                    ring_[c] = -1;
                    --left;
                    continue;
                }
                visit_ring(i, g, cx, cy, k);
                ++ring_[c];
            }
        }
        return !poly_.empty();
    }

    // How far from site i a site of weight up to w can be and still cut the cell: it takes a vertex v
    // only if |v - c_j|^2 - w_j < |v - c_i|^2 - w_i, so only if |c_j - c_i| is below
    // |v - c_i| + sqrt(|v - c_i|^2 - w_i + w) for the farthest v.
    double reach(double w_i, double w) const {
        return std::sqrt(reach2_) + std::sqrt(std::max(0.0, reach2_ - w_i + w));
    }

    void visit_ring(int i, const Grid& g, int cx, int cy, int k) {
        const CellSite& s = sites_[std::size_t(i)];
        double r = reach(s.weight, g.max_weight);
        for (int y = std::max(0, cy - k); y <= std::min(g.rows - 1, cy + k) && !poly_.empty(); ++y) {
            const bool edge_row = y == cy - k || y == cy + k;
            const double by0 = g.y0 + y * g.side, dy = std::max({by0 - s.y, s.y - (by0 + g.side), 0.0});
            for (int x = std::max(0, cx - k); x <= std::min(g.cols - 1, cx + k) && !poly_.empty(); x += 1) {
                if (!edge_row && x != cx - k && x != cx + k) {
                    // Inside the ring's square: jump to its right side.
                    x = cx + k - 1;
                    continue;
                }
                // Buckets and sites beyond the reach cannot cut the cell, now or after more cuts.
                const double bx0 = g.x0 + x * g.side, dx = std::max({bx0 - s.x, s.x - (bx0 + g.side), 0.0});
                if (dx * dx + dy * dy >= r * r) continue;
                const std::size_t b = std::size_t(y) * g.cols + x;
                for (std::uint32_t q = g.start[b]; q < g.start[b + 1] && !poly_.empty(); ++q) {
                    const std::int32_t j = g.ids[q];
                    const CellSite& o = g.at[q];
                    const double ox = o.x - s.x, oy = o.y - s.y, d2 = ox * ox + oy * oy;
                    if (j == i || d2 >= r * r) continue;
                    // This site's own line lies beyond every vertex (see the near rounds).
                    const double lim = d2 - o.weight + s.weight;
                    if (lim > 0 && lim * lim >= 4 * reach2_ * d2) continue;
                    if (clip(i, j)) r = reach(s.weight, g.max_weight);
                }
            }
        }
    }

    // Keeps the part of the cell where site i's power distance is at most site j's; true when the
    // cell changed.
    bool clip(int i, int j) {
        const CellSite& a = sites_[std::size_t(i)];
        const CellSite& b = sites_[std::size_t(j)];
        const double dx = b.x - a.x, dy = b.y - a.y;
        if (dx == 0 && dy == 0) {
            // The same centre: the heavier site (or the first of equals) owns all of it.
            if (b.weight > a.weight || (b.weight == a.weight && j < i)) poly_.clear();
            return true;
        }
        const double limit = dx * dx + dy * dy - b.weight + a.weight;
        side_.resize(poly_.size());
        bool any_out = false, any_in = false;
        for (std::size_t k = 0; k < poly_.size(); ++k) {
            side_[k] = 2 * (poly_[k].x * dx + poly_[k].y * dy) - limit;
            (side_[k] > 0 ? any_out : any_in) = true;
        }
        if (!any_out) return false;
        next_.clear();
        next_label_.clear();
        if (any_in) {
            const std::size_t n = poly_.size();
            for (std::size_t k = 0; k < n; ++k) {
                const std::size_t l = k + 1 == n ? 0 : k + 1;
                const bool in_k = side_[k] <= 0, in_l = side_[l] <= 0;
                if (in_k) push(poly_[k], label_[k]);
                if (in_k != in_l) {
                    const double t = side_[k] / (side_[k] - side_[l]);
                    const CellPoint q{poly_[k].x + t * (poly_[l].x - poly_[k].x),
                                      poly_[k].y + t * (poly_[l].y - poly_[k].y)};
                    // Leaving: the clip line runs on from q. Entering: the old edge goes on from q.
                    push(q, in_k ? std::int32_t(j) : label_[k]);
                }
            }
            if (next_.size() > 1 && same(next_.back(), next_.front())) {
                next_.pop_back();
                next_label_.pop_back();
            }
            if (next_.size() < 3) next_.clear(), next_label_.clear();
        }
        poly_.swap(next_);
        label_.swap(next_label_);
        reach2_ = farthest2();
        return true;
    }

    static bool same(const CellPoint& p, const CellPoint& q) {
        return std::abs(p.x - q.x) < kSamePoint && std::abs(p.y - q.y) < kSamePoint;
    }

    void push(const CellPoint& p, std::int32_t label) {
        if (!next_.empty() && same(next_.back(), p)) {
            next_.back() = p;
            next_label_.back() = label;
            return;
        }
        next_.push_back(p);
        next_label_.push_back(label);
    }

    double farthest2() const {
        double m = 0;
        for (const CellPoint& p : poly_) m = std::max(m, p.x * p.x + p.y * p.y);
        return m;
    }

    std::span<const CellSite> sites_;
    const std::vector<Grid>& grids_;
    double width_, height_, spacing_ = 1;
    std::vector<CellPoint> poly_, next_;
    std::vector<std::int32_t> label_, next_label_;
    std::vector<double> side_;
    std::vector<int> ring_;  // per class: the next ring to visit, -1 when done
    struct Near {
        double lim, d2;  // |c_j - c_i|^2 - w_j + w_i and |c_j - c_i|^2
        std::int32_t j;
    };
    std::vector<Near> near_[3];  // by round, grown as needed
    // The rounds' lists share one size, so a cell writes into them without checks.
    void grow_near(std::size_t n) {
        const std::size_t size = std::max(2 * near_[0].size(), n + 16);
        for (auto& v : near_) v.resize(size);
    }
    double reach2_ = 0;
};

}  // namespace

bool make_cell_diagram(Host& host, std::span<const CellSite> sites, double width, double height,
                       CellDiagram& out, int threads) {
    out = {};
    const int n = int(sites.size());
    Extent e{0, 0, width, height};
    for (const CellSite& s : sites) {
        e.x0 = std::min(e.x0, s.x);
        e.y0 = std::min(e.y0, s.y);
        e.x1 = std::max(e.x1, s.x);
        e.y1 = std::max(e.y1, s.y);
    }
    const std::vector<Grid> grids = make_grids(sites, e);

    // Blocks of cells, each cut into a list of its own and joined in order afterwards.
    constexpr int kBlock = 512;
    const int blocks = (n + kBlock - 1) / kBlock;
    struct Piece {
        std::vector<std::uint32_t> count;
        std::vector<CellPoint> vertex;
        std::vector<std::int32_t> across;
    };
    std::vector<Piece> pieces(std::size_t(blocks), Piece{});
    WorkerPool pool(threads);
    constexpr int kBatch = 32;  // blocks between looks at the stop flag
    for (int b0 = 0; b0 < blocks; b0 += kBatch) {
        if (host.stopped()) return false;
        const int b1 = std::min(blocks, b0 + kBatch);
        pool.run(b1 - b0, [&](int k) {
            const int b = b0 + k;
            Piece& p = pieces[std::size_t(b)];
            CellCutter cutter(sites, grids, width, height);
            for (int i = b * kBlock; i < std::min(n, (b + 1) * kBlock); ++i) {
                const std::size_t before = p.vertex.size();
                cutter.cut(i, p.vertex, p.across);
                p.count.push_back(std::uint32_t(p.vertex.size() - before));
            }
        });
    }
    out.first.reserve(std::size_t(n) + 1);
    out.first.push_back(0);
    for (Piece& p : pieces) {
        for (std::uint32_t c : p.count) out.first.push_back(out.first.back() + c);
        out.vertex.insert(out.vertex.end(), p.vertex.begin(), p.vertex.end());
        out.across.insert(out.across.end(), p.across.begin(), p.across.end());
        p = Piece{};
    }
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
