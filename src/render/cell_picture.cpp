#include "render/cell_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define VELQ_CELL_LANES 1
#endif
#if VELQ_CELL_LANES && defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>

#include "render/blend_avx2.h"
// Eight lanes where the processor has them, chosen at run time: a tile's row at once.
#define VELQ_CELL_AVX2 1
#define VELQ_AVX2_FN __attribute__((target("avx2")))
#endif

namespace velq {

namespace {

// Tiles and blocks are squares of pixels at fixed places, so a pixel's candidates do not depend on
// how the rows are shared out. A block searches the site grids once for its 4 x 4 tiles, and each
// tile sifts the block's list for its own: smaller tiles have fewer candidates per pixel, larger
// blocks search less often but give every tile a longer list to sift.
constexpr int kTile = 8;
constexpr int kBlock = 4 * kTile;
static_assert(kBlock == CellPicture::kBlockRows);

static_assert(std::endian::native == std::endian::little, "pixels are assembled as little-endian words");

// A site of a block's list: one that may own a pixel of the block, or lie across an edge within the
// lead's reach of one.
struct Candidate {
    double x, y, w;
    double least;  // its least power distance over the rectangle searched
    std::int32_t id;
};

#if VELQ_CELL_LANES
// A cell's ink in four lanes each.
struct InkLanes {
    __m128 per, reach, c[3], e[3];
    InkLanes() = default;
    explicit InkLanes(const CellInk& ink) : per(_mm_set1_ps(ink.per)), reach(_mm_set1_ps(ink.reach)) {
        for (int k = 0; k < 3; ++k) c[k] = _mm_set1_ps(ink.c[k]), e[k] = _mm_set1_ps(ink.e[k]);
    }
};
#endif

// An owner's ink for one tile, and its edges there: edge_[e0, e1).
struct Owned {
    const CellInk* ink;
    std::uint32_t e0 = 0, e1 = 0;
#if VELQ_CELL_LANES
    InkLanes lanes;  // made for four lanes only
#endif
};

// Paints one tile at a time; one per thread.
//
// The owner of a pixel centre p = o + (X, Y), o the tile's corner, is the candidate j of least
// L_j = a_j + bx_j X + by_j Y, with a_j = |c_j - o|^2 - w_j and (bx_j, by_j) = -2 (c_j - o): its power
// distance less the |X, Y|^2 that all share. The first of equals wins. Inside cell i, the distance
// to its edge with cell j is (L_j - L_i) / 2 |c_j - c_i|, and the nearest of those is the distance to
// the cell's nearest edge, which the lead's coverage takes. In float about the tile's corner, these
// err only within a hair of an edge.
//
// A pixel is the cell's colour shaded by the distance from its circle's centre, then the lead
// colour by that coverage; each channel is rounded to a byte before the lead is blended over it (a
// mix of two bytes needs no clamp; coverage 0 gives the byte back). Eight pixels go at once where
// the processor has AVX2, four with SSE2, elsewhere one by one, with the same operations in the same
// order on the same values, so all give the same bytes.
class TilePainter {
public:
    TilePainter(std::span<const CellInk> inks, const std::vector<SiteGrid>& grids, double reach, int lanes)
        : inks_(inks), grids_(grids), reach_(reach), lanes_(lanes) {}

    // Gathers the sites for the tiles of the block whose top left pixel is (x, y); paint() then
    // takes each tile's own from them. A search costs far more than sifting its result, so the
    // tiles of a block share one.
    void gather_block(int x, int y) {
        // The pixel centres of the whole block, and around them the lead's reach: a pixel's nearest
        // edge may belong to a site that owns none of the tile's pixels.
        const double margin = reach_ + 1e-6;
        gather(x + 0.5 - margin, y + 0.5 - margin, x + kBlock - 0.5 + margin, y + kBlock - 0.5 + margin,
               margin);
        block_x_ = x, block_y_ = y;
        const std::size_t n = block_.size(), padded = (n + 7) / 8 * 8;
        if (block_xf_.size() < padded)
            block_xf_.resize(2 * padded), block_yf_.resize(2 * padded), block_wf_.resize(2 * padded);
        for (std::size_t k = 0; k < padded; ++k) {
            const bool real = k < n;  // the padding lies far off
            block_xf_[k] = real ? float(block_[k].x - x) : 1e30f;
            block_yf_[k] = real ? float(block_[k].y - y) : 1e30f;
            block_wf_[k] = real ? float(block_[k].w) : 0.0f;
        }
    }

