#include "render/band_paint.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

namespace velq {

namespace {

// Rows [r0, r1) that a job paints on a picture h rows high; empty when it misses the picture.
bool rows_of(const PaintJob& job, int w, int h, int& r0, int& r1) {
    if (!job.stencil) return false;
    int c0, c1;
    Painter::reach(job, r0, r1, c0, c1);
    r0 = std::max(r0, 0);
    r1 = std::min(r1, h);
    return r0 < r1 && std::max(c0, 0) < std::min(c1, w);
}

// Band edges: `bands` + 1 rows from 0 to h, cut where the covered pixels (a job's side on each of its
// rows) reach equal shares.
std::vector<int> band_edges(std::span<const PaintJob> jobs, int w, int h, int bands) {
    std::vector<std::int64_t> step(std::size_t(h) + 1, 0);
    std::int64_t total = 0;
    for (const PaintJob& job : jobs) {
        int r0, r1;
        if (!rows_of(job, w, h, r0, r1)) continue;
        const int d = job.stencil->side;
        step[std::size_t(r0)] += d;
        step[std::size_t(r1)] -= d;
        total += std::int64_t(d) * (r1 - r0);
    }
    std::vector<int> edges{0};
    std::int64_t per_row = 0, covered = 0;
    for (int y = 0; y < h && int(edges.size()) < bands; ++y) {
        per_row += step[std::size_t(y)];
        covered += per_row;
        if (covered * bands >= total * std::int64_t(edges.size())) edges.push_back(y + 1);
    }
    while (int(edges.size()) <= bands) edges.push_back(h);
    edges.back() = h;
    return edges;
}

}  // namespace

bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                         WorkerPool& pool) {
    const int w = buffer.width(), h = buffer.height();
    if (w < 1 || h < 1 || jobs.empty()) return !host.stopped();
    // Below this many jobs a thread's wake-up costs more than it saves.
    constexpr std::size_t kJobsPerBand = 48;
    const int bands = int(std::clamp<std::size_t>(jobs.size() / kJobsPerBand, 1, std::size_t(pool.size())));
    const std::vector<int> edges = band_edges(jobs, w, h, bands);
    std::atomic<bool> stopped{false};
    pool.run(bands, [&](int b) {
        const int y0 = edges[std::size_t(b)], y1 = edges[std::size_t(b) + 1];
        if (y0 >= y1) return;
        thread_local std::vector<std::uint32_t> mine;
        mine.clear();
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            int r0, r1;
            if (rows_of(jobs[i], w, h, r0, r1) && r1 > y0 && r0 < y1) mine.push_back(std::uint32_t(i));
        }
        // The shapes lie anywhere on a picture far larger than the caches: the rows of a shape a few
        // jobs ahead are asked for while this one is painted.
        constexpr std::size_t kAhead = 4;
        auto fetch = [&](const PaintJob& job) {
            int r0, r1, c0, c1;
            Painter::reach(job, r0, r1, c0, c1);
            r0 = std::max(r0, y0);
            r1 = std::min(r1, y1);
            c0 = std::max(c0, 0);
            c1 = std::min(c1, w);
            for (int y = r0; y < r1; ++y) {
                const std::uint8_t* row = buffer.row(y);
                for (int x = c0; x < c1; x += 16) __builtin_prefetch(row + 4 * std::size_t(x), 1);
                __builtin_prefetch(row + 4 * std::size_t(c1 - 1), 1);
            }
        };
        for (std::size_t k = 0; k < std::min(kAhead, mine.size()); ++k) fetch(jobs[mine[k]]);
        for (std::size_t k = 0; k < mine.size(); ++k) {
            if ((k & 31) == 0 && host.stopped()) {
                stopped = true;
                return;
            }
            if (k + kAhead < mine.size()) fetch(jobs[mine[k + kAhead]]);
            painter.paint_area(jobs[mine[k]], buffer, y0, y1, 0, w);
        }
    });
    return !stopped;
}

}  // namespace velq
