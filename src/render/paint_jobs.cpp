#include "render/paint_jobs.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "host/parallel.h"
#include "host/prefetch.h"
#include "host/saturate.h"
#include "render/shape.h"

namespace velq {

namespace {
template <class T>
HeldStencils prepare_stencils_of(Host& host, std::span<const T> placements) {
    std::map<const SHAPE*, std::vector<int>> sides;
    for (const Circle& p : placements) {
        if (!p.shape || !p.shape->usable()) continue;
        const int side = saturate_int(2 * p.radius + 0.5);
        if (side >= 1) sides[p.shape].push_back(side);
    }
    // Shapes are independent (each cache has its own lock): a passage layer brings dozens of them,
    // taken one at a time by each thread, which keeps one table for all of its shapes.
    std::vector<std::pair<const SHAPE*, std::vector<int>>> work(sides.begin(), sides.end());
    std::atomic<std::size_t> next{0};
    std::mutex held_mutex;
    HeldStencils held;
    parallel_rows(
        0, std::min(int(work.size()), worker_count()),
        [&](int, int) {
            PlaneTable table;
            HeldStencils mine;
            for (std::size_t i = next++; i < work.size(); i = next++) {
                auto& [shape, list] = work[i];
                std::sort(list.begin(), list.end());
                list.erase(std::unique(list.begin(), list.end()), list.end());
                shape->stencils.prepare(host, shape->shade_plane, shape->mask_plane, list, table, mine);
            }
            std::lock_guard lock(held_mutex);
            held.insert(held.end(), mine.begin(), mine.end());
        },
        1);
    return held;
}
}  // namespace

HeldStencils prepare_stencils(Host& host, std::span<const Placement> placements) {
    return prepare_stencils_of(host, placements);
}
HeldStencils prepare_stencils(Host& host, std::span<const Circle> circles) {
    return prepare_stencils_of(host, circles);
}

bool paint_jobs(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                const std::function<void(std::int64_t, std::int64_t)>& progress, int threads) {
    // Tiles small enough that a tile's pixels and its pages stay close to the processor while the
    // jobs that reach it are painted.
    constexpr int kTileW = 256, kTileH = 64;
    const int w = buffer.width(), h = buffer.height();
    if (w < 1 || h < 1) return !host.stopped();
    const int tx = (w + kTileW - 1) / kTileW, ty = (h + kTileH - 1) / kTileH;
    std::vector<std::vector<std::uint32_t>> tiles(std::size_t(tx) * ty);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (!jobs[i].stencil) continue;
        int r0, r1, c0, c1;
        Painter::reach(jobs[i], r0, r1, c0, c1);
        r0 = std::max(r0, 0);
        c0 = std::max(c0, 0);
        r1 = std::min(r1, h);
        c1 = std::min(c1, w);
        if (r0 >= r1 || c0 >= c1) continue;
        for (int y = r0 / kTileH; y <= (r1 - 1) / kTileH; ++y)
            for (int x = c0 / kTileW; x <= (c1 - 1) / kTileW; ++x)
                tiles[std::size_t(y) * tx + x].push_back(std::uint32_t(i));
    }
    const auto total = std::int64_t(tiles.size());
    if (threads <= 0) threads = worker_count();
    threads = std::clamp(threads, 1, int(std::min<std::int64_t>(total, 64)));
    if (jobs.size() < 64) threads = 1;
    // Most pixels are painted about once, so a tile's rows are asked for all at once when the tile
    // starts rather than met one miss at a time by the placements.
    auto fetch = [&](int r0, int c0) {
        const int r1 = std::min(r0 + kTileH, h), c1 = std::min(c0 + kTileW, w);
        for (int y = r0; y < r1; ++y) {
            const std::uint8_t* row = buffer.row(y);
            for (int x = c0; x < c1; x += 16) prefetch<true>(row + 4 * std::size_t(x));
        }
    };
    std::atomic<std::int64_t> next{0}, done{0};
    std::atomic<bool> stopped{false};
    auto work = [&](bool reporting) {
        for (;;) {
            const std::int64_t t = next++;
            if (t >= total || stopped) return;
            const int r0 = int(t / tx) * kTileH, c0 = int(t % tx) * kTileW;
            fetch(r0, c0);
            for (const std::uint32_t i : tiles[t]) {
                if (host.stopped()) {
                    stopped = true;
                    return;
                }
                painter.paint_area(jobs[i], buffer, r0, r0 + kTileH, c0, c0 + kTileW);
            }
            const std::int64_t finished = ++done;
            if (reporting && progress) progress(finished, total);
        }
    };
    std::vector<std::thread> pool;
    pool.reserve(threads - 1);
    for (int k = 1; k < threads; ++k) pool.emplace_back(work, false);
    work(true);
    for (auto& t : pool) t.join();
    if (!stopped && progress) progress(total, total);
    return !stopped;
}

}  // namespace velq