    // The tile whose top left pixel is (tx, ty), within the rows [y0, y1) and the buffer; its block
    // gathered.
    void paint(UBUFFER& buffer, int tx, int ty, int y0, int y1) {
        select(tx, ty);
        if (m_ == 0) return;
        const std::size_t padded = (m_ + 7) / 8 * 8;  // the lanes may run on to a multiple of eight
        a_.resize(padded), bx_.resize(padded), by_.resize(padded);
        for (std::size_t j = 0; j < m_; ++j) {
            const Candidate& c = block_[std::size_t(near_[j])];
            const double ox = c.x - tx, oy = c.y - ty;
            a_[j] = float(ox * ox + oy * oy - c.w);
            bx_[j] = float(-2 * ox), by_[j] = float(-2 * oy);
        }
        for (std::size_t j = m_; j < padded; ++j) a_[j] = bx_[j] = by_[j] = 0;
        owned_at_.assign(m_, -1);
        owned_.clear(), edges_ = 0;
        const int ya = std::max(ty, y0) - ty, yb = std::min({ty + kTile, y1, buffer.height()}) - ty;
        rows_ = {ya, yb};
        const int n = std::min(buffer.width() - tx, kTile);
#if VELQ_CELL_AVX2
        if (lanes_ == 8) {
            paint8(buffer, tx, ty, n);
            return;
        }
#endif
#if VELQ_CELL_LANES
        if (lanes_ == 4) {
            prepare4();
            for (int r = ya; r < yb; ++r) owners4(r);
            for (int r = ya; r < yb; ++r) {
                std::uint8_t* row = buffer.row(ty + r) + std::size_t(tx) * 4;
                for (int q = 0; q < n; q += 4) paint_quad4(row + 4 * q, std::min(4, n - q), tx, ty, r, q);
            }
            return;
        }
#endif
        for (int r = ya; r < yb; ++r) owners1(r);
        for (int r = ya; r < yb; ++r) {
            std::uint8_t* row = buffer.row(ty + r) + std::size_t(tx) * 4;
            for (int q = 0; q < n; q += 4) paint_quad1(row + 4 * q, std::min(4, n - q), tx, ty, r, q);
        }
    }

private:
    // The block's sites that can own a point of the tile's pixel centres grown by the lead's reach,
    // in their order, into near_ (m_ of them, by their place in block_): the bound is the least over
    // them of the most power distance a point there has. In float about the block's corner, with
    // room for its rounding: a site too many costs time, never a pixel.
    void select(int tx, int ty) {
        const std::size_t n = block_.size();
        if (near_.size() < n) near_.resize(n);
        const float margin = float(reach_) + 1e-3f;
        const float ax = float(tx - block_x_) + 0.5f - margin, ay = float(ty - block_y_) + 0.5f - margin,
                    bx = float(tx - block_x_) + (kTile - 0.5f) + margin,
                    by = float(ty - block_y_) + (kTile - 0.5f) + margin;
        m_ = 0;
#if VELQ_CELL_AVX2
        if (lanes_ == 8) {
            select8(ax, ay, bx, by);
            return;
        }
#endif
#if VELQ_CELL_LANES
        if (lanes_ == 4) {
            select4(ax, ay, bx, by);
            return;
        }
#endif
        float bound = std::numeric_limits<float>::infinity();
        for (std::size_t k = 0; k < n; ++k) {
            const float x = block_xf_[k], y = block_yf_[k];
            const float fx = std::max(x - ax, bx - x), fy = std::max(y - ay, by - y);
            bound = std::min(bound, fx * fx + fy * fy - block_wf_[k]);
        }
        const float limit = bound + (0.05f + 1e-5f * std::max(bound, 0.0f - bound));
        for (std::size_t k = 0; k < n; ++k) {
            const float x = block_xf_[k], y = block_yf_[k], w = block_wf_[k];
            const float dx = std::max(std::max(ax - x, x - bx), 0.0f),
                        dy = std::max(std::max(ay - y, y - by), 0.0f);
            const float sum = dx * dx + dy * dy;
            if (sum - w <= limit + 1e-5f * (sum + w)) near_[m_++] = std::int32_t(k);
        }
    }

#if VELQ_CELL_LANES
    // select() in four lanes: the same operations.
    void select4(float ax, float ay, float bx, float by) {
        const std::size_t n = block_.size(), padded = (n + 3) / 4 * 4;
        const __m128 lax = _mm_set1_ps(ax), lay = _mm_set1_ps(ay), lbx = _mm_set1_ps(bx),
                     lby = _mm_set1_ps(by);
        auto square = [](__m128 v) { return _mm_mul_ps(v, v); };
        __m128 bound = _mm_set1_ps(std::numeric_limits<float>::infinity());
        for (std::size_t k = 0; k < padded; k += 4) {
            const __m128 x = _mm_loadu_ps(&block_xf_[k]), y = _mm_loadu_ps(&block_yf_[k]);
            const __m128 fx = _mm_max_ps(_mm_sub_ps(x, lax), _mm_sub_ps(lbx, x)),
                         fy = _mm_max_ps(_mm_sub_ps(y, lay), _mm_sub_ps(lby, y));
            bound = _mm_min_ps(bound,
                               _mm_sub_ps(_mm_add_ps(square(fx), square(fy)), _mm_loadu_ps(&block_wf_[k])));
        }
        bound = _mm_min_ps(bound, _mm_shuffle_ps(bound, bound, _MM_SHUFFLE(2, 3, 0, 1)));
        bound = _mm_min_ps(bound, _mm_shuffle_ps(bound, bound, _MM_SHUFFLE(1, 0, 3, 2)));
        const __m128 limit =
            _mm_add_ps(bound, _mm_add_ps(_mm_set1_ps(0.05f),
                                         _mm_mul_ps(_mm_set1_ps(1e-5f),
                                                    _mm_max_ps(bound, _mm_sub_ps(_mm_setzero_ps(), bound)))));
        const __m128 zero = _mm_setzero_ps(), slack = _mm_set1_ps(1e-5f);
        for (std::size_t k = 0; k < padded; k += 4) {
            const __m128 x = _mm_loadu_ps(&block_xf_[k]), y = _mm_loadu_ps(&block_yf_[k]),
                         w = _mm_loadu_ps(&block_wf_[k]);
            const __m128 dx = _mm_max_ps(_mm_max_ps(_mm_sub_ps(lax, x), _mm_sub_ps(x, lbx)), zero),
                         dy = _mm_max_ps(_mm_max_ps(_mm_sub_ps(lay, y), _mm_sub_ps(y, lby)), zero);
            const __m128 sum = _mm_add_ps(square(dx), square(dy));
            const __m128 keep =
                _mm_cmple_ps(_mm_sub_ps(sum, w), _mm_add_ps(limit, _mm_mul_ps(slack, _mm_add_ps(sum, w))));
            unsigned bits = unsigned(_mm_movemask_ps(keep));
            if (n - k < 4) bits &= (1u << (n - k)) - 1;  // the padding
            for (; bits != 0; bits &= bits - 1)
                near_[m_++] = std::int32_t(k + std::size_t(std::countr_zero(bits)));
        }
    }
#endif
#if VELQ_CELL_AVX2
    // select() in eight lanes.
    VELQ_AVX2_FN void select8(float ax, float ay, float bx, float by) {
        const std::size_t n = block_.size(), padded = (n + 7) / 8 * 8;
        const __m256 lax = _mm256_set1_ps(ax), lay = _mm256_set1_ps(ay), lbx = _mm256_set1_ps(bx),
                     lby = _mm256_set1_ps(by);
        __m256 bound = _mm256_set1_ps(std::numeric_limits<float>::infinity());
        for (std::size_t k = 0; k < padded; k += 8) {
            const __m256 x = _mm256_loadu_ps(&block_xf_[k]), y = _mm256_loadu_ps(&block_yf_[k]);
            const __m256 fx = _mm256_max_ps(_mm256_sub_ps(x, lax), _mm256_sub_ps(lbx, x)),
                         fy = _mm256_max_ps(_mm256_sub_ps(y, lay), _mm256_sub_ps(lby, y));
            bound = _mm256_min_ps(bound,
                                  _mm256_sub_ps(_mm256_add_ps(_mm256_mul_ps(fx, fx), _mm256_mul_ps(fy, fy)),
                                                _mm256_loadu_ps(&block_wf_[k])));
        }
        bound = _mm256_min_ps(bound, _mm256_permute2f128_ps(bound, bound, 1));
        bound = _mm256_min_ps(bound, _mm256_shuffle_ps(bound, bound, _MM_SHUFFLE(2, 3, 0, 1)));
        bound = _mm256_min_ps(bound, _mm256_shuffle_ps(bound, bound, _MM_SHUFFLE(1, 0, 3, 2)));
        const __m256 limit = _mm256_add_ps(
            bound,
            _mm256_add_ps(_mm256_set1_ps(0.05f),
                          _mm256_mul_ps(_mm256_set1_ps(1e-5f),
                                        _mm256_max_ps(bound, _mm256_sub_ps(_mm256_setzero_ps(), bound)))));
        const __m256 zero = _mm256_setzero_ps(), slack = _mm256_set1_ps(1e-5f);
        for (std::size_t k = 0; k < padded; k += 8) {
            const __m256 x = _mm256_loadu_ps(&block_xf_[k]), y = _mm256_loadu_ps(&block_yf_[k]),
                         w = _mm256_loadu_ps(&block_wf_[k]);
            const __m256 dx =
                             _mm256_max_ps(_mm256_max_ps(_mm256_sub_ps(lax, x), _mm256_sub_ps(x, lbx)), zero),
                         dy =
                             _mm256_max_ps(_mm256_max_ps(_mm256_sub_ps(lay, y), _mm256_sub_ps(y, lby)), zero);
            const __m256 sum = _mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_mul_ps(dy, dy));
            const __m256 keep =
                _mm256_cmp_ps(_mm256_sub_ps(sum, w),
                              _mm256_add_ps(limit, _mm256_mul_ps(slack, _mm256_add_ps(sum, w))), _CMP_LE_OQ);
            unsigned bits = unsigned(_mm256_movemask_ps(keep));
            if (n - k < 8) bits &= (1u << (n - k)) - 1;  // the padding
            for (; bits != 0; bits &= bits - 1)
                near_[m_++] = std::int32_t(k + std::size_t(std::countr_zero(bits)));
        }
    }
#endif

