#include "app/alphabet_driver.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/progress.h"
#include "host/utf8.h"
#include "render/font_file.h"
#include "segments/outline_path.h"
#include "segments/ring_nesting.h"
#include "transform/segment_fill.h"

namespace velq {

namespace {

// The share of edge pixels (a channel stepping by more than THR to the right or below) over any box,
// from a summed-area table: large letters of the Packed layout go where there are few.
class Flatness {
public:
    Flatness(const UBUFFER& picture, int threshold) : w_(picture.width()), h_(picture.height()) {
        sums_.assign(std::size_t(w_ + 1) * (h_ + 1), 0);
        for (int y = 0; y < h_; ++y) {
            std::uint32_t row = 0;
            for (int x = 0; x < w_; ++x) {
                bool edge = false;
                for (int c = 0; c < 3 && !edge; ++c) {
                    const int v = picture.at(x, y, c);
                    edge = (x + 1 < w_ && std::abs(picture.at(x + 1, y, c) - v) > threshold) ||
                           (y + 1 < h_ && std::abs(picture.at(x, y + 1, c) - v) > threshold);
                }
                row += edge;
                sums_[std::size_t(y + 1) * (w_ + 1) + x + 1] = sums_[std::size_t(y) * (w_ + 1) + x + 1] + row;
            }
        }
    }
    // 1 for a box without edges, 0 once a tenth of its pixels are edges.
    double operator()(double x0, double y0, double x1, double y1) const {
        const int a = std::clamp(int(x0), 0, w_), b = std::clamp(int(y0), 0, h_);
        const int c = std::clamp(int(x1), 0, w_), d = std::clamp(int(y1), 0, h_);
        if (c <= a || d <= b) return 1;
        const auto at = [&](int x, int y) { return sums_[std::size_t(y) * (w_ + 1) + x]; };
        const double edges = double(at(c, d) - at(a, d) - at(c, b) + at(a, b));
        return 1 - std::min(1.0, 10 * edges / (double(c - a) * (d - b)));
    }

private:
    int w_, h_;
    std::vector<std::uint64_t> sums_;
};

BoundaryPiece closed_piece(const std::vector<BoundaryPoint>& ring) {
    BoundaryPiece piece;
    piece.closed = true;
    piece.points = ring;
    return piece;
}

// A Segment over `regions`: its loop the first outer ring, every other ring a child outline.
Segment segment_of(std::vector<SegmentRegion> regions) {
    Segment s;
    s.own_circle_colours = true;
    s.loop = closed_piece(regions.front().outer);
    for (std::size_t i = 0; i < regions.size(); ++i) {
        if (i > 0) s.children.push_back(closed_piece(regions[i].outer));
        for (const auto& hole : regions[i].holes) s.children.push_back(closed_piece(hole));
    }
    s.regions = std::move(regions);
    return s;
}

// The Segment's label over its rings (even-odd, so holes stay out), in 1/256 pixel steps.
void draw_label(cv::Mat& labels, const Segment& s, int label) {
    constexpr int kShift = 8;
    std::vector<std::vector<cv::Point>> polys;
    const auto add = [&](const std::vector<BoundaryPoint>& ring) {
        std::vector<cv::Point>& poly = polys.emplace_back();
        for (const BoundaryPoint& p : ring)
            poly.emplace_back(int(std::lround(p.x * (1 << kShift))), int(std::lround(p.y * (1 << kShift))));
    };
    for (const SegmentRegion& r : s.regions) {
        add(r.outer);
        for (const auto& hole : r.holes) add(hole);
    }
    cv::fillPoly(labels, polys, cv::Scalar(label), cv::LINE_8, kShift);
}

}  // namespace

int alphabet_rows(const Settings& s) {
    if (s.alphabet.rows > 0) return s.alphabet.rows;
    return std::max(2, int(std::lround(1 / (6 * std::max(s.max_size, 1e-6)))));
}

std::optional<std::vector<PlacedGlyph>> set_alphabet_text(const Document& doc, Host& host) {
    const AlphabetSettings& a = doc.settings.alphabet;
    const std::u32string passage = decode_utf8(a.text.empty() ? kDefaultAlphabetText : a.text);
    if (std::all_of(passage.begin(), passage.end(), is_blank)) {
        host.message("The alphabet text has no letter");
        return std::nullopt;
    }
    const bool named = !a.face.empty();
    const std::string face = named ? a.face : kDefaultAlphabetFace;
    GlyphFont font;
    // Letters need the face itself (or the font the system binds to its name), not a generic fallback.
    const FontMatch match = find_font(face, named ? a.bold : true, named && a.italic);
    if (!match.named || match.file.empty() || !font.open(match.file)) {
        host.message("Failed to load the font (" + face + ")");
        return std::nullopt;
    }
    const UBUFFER& picture = doc.filtered;
    const int w = picture.width(), h = picture.height();
    const double gap = std::max(1, doc.settings.gap);
    std::vector<PlacedGlyph> glyphs;
    if (a.layout == int(AlphabetLayout::Packed)) {
        PackedParams p;
        p.width = w;
        p.height = h;
        p.gap = gap;
        p.largest = std::max(w, h) / double(alphabet_rows(doc.settings));
        // The smallest letters still hold a few of the smallest circles across a stroke.
        const double min_circle = 2 * std::max(1.1, std::max(w, h) * doc.settings.min_size);
        p.smallest = std::max(p.largest * std::pow(0.8, 7), 30 * min_circle);
        const Flatness flat(picture, doc.settings.threshold);
        p.flatness = [&flat](double x0, double y0, double x1, double y1) { return flat(x0, y0, x1, y1); };
        if (p.smallest <= p.largest) glyphs = layout_packed(font, passage, p, host);
    } else {
        LinesParams p;
        p.width = w;
        p.height = h;
        p.rows = alphabet_rows(doc.settings);
        p.margin = gap;
        glyphs = layout_lines(font, passage, p, host);
    }
    if (glyphs.empty() && !host.stopped()) {
        host.message("The picture is too small for one letter");
        return std::nullopt;
    }
    return glyphs;
}

std::optional<std::size_t> do_alphabet(Document& doc, Host& host, const std::vector<PlacedGlyph>& glyphs) {
    const UBUFFER& picture = doc.filtered;
    const int w = picture.width(), h = picture.height();
    doc.segments.clear();
    doc.pieces.clear();
    std::vector<std::vector<BoundaryPoint>> all_rings;
    if (doc.settings.alphabet.layout == int(AlphabetLayout::Inverse)) {
        // The frame with every letter cut out, and each counter's inside, are the regions.
        all_rings.push_back({{0, 0}, {double(w), 0}, {double(w), double(h)}, {0, double(h)}});
        for (const PlacedGlyph& g : glyphs)
            for (auto& ring : flatten_path(g.path)) all_rings.push_back(std::move(ring));
        for (SegmentRegion& r : group_rings(all_rings)) doc.segments.push_back(segment_of({std::move(r)}));
    } else {
        for (const PlacedGlyph& g : glyphs) {
            std::vector<std::vector<BoundaryPoint>> rings = flatten_path(g.path);
            std::vector<SegmentRegion> regions = group_rings(rings);
            if (regions.empty()) continue;
            Segment s = segment_of(std::move(regions));
            s.curves = g.path;
            doc.segments.push_back(std::move(s));
            for (auto& ring : rings) all_rings.push_back(std::move(ring));
        }
    }
    for (const auto& ring : all_rings) doc.pieces.push_back(closed_piece(ring));

    // Picking reads the label map; the Segment's colour is the mean of the picture inside it.
    doc.label_map.reset();
    if (!doc.label_map.allocate(w, h, 1)) {
        host.message("Failed to allocate data");
        return std::nullopt;
    }
    cv::Mat labels(h, w, CV_32SC1, doc.label_map.data());
    for (std::size_t i = 0; i < doc.segments.size(); ++i) draw_label(labels, doc.segments[i], int(i + 1));
    std::vector<std::array<double, 5>> sums(doc.segments.size(), {0, 0, 0, 0, 0});
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (const std::uint32_t l = doc.label_map.at(x, y); l > 0 && l <= sums.size()) {
                auto& s = sums[l - 1];
                // Red, green, blue, alpha from the picture's blue, green, red, alpha.
                constexpr int kChannel[4] = {2, 1, 0, 3};
                for (int c = 0; c < 4; ++c) s[std::size_t(c)] += picture.at(x, y, kChannel[c]);
                s[4] += 1;
            }
    for (std::size_t i = 0; i < doc.segments.size(); ++i) {
        const auto& s = sums[i];
        ColourRecord& c = doc.segments[i].colour;
        if (s[4] > 0) c = {s[0] / s[4], s[1] / s[4], s[2] / s[4], s[3] / s[4], 0, true};
    }
    host.refresh(Refresh::Outlines);

    SegmentFillParams params;
    params.min_size = doc.settings.min_size;
    params.max_size = doc.settings.max_size;
    params.gap = doc.settings.gap;
    const std::optional<std::size_t> count = fill_circle_algo2(doc.segments, params, w, h, host);
    // Each circle takes the picture's colour at its centre, as in the Normal transform.
    for (Segment& s : doc.segments)
        for (Circle& c : s.circles) {
            const int px = std::clamp(int(c.x * w), 0, w - 1), py = std::clamp(int(c.y * h), 0, h - 1);
            c.own.c0 = picture.at(px, py, 2);
            c.own.c1 = picture.at(px, py, 1);
            c.own.c2 = picture.at(px, py, 0);
            c.own.c3 = picture.at(px, py, 3);
        }
    return count;
}

}  // namespace velq
