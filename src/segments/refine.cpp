#include "segments/refine.h"

#include "host/progress.h"

namespace velq {

void label_segments(const std::vector<RawSegment>& list, IBUFFER& map) {
    map.fill(0);
    for (std::size_t i = 0; i < list.size(); ++i) {
        const auto label = std::uint32_t(i + 1);
        for (const Pixel& p : list[i].pixels) map.at(p.x, p.y) = label;
    }
}

std::vector<RawSegment> remove_minor_segments(std::vector<RawSegment>& list, IBUFFER& map, double ratio,
                                              Host& host) {
    std::vector<RawSegment> kept;
    Progress progress(host, "Removing minor segments");
    for (std::size_t i = 1; i < list.size(); ++i) list[i].boundary = 0;
    const int w = map.width(), h = map.height();
    const double total = double(w) * double(h);
    for (int y = 0; y + 1 < h && !host.stopped(); ++y) {
        const std::uint32_t* row = map.row(y);
        const std::uint32_t* below = map.row(y + 1);
        for (int x = 0; x + 1 < w; ++x) {
            const std::uint32_t a = row[x];
            if (a != row[x + 1]) {
                ++list[a - 1].boundary;
                ++list[row[x + 1] - 1].boundary;
            }
            if (a != below[x]) {
                ++list[a - 1].boundary;
                ++list[below[x] - 1].boundary;
            }
            progress.set(int((double(y) * w + x) * 100.0 / total));
        }
    }
    if (host.stopped()) return kept;
    for (std::size_t i = 1; i < list.size(); ++i) {
        RawSegment& s = list[i];
        if (!s.pixels.empty() && ratio >= double(s.boundary) / double(s.pixels.size())) {
            kept.push_back(std::move(s));
        } else {
            for (const Pixel& p : s.pixels) map.at(p.x, p.y) = 0;
        }
    }
    return kept;
}

namespace {

// One ring of growth from the pixels [from, size at the call) of `seg`.
void dilate_from(IBUFFER& map, RawSegment& seg, std::size_t from) {
    const int w = map.width(), h = map.height();
    const std::size_t n = seg.pixels.size();
    for (std::size_t i = from; i < n; ++i) {
        const int x = seg.pixels[i].x, y = seg.pixels[i].y;
        if (x == 0 || y == 0 || x == w - 1 || y == h - 1) continue;
        const int nx[4] = {x, x, x - 1, x + 1};
        const int ny[4] = {y - 1, y + 1, y, y};
        for (int k = 0; k < 4; ++k) {
            std::uint32_t& cell = map.at(nx[k], ny[k]);
            if (cell != 0) continue;
            cell = 1;
            seg.pixels.push_back(Pixel{1, nx[k], ny[k]});
        }
    }
}

}  // namespace

void dilate_segment(IBUFFER& map, RawSegment& seg) {
    dilate_from(map, seg, 0);
}

void dilate_segments(IBUFFER& map, std::vector<RawSegment>& list, int passes, Host& host) {
    // A visited pixel leaves no free neighbour behind, and cells never become free again, so a later
    // pass over it does nothing: each pass only needs the pixels added since the previous one.
    std::vector<std::size_t> done(list.size(), 0);
    for (int pass = 0; pass < passes && !host.stopped(); ++pass) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::size_t n = list[i].pixels.size();
            dilate_from(map, list[i], done[i]);
            done[i] = n;
        }
    }
}

}  // namespace velq