    // Every site that can own a point of [ax, bx] x [ay, by] (the block's pixel centres grown by
    // `margin`), in a fixed order (grid by grid, bucket by bucket, by index within one), into block_.
    // The bound on the least power distance at any point is the largest over the block's tiles of
    // the least, over the sites nearest the block, of the most power distance a point of the tile
    // has: a single site's most over the whole block would be far looser.
    void gather(double ax, double ay, double bx, double by, double margin) {
        block_.clear();
        constexpr int kTiles = kBlock / kTile;
        const double span = kTile - 1 + 2 * margin;  // a tile's pixel centres, grown
        double tile_bound[kTiles][kTiles];
        for (auto& row : tile_bound)
            std::fill(std::begin(row), std::end(row), std::numeric_limits<double>::infinity());
        double bound = std::numeric_limits<double>::infinity();
        auto visit = [&](std::size_t grid, std::size_t b0, std::size_t b1, bool first) {
            const SiteGrid& g = grids_[grid];
            for (std::uint32_t q = g.start[b0]; q < g.start[b1]; ++q) {
                const double x = g.x[q], y = g.y[q], w = g.weight[q];
                const double dx = std::max({ax - x, x - bx, 0.0}), dy = std::max({ay - y, y - by, 0.0});
                const double least = dx * dx + dy * dy - w;
                if (first) {
                    double fx2[kTiles], fy2[kTiles];
                    for (int t = 0; t < kTiles; ++t) {
                        const double fx = std::max(x - (ax + kTile * t), ax + kTile * t + span - x),
                                     fy = std::max(y - (ay + kTile * t), ay + kTile * t + span - y);
                        fx2[t] = fx * fx, fy2[t] = fy * fy;
                    }
                    for (int r = 0; r < kTiles; ++r)
                        for (int c = 0; c < kTiles; ++c)
                            tile_bound[r][c] = std::min(tile_bound[r][c], fx2[c] + fy2[r] - w);
                    block_.push_back({x, y, w, least, g.ids[q]});
                } else if (least <= bound) {
                    block_.push_back({x, y, w, least, g.ids[q]});
                }
            }
        };
        // The buckets of grid c within `out` that are not within seen_[c], which then grows to `out`.
        auto visit_out_to = [&](std::size_t c, const Range& out, bool first) {
            const SiteGrid& g = grids_[c];
            Range& in = seen_[c];
            for (int y = out.r0; y <= out.r1; ++y) {
                const std::size_t row = std::size_t(y) * g.cols;
                if (y < in.r0 || y > in.r1) {
                    visit(c, row + out.c0, row + out.c1 + 1, first);
                } else {
                    if (out.c0 < in.c0) visit(c, row + out.c0, row + in.c0, first);
                    if (in.c1 < out.c1) visit(c, row + in.c1 + 1, row + out.c1 + 1, first);
                }
            }
            in = out;
        };
        auto around = [&](const SiteGrid& g, double pad) {
            if (!(pad < 1e9)) return Range{0, g.cols - 1, 0, g.rows - 1};
            return Range{g.col_of(ax - pad), g.col_of(bx + pad), g.row_of(ay - pad), g.row_of(by + pad)};
        };
        // First the buckets over the rectangle, widened until they hold a site, for the bound; then
        // those within reach of it: a site of weight up to W owns a point only within sqrt(bound + W)
        // of it.
        seen_.assign(grids_.size(), Range{0, -1, 0, -1});
        double step = std::numeric_limits<double>::infinity();
        for (const SiteGrid& g : grids_) step = std::min(step, g.side);
        for (double pad = 0; block_.empty(); pad = 2 * pad + step) {
            bool all = true;
            for (std::size_t c = 0; c < grids_.size(); ++c) {
                const Range out = around(grids_[c], pad);
                visit_out_to(c, out, true);
                all = all && out.c0 == 0 && out.r0 == 0 && out.c1 == grids_[c].cols - 1 &&
                      out.r1 == grids_[c].rows - 1;
            }
            if (all) break;
        }
        bound = -std::numeric_limits<double>::infinity();
        for (const auto& row : tile_bound)
            for (double t : row) bound = std::max(bound, t);
        for (std::size_t c = 0; c < grids_.size(); ++c) {
            const SiteGrid& g = grids_[c];
            if (!(bound + g.max_weight >= 0)) continue;
            visit_out_to(c, around(g, std::sqrt(bound + g.max_weight) * (1 + 1e-12) + 1e-9), false);
        }
        std::erase_if(block_, [&](const Candidate& c) { return c.least > bound; });
    }

#if VELQ_CELL_LANES
    // Each candidate's bx X over the tile's columns, and its number, in lanes.
    void prepare4() {
        if (bxx_.size() < 2 * m_) bxx_.resize(2 * m_), number_.resize(m_), rowl_.resize(kTile * m_);
        const __m128 x0 = _mm_setr_ps(0.5f, 1.5f, 2.5f, 3.5f), x1 = _mm_setr_ps(4.5f, 5.5f, 6.5f, 7.5f);
        for (std::size_t j = 0; j < m_; ++j) {
            const __m128 b = _mm_set1_ps(bx_[j]);
            bxx_[2 * j].v = _mm_mul_ps(b, x0), bxx_[2 * j + 1].v = _mm_mul_ps(b, x1);
            number_[j].v = _mm_set1_epi32(int(j));
        }
    }

