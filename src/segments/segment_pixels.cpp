#include "segments/segment_pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>

#include "host/progress.h"
#include "host/worker_pool.h"

namespace velq {
namespace {

// A Progress when the stage shows one, nothing otherwise.
std::unique_ptr<Progress> maybe_progress(Host& host, bool show, std::string_view what) {
    return show ? std::make_unique<Progress>(host, what) : nullptr;
}

void report(const std::unique_ptr<Progress>& p, std::size_t i, std::size_t n) {
    if (p) p->set(int(double(i) * 100.0 / double(n)));
}

void plot(UBUFFER& mask, int x, int y, std::uint8_t v) {
    if (mask.inside(x, y)) mask.at(x, y) = v;
}

// 4-connected fill of the 0 cells reachable from (0, 0) with 150.
void fill_outside(UBUFFER& mask, std::vector<Pixel>& stack) {
    stack.clear();
    if (mask.at(0, 0) != 0) return;
    mask.at(0, 0) = 150;
    stack.push_back(Pixel{1, 0, 0});
    while (!stack.empty()) {
        const Pixel p = stack.back();
        stack.pop_back();
        const int nx[4] = {p.x + 1, p.x, p.x - 1, p.x};
        const int ny[4] = {p.y, p.y + 1, p.y, p.y - 1};
        for (int k = 0; k < 4; ++k) {
            if (!mask.inside(nx[k], ny[k]) || mask.at(nx[k], ny[k]) != 0) continue;
            mask.at(nx[k], ny[k]) = 150;
            stack.push_back(Pixel{1, nx[k], ny[k]});
        }
    }
}

}  // namespace

void draw_path(UBUFFER& mask, const std::vector<BoundaryPoint>& points, double dx, double dy,
               std::uint8_t value) {
    const std::size_t n = points.size();
    if (n == 0) return;
    auto cell = [&](std::size_t i, int& x, int& y) {
        x = int(std::floor(points[i].x + dx + 0.5));
        y = int(std::floor(points[i].y + dy + 0.5));
    };
    for (std::size_t i = 0; i < n; ++i) {
        int x, y, x1, y1;
        cell(i, x, y);
        cell((i + 1) % n, x1, y1);
        const int nx = std::abs(x1 - x), ny = std::abs(y1 - y);
        const int sx = x1 > x ? 1 : -1, sy = y1 > y ? 1 : -1;
        plot(mask, x, y, value);
        for (int ix = 0, iy = 0; ix < nx || iy < ny;) {
            // Step along the axis whose next crossing of the ideal line comes first.
            if (std::int64_t(1 + 2 * ix) * ny < std::int64_t(1 + 2 * iy) * nx) {
                x += sx;
                ++ix;
            } else {
                y += sy;
                ++iy;
            }
            plot(mask, x, y, value);
        }
    }
}

namespace {

// One Segment's pixels from its loop, through a mask of the loop's box; false when the mask could
// not be had.
bool fill_segment_pixels(Segment& s, int width, int height, std::vector<Pixel>& stack) {
    s.pixels.clear();
    const auto& pts = s.loop.points;
    if (pts.empty()) return true;
    double minx = pts[0].x, maxx = pts[0].x, miny = pts[0].y, maxy = pts[0].y;
    for (const BoundaryPoint& p : pts) {
        minx = std::min(minx, p.x);
        maxx = std::max(maxx, p.x);
        miny = std::min(miny, p.y);
        maxy = std::max(maxy, p.y);
    }
    const int w = int(maxx - minx + 0.5) + 10, h = int(maxy - miny + 0.5) + 10;
    UBUFFER clp;
    if (!clp.allocate(w, h)) return false;
    draw_path(clp, pts, 5 - minx, 5 - miny, 255);
    fill_outside(clp, stack);
    for (int row = 0; row < h; ++row) {
        const std::uint8_t* m = clp.row(row);
        // Rounded to the nearest pixel (floor, so that a loop reaching left of the picture does not
        // fold two columns onto column 0).
        const int y = int(std::floor(row - 5 + miny + 0.5));
        if (y < 0 || y >= height) continue;
        for (int col = 0; col < w; ++col) {
            if (m[col] == 150) continue;
            const int x = int(std::floor(col - 5 + minx + 0.5));
            if (x < 0 || x >= width) continue;
            s.pixels.push_back(Pixel{m[col] < 255 ? 1 : 0, x, y});
        }
    }
    return true;
}

}  // namespace

int detect_segment_pixels(std::vector<Segment>& segments, int width, int height, bool show, Host& host) {
    auto progress = maybe_progress(host, show, "Detecting segment pixels");
    // Every Segment's pixels depend on its own loop alone, so Segments are filled side by side; the
    // calling thread reports, polls Stop and says what failed between rounds.
    constexpr std::size_t kRound = 256;
    const std::size_t n = segments.size();
    WorkerPool pool;
    std::vector<char> failed(kRound);
    int result = 0;
    for (std::size_t r0 = 0; r0 < n && !host.stopped(); r0 += kRound) {
        const std::size_t r1 = std::min(n, r0 + kRound);
        pool.run(int(r1 - r0), [&](int k) {
            Segment& s = segments[r0 + std::size_t(k)];
            try {
                std::vector<Pixel> stack;
                failed[std::size_t(k)] = !fill_segment_pixels(s, width, height, stack);
            } catch (const std::bad_alloc&) {  // a worker must not throw: the Segment is left without pixels
                s.pixels.clear();
                s.pixels.shrink_to_fit();
                failed[std::size_t(k)] = 1;
            }
        });
        for (std::size_t k = 0; k < r1 - r0; ++k)
            if (failed[k]) {
                host.message("Failed to allocate clp in detect_segment_pixels()");
                result = -1;
            }
        report(progress, r1, n);
    }
    return result;
}

void sort_segments(std::vector<Segment>& segments, bool show, Host& host) {
    auto progress = maybe_progress(host, show, "Sorting segments");
    const std::size_t n = segments.size();
    // Sort positions by count with the exchange sort, then move the Segments once.
    std::vector<std::size_t> order(n), count(n);
    for (std::size_t i = 0; i < n; ++i) {
        order[i] = i;
        count[i] = segments[i].pixels.size();
    }
    for (std::size_t i = 0; i < n && !host.stopped(); ++i) {
        std::size_t ci = count[order[i]];
        for (std::size_t j = i + 1; j < n; ++j) {
            if (ci < count[order[j]]) {
                std::swap(order[i], order[j]);
                ci = count[order[i]];
            }
        }
        report(progress, i, n);
    }
    std::vector<Segment> sorted;
    sorted.reserve(n);
    for (std::size_t i : order) sorted.push_back(std::move(segments[i]));
    segments.swap(sorted);
}

bool detect_segment_children(std::vector<Segment>& segments, const UBUFFER& picture, bool show, Host& host) {
    auto progress = maybe_progress(host, show, "Detecting segment children");
    const int w = picture.width(), h = picture.height();
    std::vector<std::int32_t> eod;
    try {
        eod.assign(std::size_t(w) * std::size_t(h), 0);
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate eod in detect_segment_children()");
        return false;
    }
    const std::size_t n = segments.size();
    // Per earlier Segment: its slot in this Segment's (owner, count) list, -1 when not met yet.
    std::vector<std::int64_t> slot(n, -1);
    std::vector<std::pair<std::size_t, std::size_t>> owners;  // first-appearance order
    for (std::size_t i = 0; i < n && !host.stopped(); ++i) {
        owners.clear();
        const std::int32_t inside = std::int32_t(i + 1), line = ~std::int32_t(i);
        for (const Pixel& p : segments[i].pixels) {
            std::int32_t& cell = eod[std::size_t(p.y) * w + p.x];
            const std::int32_t v = std::abs(cell);
            if (v > 0) {
                const std::size_t owner = std::size_t(v - 1);
                if (slot[owner] < 0) {
                    slot[owner] = std::int64_t(owners.size());
                    owners.emplace_back(owner, 0);
                }
                ++owners[std::size_t(slot[owner])].second;
            }
            cell = p.tag == 1 ? inside : line;
        }
        // The exchange sort puts the first pair holding the largest count on top.
        std::size_t top = 0;
        for (std::size_t k = 1; k < owners.size(); ++k)
            if (owners[top].second < owners[k].second) top = k;
        if (!owners.empty() && owners[top].second > std::size_t(0.5 * double(segments[i].pixels.size()))) {
            segments[owners[top].first].children.push_back(segments[i].loop);
            segments[owners[top].first].child_segments.push_back(i);
        }
        for (const auto& o : owners) slot[o.first] = -1;
        report(progress, i, n);
    }
    if (host.stopped()) return true;
    std::vector<std::array<double, 4>> sums(n, {0, 0, 0, 0});
    for (Segment& s : segments) s.pixels.clear();
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const std::int32_t v = eod[std::size_t(y) * w + x];
            if (v == 0) continue;
            const std::size_t idx = std::size_t(std::abs(v) - 1);
            segments[idx].pixels.push_back(Pixel{v > 0 ? 1 : 0, x, y});
            const std::uint8_t* c = &picture.at(x, y, 0);
            for (int k = 0; k < 4; ++k) sums[idx][k] += c[k];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        Segment& s = segments[i];
        const double cnt = double(s.pixels.size());
        auto mean = [&](int k) { return cnt > 0 ? sums[i][k] / cnt : 255.0; };
        s.colour.c0 = mean(2);
        s.colour.c1 = mean(1);
        s.colour.c2 = mean(0);
        s.colour.c3 = mean(3);
    }
    return true;
}

void label_final_segments(const std::vector<Segment>& segments, IBUFFER& map) {
    map.fill(0);
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const auto label = std::uint32_t(i + 1);
        for (const Pixel& p : segments[i].pixels)
            if (map.inside(p.x, p.y)) map.at(p.x, p.y) = label;
    }
}

}  // namespace velq
