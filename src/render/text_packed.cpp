#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include <opencv2/imgproc.hpp>

#include "render/text_layout.h"

namespace velq {

namespace {

// A letter at one size on the occupancy grid: the cells it touches (every cell its outline crosses
// and every cell inside it), and the same grown by the gap, as spans per row.
struct Mask {
    int width = 0, height = 0;               // cells, the grown mask
    std::vector<std::pair<int, int>> grown;  // per row: [first, last] cell, or first > last when empty
    cv::Mat1b touched;                       // same size; the letter's own cells
    double origin_x = 0, origin_y = 0;       // pen origin relative to the mask's corner, pixels
};

Mask make_mask(const LetterGlyph& g, double scale, double cell, int pad) {
    double minx = std::numeric_limits<double>::max(), maxx = -minx, miny = minx, maxy = -minx;
    for (const PathCommand& c : g.path)
        for (int i = 0; i < point_count(c.op); ++i) {
            minx = std::min(minx, c.p[i].x);
            maxx = std::max(maxx, c.p[i].x);
            miny = std::min(miny, c.p[i].y);
            maxy = std::max(maxy, c.p[i].y);
        }
    Mask m;
    m.origin_x = pad * cell - minx * scale;
    m.origin_y = pad * cell + maxy * scale;
    m.width = int(std::ceil((maxx - minx) * scale / cell)) + 2 * pad + 1;
    m.height = int(std::ceil((maxy - miny) * scale / cell)) + 2 * pad + 1;
    m.touched = cv::Mat1b::zeros(m.height, m.width);
    constexpr int kShift = 8;
    std::vector<std::vector<cv::Point>> polys;
    for (const auto& ring : flatten_path(placed_path(g.path, scale, -scale, m.origin_x, m.origin_y))) {
        std::vector<cv::Point> poly;
        for (const BoundaryPoint& p : ring)
            poly.emplace_back(int(std::lround(p.x / cell * (1 << kShift))),
                              int(std::lround(p.y / cell * (1 << kShift))));
        polys.push_back(std::move(poly));
    }
    cv::fillPoly(m.touched, polys, 255, cv::LINE_8, kShift);
    cv::polylines(m.touched, polys, true, 255, 1, cv::LINE_8, kShift);
    cv::Mat1b grown;
    const int k = 2 * (pad - 1) + 1;
    cv::dilate(m.touched, grown,
               cv::getStructuringElement(cv::MORPH_RECT, cv::Size(std::max(1, k), std::max(1, k))));
    for (int y = 0; y < m.height; ++y) {
        int first = m.width, last = -1;
        for (int x = 0; x < m.width; ++x)
            if (grown(y, x)) {
                first = std::min(first, x);
                last = x;
            }
        m.grown.emplace_back(first, last);
    }
    return m;
}

bool fits(const cv::Mat1b& occupied, const Mask& m, int cx, int cy) {
    for (int y = 0; y < m.height; ++y) {
        const auto [first, last] = m.grown[std::size_t(y)];
        if (first > last) continue;
        const std::uint8_t* row = occupied.ptr<std::uint8_t>(cy + y);
        for (int x = first; x <= last; ++x)
            if (row[cx + x]) return false;
    }
    return true;
}

}  // namespace

std::vector<PlacedGlyph> layout_packed(GlyphFont& font, std::u32string_view passage,
                                       const PackedParams& params, Host& host) {
    std::vector<PlacedGlyph> out;
    std::u32string letters;
    for (char32_t c : passage)
        if (!is_blank(c) && !font.glyph(c).blank) letters.push_back(c);
    if (letters.empty() || params.largest < params.smallest || params.smallest <= 0) return out;
    // Cells small enough that the smallest letters keep their shape on the grid.
    const double cell = std::max(1.0, params.smallest / 12);
    // Letters keep the gap from each other and from the frame; a letter's cells already include the
    // cells its outline crosses, so one cell of the grown mask is the letter itself.
    const int pad = 1 + int(std::ceil(params.gap / cell));
    const int gw = int(std::ceil(params.width / cell)), gh = int(std::ceil(params.height / cell));
    if (gw < 1 || gh < 1) return out;
    cv::Mat1b occupied = cv::Mat1b::zeros(gh, gw);
    std::size_t next = 0;
    // Sizes from the largest down by a fifth each, the last one the smallest itself.
    std::vector<double> sizes;
    for (double size = params.largest; size > params.smallest * 1.0001; size *= 0.8) sizes.push_back(size);
    sizes.push_back(params.smallest);
    for (const double size : sizes) {
        if (host.stopped()) break;
        const double scale = size / font.units_per_em();
        // Large letters only where the picture is flat; the smallest go anywhere.
        const double need = params.largest > params.smallest
                                ? 0.8 * (size - params.smallest) / (params.largest - params.smallest)
                                : 0;
        std::map<char32_t, Mask> masks;
        int cx = 0, cy = 0;  // the scan goes on from the last place found at this size
        for (;;) {
            const char32_t c = letters[next % letters.size()];
            auto it = masks.find(c);
            if (it == masks.end()) it = masks.emplace(c, make_mask(font.glyph(c), scale, cell, pad)).first;
            const Mask& m = it->second;
            const int step = std::max(1, std::min(m.width, m.height) / 6);
            bool placed = false;
            for (; cy + m.height <= gh && !placed; cy += step, cx = 0) {
                for (; cx + m.width <= gw; cx += step) {
                    if (params.flatness && need > 0 &&
                        params.flatness(cx * cell, cy * cell, (cx + m.width) * cell, (cy + m.height) * cell) <
                            need)
                        continue;
                    if (!fits(occupied, m, cx, cy)) continue;
                    cv::Mat1b target = occupied(cv::Rect(cx, cy, m.width, m.height));
                    cv::bitwise_or(target, m.touched, target);
                    out.push_back({c, placed_path(font.glyph(c).path, scale, -scale, cx * cell + m.origin_x,
                                                  cy * cell + m.origin_y)});
                    ++next;
                    placed = true;
                    break;
                }
                if (placed) break;
            }
            if (!placed || host.stopped()) break;
        }
    }
    return out;
}

}  // namespace velq