    // owners1() in four lanes.
    void owners4(int r) {
        static_assert(kTile == 8, "a row of the tile is two sets of lanes");
        const float yy = float(r) + 0.5f;
        // Locals: a store through a lane type may alias anything, members included.
        Quad* rowl = rowl_.data() + std::size_t(r) * m_;
        const float *a = a_.data(), *by = by_.data();
        const Quad* bxx = bxx_.data();
        const Quadi* number = number_.data();
        const std::size_t m = m_;
        __m128 best0 = _mm_set1_ps(std::numeric_limits<float>::infinity()), best1 = best0;
        __m128i which0 = _mm_setzero_si128(), which1 = which0;
        for (std::size_t j = 0; j < m; ++j) {
            const __m128 row = _mm_set1_ps(a[j] + by[j] * yy);
            rowl[j].v = row;
            const __m128 l0 = _mm_add_ps(row, bxx[2 * j].v), l1 = _mm_add_ps(row, bxx[2 * j + 1].v);
            const __m128i less0 = _mm_castps_si128(_mm_cmplt_ps(l0, best0)),
                          less1 = _mm_castps_si128(_mm_cmplt_ps(l1, best1));
            best0 = _mm_min_ps(l0, best0), best1 = _mm_min_ps(l1, best1);
            which0 = _mm_or_si128(_mm_and_si128(less0, number[j].v), _mm_andnot_si128(less0, which0));
            which1 = _mm_or_si128(_mm_and_si128(less1, number[j].v), _mm_andnot_si128(less1, which1));
        }
        std::int32_t* owner = owner_ + r * kTile;
        float* best = best_ + r * kTile;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(owner), which0);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(owner + 4), which1);
        _mm_storeu_ps(best, best0), _mm_storeu_ps(best + 4, best1);
    }
#endif

    // The owners of row r of the tile and their L; each candidate's a + by Y kept for the lead.
    void owners1(int r) {
        if (rowl1_.size() < kTile * m_) rowl1_.resize(2 * kTile * m_);
        const float yy = float(r) + 0.5f;
        float* rowl = rowl1_.data() + std::size_t(r) * m_;
        for (std::size_t j = 0; j < m_; ++j) rowl[j] = a_[j] + by_[j] * yy;
        for (int x = 0; x < kTile; ++x) {
            const float xx = float(x) + 0.5f;
            float best = std::numeric_limits<float>::infinity();
            std::int32_t which = 0;
            for (std::size_t j = 0; j < m_; ++j) {
                const float l = rowl[j] + bx_[j] * xx;
                if (l < best) which = std::int32_t(j);
                best = l < best ? l : best;
            }
            owner_[r * kTile + x] = which, best_[r * kTile + x] = best;
        }
    }

#if VELQ_CELL_AVX2
    // The tile in eight lanes: the same operations on the same values as four lanes do, a row at once.
    VELQ_AVX2_FN void paint8(UBUFFER& buffer, int tx, int ty, int n) {
        if (bxx8_.size() < m_) bxx8_.resize(2 * m_), rowl8_.resize(2 * kTile * m_);
        const __m256 xx = _mm256_setr_ps(0.5f, 1.5f, 2.5f, 3.5f, 4.5f, 5.5f, 6.5f, 7.5f);
        Oct* bxx = bxx8_.data();  // locals: a store through a lane type may alias anything
        const float *a = a_.data(), *bx = bx_.data(), *by = by_.data();
        const std::size_t m = m_;
        for (std::size_t j = 0; j < m; ++j) bxx[j].v = _mm256_mul_ps(_mm256_set1_ps(bx[j]), xx);
        for (int r = rows_.first; r < rows_.second; ++r) {
            const float yy = float(r) + 0.5f;
            Oct* rowl = rowl8_.data() + std::size_t(r) * m;
            __m256 best = _mm256_set1_ps(std::numeric_limits<float>::infinity()), which = _mm256_setzero_ps();
            for (std::size_t j = 0; j < m; ++j) {
                const __m256 row = _mm256_set1_ps(a[j] + by[j] * yy);
                rowl[j].v = row;
                const __m256 l = _mm256_add_ps(row, bxx[j].v);
                const __m256 less = _mm256_cmp_ps(l, best, _CMP_LT_OQ);
                best = _mm256_min_ps(l, best);
                which = _mm256_blendv_ps(which, _mm256_castsi256_ps(_mm256_set1_epi32(int(j))), less);
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(owner_ + r * kTile), _mm256_castps_si256(which));
            _mm256_storeu_ps(best_ + r * kTile, best);
        }
        for (int r = rows_.first; r < rows_.second; ++r)
            paint_row8(buffer.row(ty + r) + std::size_t(tx) * 4, n, tx, ty, r);
    }

    VELQ_AVX2_FN void paint_row8(std::uint8_t* px, int n, int tx, int ty, int r) {
        const std::int32_t* owner = owner_ + r * kTile;
        const double x = tx + 0.5, cy = ty + r + 0.5;
        const Oct* rowl = rowl8_.data() + std::size_t(r) * m_;
        const Oct* bxx = bxx8_.data();
        const __m128 lane = _mm_setr_ps(0, 1, 2, 3);
        const __m256 one = _mm256_set1_ps(1.0f), half = _mm256_set1_ps(0.5f);
        const __m256i who = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(owner));
        const __m256 l_own = _mm256_loadu_ps(best_ + r * kTile);
        __m256i bytes = _mm256_setzero_si256();
        std::uint32_t left = (1u << n) - 1;  // lanes still to paint
        while (left != 0) {
            const std::int32_t i = owner[std::countr_zero(left)];
            const Owned& o = owned(std::size_t(i));
            const CellInk& ink = *o.ink;
            const __m256i mine = _mm256_cmpeq_epi32(who, _mm256_set1_epi32(i));
            left &= ~std::uint32_t(_mm256_movemask_ps(_mm256_castsi256_ps(mine)));
            const float dy2 = float((cy - ink.cy) * (cy - ink.cy));
            // Each half from its own first column, as four lanes take it.
            const __m256 dx = _mm256_set_m128(_mm_add_ps(_mm_set1_ps(float(x + 4 - ink.cx)), lane),
                                              _mm_add_ps(_mm_set1_ps(float(x - ink.cx)), lane));
            const __m256 far =
                _mm256_min_ps(_mm256_mul_ps(_mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_set1_ps(dy2)),
                                            _mm256_set1_ps(ink.per)),
                              one);
            const __m256 shade = _mm256_sub_ps(_mm256_set1_ps(1.12f),
                                               _mm256_mul_ps(_mm256_set1_ps(0.25f), _mm256_sqrt_ps(far)));
            const __m256 reach = _mm256_set1_ps(ink.reach);
            __m256 dist = reach;
            for (std::size_t e = o.e0; e < o.e1; ++e) {
                const std::size_t j = std::size_t(edge_[e]);
                const __m256 gap = _mm256_sub_ps(_mm256_add_ps(rowl[j].v, bxx[j].v), l_own);
                dist = _mm256_min_ps(_mm256_mul_ps(gap, _mm256_set1_ps(edge_inv_[e])), dist);
            }
            const __m256 cover =
                _mm256_min_ps(_mm256_max_ps(_mm256_sub_ps(reach, dist), _mm256_setzero_ps()), one);
            __m256i painted = _mm256_setzero_si256();
            for (int c = 0; c < 3; ++c) {
                const __m256 level = _mm256_cvtepi32_ps(_mm256_cvttps_epi32(
                    _mm256_min_ps(_mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(ink.c[c]), shade), half),
                                  _mm256_set1_ps(255.0f))));
                const __m256 mixed = _mm256_add_ps(
                    _mm256_add_ps(level,
                                  _mm256_mul_ps(_mm256_sub_ps(_mm256_set1_ps(ink.e[c]), level), cover)),
                    half);
                painted = _mm256_or_si256(painted, _mm256_slli_epi32(_mm256_cvttps_epi32(mixed), 8 * c));
            }
            bytes = _mm256_or_si256(bytes, _mm256_and_si256(mine, painted));
        }
        const __m256i alpha = _mm256_set1_epi32(int(0xff000000u));
        if (n == kTile) {
            const __m256i old = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(px));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(px),
                                _mm256_or_si256(bytes, _mm256_and_si256(old, alpha)));
            return;
        }
        alignas(32) std::uint32_t out[kTile];
        _mm256_store_si256(reinterpret_cast<__m256i*>(out), bytes);
        store(px, n, out);
    }
#endif

    // The box of candidate i's pixels in the tile's rows being painted, [x0, x1] x [y0, y1].
    void box_of(std::int32_t i, int& x0, int& x1, int& y0, int& y1) const {
        x0 = kTile, x1 = -1, y0 = kTile, y1 = -1;
#if VELQ_CELL_LANES
        const __m128i who = _mm_set1_epi32(i);
#endif
        for (int r = rows_.first; r < rows_.second; ++r) {
            const std::int32_t* owner = owner_ + r * kTile;
            unsigned bits = 0;
#if VELQ_CELL_LANES
            auto bits_of = [&](int at) {
                return unsigned(_mm_movemask_ps(_mm_castsi128_ps(
                    _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(owner + at)), who))));
            };
            if (lanes_ > 1)
                bits = bits_of(0) | bits_of(4) << 4;
            else
#endif
                for (int x = 0; x < kTile; ++x) bits |= unsigned(owner[x] == i) << x;
            if (bits == 0) continue;
            y0 = std::min(y0, r), y1 = r;
            x0 = std::min(x0, std::countr_zero(bits)), x1 = std::max(x1, 31 - std::countl_zero(bits));
        }
    }

#if VELQ_CELL_AVX2
    // owned()'s test in eight lanes; the edges go on from edge_[e], and the end is returned.
    VELQ_AVX2_FN std::size_t edges8(std::size_t i, float x0, float x1, float y0, float y1, float wide,
                                    std::size_t e) {
        const __m256 ai = _mm256_set1_ps(a_[i]), bxi = _mm256_set1_ps(bx_[i]), byi = _mm256_set1_ps(by_[i]);
        const __m256 lx0 = _mm256_set1_ps(x0), lx1 = _mm256_set1_ps(x1), ly0 = _mm256_set1_ps(y0),
                     ly1 = _mm256_set1_ps(y1), room = _mm256_set1_ps(0.01f), lwide = _mm256_set1_ps(wide),
                     zero = _mm256_setzero_ps();
        for (std::size_t j0 = 0; j0 < m_; j0 += 8) {
            const __m256 da = _mm256_sub_ps(_mm256_loadu_ps(&a_[j0]), ai),
                         dx = _mm256_sub_ps(_mm256_loadu_ps(&bx_[j0]), bxi),
                         dy = _mm256_sub_ps(_mm256_loadu_ps(&by_[j0]), byi);
            const __m256 gap2 = _mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_mul_ps(dy, dy));
            const __m256 least = _mm256_sub_ps(
                _mm256_add_ps(
                    _mm256_add_ps(da, _mm256_min_ps(_mm256_mul_ps(dx, lx0), _mm256_mul_ps(dx, lx1))),
                    _mm256_min_ps(_mm256_mul_ps(dy, ly0), _mm256_mul_ps(dy, ly1))),
                room);
            const __m256 keep = _mm256_and_ps(
                _mm256_cmp_ps(gap2, zero, _CMP_GT_OQ),
                _mm256_or_ps(
                    _mm256_cmp_ps(least, zero, _CMP_LT_OQ),
                    _mm256_cmp_ps(_mm256_mul_ps(least, least), _mm256_mul_ps(gap2, lwide), _CMP_LT_OQ)));
            unsigned near = unsigned(_mm256_movemask_ps(keep));
            if (m_ - j0 < 8) near &= (1u << (m_ - j0)) - 1;  // the padding
            if (near == 0) continue;
            alignas(32) float inv[8];
            _mm256_store_ps(inv, _mm256_div_ps(_mm256_set1_ps(1.0f), _mm256_sqrt_ps(gap2)));
            for (; near != 0; near &= near - 1) {
                const unsigned k = unsigned(std::countr_zero(near));
                edge_[e] = std::int32_t(j0 + k), edge_inv_[e] = inv[k];
                ++e;
            }
        }
        return e;
    }
#endif

    // What owner i needs for its pixels of the tile: its ink, and the edges of its cell that may
    // come within the lead's reach of them: the other candidates j whose (L_j - L_i) / 2d,
    // d = |c_j - c_i|, may drop below the reach there, each with its 1 / 2d. Made once per tile for
    // each owner; the test is in float with room for its rounding, and it keeps every edge that can
    // ink a pixel. The nearest of a convex cell's edge lines is as near as its nearest edge, and no
    // nearer.
    const Owned& owned(std::size_t i) {
        if (owned_at_[i] >= 0) return owned_[std::size_t(owned_at_[i])];
        owned_at_[i] = std::int32_t(owned_.size());
        const CellInk& ink = inks_[std::size_t(block_[std::size_t(near_[i])].id)];
        Owned& o = owned_.emplace_back();
        o.ink = &ink;
#if VELQ_CELL_LANES
        if (lanes_ == 4) o.lanes = InkLanes(ink);
#endif
        std::size_t e = o.e0 = std::uint32_t(edges_);
        if (reach_ > 0) {
            if (edge_.size() < edges_ + m_ + 8)
                edge_.resize(2 * (edges_ + m_ + 8)), edge_inv_.resize(edge_.size());
            int bx0, bx1, by0, by1;
            box_of(std::int32_t(i), bx0, bx1, by0, by1);
            const float x0 = float(bx0) + 0.5f, x1 = float(bx1) + 0.5f, y0 = float(by0) + 0.5f,
                        y1 = float(by1) + 0.5f;
            const float wide = float((reach_ + 0.01) * (reach_ + 0.01));
#if VELQ_CELL_AVX2
            if (lanes_ == 8) {
                edges_ = edges8(i, x0, x1, y0, y1, wide, e);
                o.e1 = std::uint32_t(edges_);
                return o;
            }
#endif
            for (std::size_t j0 = 0; j0 < m_; j0 += 4) {
                unsigned near = 0;         // bit k: candidate j0 + k may come near
                alignas(16) float inv[4];  // 1 / 2d for each
#if VELQ_CELL_LANES
                if (lanes_ > 1) {
                    const __m128 da = _mm_sub_ps(_mm_loadu_ps(&a_[j0]), _mm_set1_ps(a_[i])),
                                 dx = _mm_sub_ps(_mm_loadu_ps(&bx_[j0]), _mm_set1_ps(bx_[i])),
                                 dy = _mm_sub_ps(_mm_loadu_ps(&by_[j0]), _mm_set1_ps(by_[i]));
                    const __m128 gap2 = _mm_add_ps(_mm_mul_ps(dx, dx), _mm_mul_ps(dy, dy));
                    const __m128 least = _mm_sub_ps(
                        _mm_add_ps(
                            _mm_add_ps(da, _mm_min_ps(_mm_mul_ps(dx, _mm_set1_ps(x0)),
                                                      _mm_mul_ps(dx, _mm_set1_ps(x1)))),
                            _mm_min_ps(_mm_mul_ps(dy, _mm_set1_ps(y0)), _mm_mul_ps(dy, _mm_set1_ps(y1)))),
                        _mm_set1_ps(0.01f));
                    const __m128 keep = _mm_and_ps(
                        _mm_cmpgt_ps(gap2, _mm_setzero_ps()),
                        _mm_or_ps(
                            _mm_cmplt_ps(least, _mm_setzero_ps()),
                            _mm_cmplt_ps(_mm_mul_ps(least, least), _mm_mul_ps(gap2, _mm_set1_ps(wide)))));
                    near = unsigned(_mm_movemask_ps(keep));
                    if (m_ - j0 < 4) near &= (1u << (m_ - j0)) - 1;  // the padding
                    if (near == 0) continue;
                    _mm_store_ps(inv, _mm_div_ps(_mm_set1_ps(1.0f), _mm_sqrt_ps(gap2)));
                } else
#endif
                {
                    for (std::size_t k = 0; k < 4; ++k) {
                        const std::size_t j = j0 + k;
                        const float da = a_[j] - a_[i], dx = bx_[j] - bx_[i], dy = by_[j] - by_[i];
                        const float gap2 = dx * dx + dy * dy;
                        const float least =
                            da + std::min(dx * x0, dx * x1) + std::min(dy * y0, dy * y1) - 0.01f;
                        near |= unsigned(gap2 > 0 && (least < 0 || least * least < gap2 * wide)) << k;
                        inv[k] = 1.0f / std::sqrt(gap2);
                    }
                    if (m_ - j0 < 4) near &= (1u << (m_ - j0)) - 1;  // the padding
                }
                for (; near != 0; near &= near - 1) {
                    const unsigned k = unsigned(std::countr_zero(near));
                    edge_[e] = std::int32_t(j0 + k), edge_inv_[e] = inv[k];
                    ++e;
                }
            }
        }
        edges_ = e;
        o.e1 = std::uint32_t(edges_);
        return o;
    }

#if VELQ_CELL_LANES
    // paint_quad1() in four lanes.
    void paint_quad4(std::uint8_t* px, int n, int tx, int ty, int r, int q) {
        const std::int32_t* owner = owner_ + r * kTile + q;
        const double x = tx + q + 0.5, cy = ty + r + 0.5;
        const Quad* rowl = rowl_.data() + std::size_t(r) * m_;
        const __m128 lane = _mm_setr_ps(0, 1, 2, 3), one = _mm_set1_ps(1.0f), half = _mm_set1_ps(0.5f);
        const __m128i who = _mm_loadu_si128(reinterpret_cast<const __m128i*>(owner));
        const __m128 l_own = _mm_loadu_ps(best_ + r * kTile + q);
        __m128i bytes = _mm_setzero_si128();
        std::uint32_t left = (1u << n) - 1;  // lanes still to paint
        while (left != 0) {
            const std::int32_t i = owner[std::countr_zero(left)];
            const Owned& o = owned(std::size_t(i));
            const CellInk& ink = *o.ink;
            const InkLanes& lanes = o.lanes;
            const __m128i mine = _mm_cmpeq_epi32(who, _mm_set1_epi32(i));
            left &= ~std::uint32_t(_mm_movemask_ps(_mm_castsi128_ps(mine)));
            const float dy2 = float((cy - ink.cy) * (cy - ink.cy));
            const __m128 dx = _mm_add_ps(_mm_set1_ps(float(x - ink.cx)), lane);
            const __m128 far =
                _mm_min_ps(_mm_mul_ps(_mm_add_ps(_mm_mul_ps(dx, dx), _mm_set1_ps(dy2)), lanes.per), one);
            const __m128 shade =
                _mm_sub_ps(_mm_set1_ps(1.12f), _mm_mul_ps(_mm_set1_ps(0.25f), _mm_sqrt_ps(far)));
            __m128 dist = lanes.reach;
            {
                const Quad* bxx = bxx_.data() + q / 4;
                for (std::size_t e = o.e0; e < o.e1; ++e) {
                    const std::size_t j = std::size_t(edge_[e]);
                    const __m128 gap = _mm_sub_ps(_mm_add_ps(rowl[j].v, bxx[2 * j].v), l_own);
                    dist = _mm_min_ps(_mm_mul_ps(gap, _mm_set1_ps(edge_inv_[e])), dist);
                }
            }
            const __m128 cover = _mm_min_ps(_mm_max_ps(_mm_sub_ps(lanes.reach, dist), _mm_setzero_ps()), one);
            __m128i painted = _mm_setzero_si128();
            for (int c = 0; c < 3; ++c) {
                const __m128 level = _mm_cvtepi32_ps(_mm_cvttps_epi32(
                    _mm_min_ps(_mm_add_ps(_mm_mul_ps(lanes.c[c], shade), half), _mm_set1_ps(255.0f))));
                const __m128 mixed =
                    _mm_add_ps(_mm_add_ps(level, _mm_mul_ps(_mm_sub_ps(lanes.e[c], level), cover)), half);
                painted = _mm_or_si128(painted, _mm_slli_epi32(_mm_cvttps_epi32(mixed), 8 * c));
            }
            bytes = _mm_or_si128(bytes, _mm_and_si128(mine, painted));
        }
        const __m128i alpha = _mm_set1_epi32(int(0xff000000u));
        if (n == 4) {
            const __m128i old = _mm_loadu_si128(reinterpret_cast<const __m128i*>(px));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(px), _mm_or_si128(bytes, _mm_and_si128(old, alpha)));
            return;
        }
        alignas(16) std::uint32_t out[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(out), bytes);
        store(px, n, out);
    }
#endif

    // Four pixels (n of them in the picture) from column q of row r of the tile at (tx, ty).
    void paint_quad1(std::uint8_t* px, int n, int tx, int ty, int r, int q) {
        const std::int32_t* owner = owner_ + r * kTile + q;
        const float* best = best_ + r * kTile + q;
        const double x = tx + q + 0.5, cy = ty + r + 0.5;
        const float* rowl = rowl1_.data() + std::size_t(r) * m_;
        std::uint32_t out[4];
        for (int k = 0; k < n; ++k) {
            const Owned& o = owned(std::size_t(owner[k]));
            const CellInk& ink = *o.ink;
            const float dy2 = float((cy - ink.cy) * (cy - ink.cy));
            const float dx = float(x - ink.cx) + float(k);
            const float far = std::min((dx * dx + dy2) * ink.per, 1.0f);
            const float shade = 1.12f - 0.25f * std::sqrt(far);
            float dist = ink.reach;
            {
                const float xx = float(q + k) + 0.5f;
                for (std::size_t e = o.e0; e < o.e1; ++e) {
                    const std::size_t j = std::size_t(edge_[e]);
                    dist = std::min(dist, (rowl[j] + bx_[j] * xx - best[k]) * edge_inv_[e]);
                }
            }
            const float cover = std::min(std::max(ink.reach - dist, 0.0f), 1.0f);
            out[k] = 0;
            for (int c = 0; c < 3; ++c) {
                const float level = float(int(std::min(ink.c[c] * shade + 0.5f, 255.0f)));
                out[k] |= std::uint32_t(int(level + (ink.e[c] - level) * cover + 0.5f)) << (8 * c);
            }
        }
        store(px, n, out);
    }

    // n pixels' colours, keeping their alpha.
    static void store(std::uint8_t* px, int n, std::uint32_t* out) {
        for (int k = 0; k < n; ++k) {
            std::uint32_t old;
            std::memcpy(&old, px + 4 * k, 4);
            out[k] |= old & 0xff000000u;
            std::memcpy(px + 4 * k, &out[k], 4);
        }
    }

    struct Range {
        int c0, c1, r0, r1;  // buckets [c0, c1] x [r0, r1]
    };

    std::span<const CellInk> inks_;
    const std::vector<SiteGrid>& grids_;
    double reach_;
    std::vector<Candidate> block_;                       // gather_block()
    std::vector<float> block_xf_, block_yf_, block_wf_;  // block_ about its corner, padded to fours
    int block_x_ = 0, block_y_ = 0;
    std::vector<std::int32_t> near_;  // the tile's, m_ of them: places in block_
    std::size_t m_ = 0;
    std::vector<Range> seen_;
    std::vector<float> a_, bx_, by_;
    std::int32_t owner_[kTile * kTile];  // per pixel of the tile, row by row: its candidate
    float best_[kTile * kTile];          // and the owner's L there
#if VELQ_CELL_LANES
    // Lanes in a vector (whose element type may not carry the lane type's attributes).
    struct Quad {
        __m128 v;
    };
    struct Quadi {
        __m128i v;
    };
    std::vector<Quad> bxx_,
        rowl_;  // per candidate: bx X in two sets of lanes; per row and candidate: a + by Y
    std::vector<Quadi> number_;
#endif
#if VELQ_CELL_AVX2
    struct alignas(32) Oct {  // the lane type's own alignment holds only where the compiler has AVX
        __m256 v;
    };
    std::vector<Oct> bxx8_, rowl8_;  // as bxx_ and rowl_, eight lanes each
#endif
    std::vector<float> rowl1_;  // as rowl_, one lane
    int lanes_;
    std::pair<int, int> rows_;        // the tile's rows [first, second) being painted
    std::vector<std::int32_t> edge_;  // the edges of owned_: the candidate across, and 1 / 2d
    std::vector<float> edge_inv_;
    std::size_t edges_ = 0;               // in use of edge_ and edge_inv_
    std::vector<Owned> owned_;            // owned() of the owners so far
    std::vector<std::int32_t> owned_at_;  // per candidate: where in owned_, once made
};

}  // namespace

int CellPicture::widest_lanes() {
#if VELQ_CELL_AVX2
    if (exact_path::have_avx2()) return 8;
#endif
#if VELQ_CELL_LANES
    return 4;
#else
    return 1;
#endif
}

CellPicture::CellPicture(std::span<const CellSite> sites, std::span<const CellInk> inks, double width,
                         double height, int lanes, WorkerPool* pool)
    : inks_(inks), grids_(make_site_grids(sites, width, height, pool)) {
    reach_ = inks.empty() ? 0 : inks.front().reach;
    const int widest = widest_lanes();
    lanes_ = lanes <= 0 || lanes >= widest ? widest : lanes >= 4 ? 4 : 1;
}

void CellPicture::paint_rows(UBUFFER& buffer, int y0, int y1) const {
    if (grids_.empty()) return;  // no sites
    TilePainter painter(inks_, grids_, reach_, lanes_);
    // Blocks and tiles lie at fixed places, so a tile's sites do not depend on the rows asked for.
    const int y_end = std::min(y1, buffer.height());
    for (int by = y0 - y0 % kBlock; by < y_end; by += kBlock)
        for (int bx = 0; bx < buffer.width(); bx += kBlock) {
            painter.gather_block(bx, by);
            for (int ty = by; ty < by + kBlock; ty += kTile) {
                if (ty + kTile <= y0 || ty >= y_end) continue;
                for (int tx = bx; tx < std::min(bx + kBlock, buffer.width()); tx += kTile)
                    painter.paint(buffer, tx, ty, y0, y1);
            }
        }
}

}  // namespace velq
