#include "render/band_paint.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

#include "host/prefetch.h"

namespace velq {

JobReach job_reach(const PaintJob& job) {
    JobReach r;
    if (job.stencil) Painter::reach(job, r.r0, r.r1, r.c0, r.c1);
    return r;
}

namespace {

JobReach clipped(JobReach r, int width, int height) {
    r.r0 = std::max(r.r0, 0);
    r.r1 = std::min(r.r1, height);
    r.c0 = std::max(r.c0, 0);
    r.c1 = std::min(r.c1, width);
    return r.empty() ? JobReach{} : r;
}

// Band edges: `bands` + 1 rows from 0 to h, cut where the covered pixels reach equal shares.
template <class ReachAt>
std::vector<int> band_edges(std::size_t n, ReachAt reach_at, int h, int bands) {
    std::vector<std::int64_t> step(std::size_t(h) + 1, 0);
    std::int64_t total = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const JobReach r = reach_at(i);
        if (r.empty()) continue;
        const int w = r.c1 - r.c0;
        step[std::size_t(r.r0)] += w;
        step[std::size_t(r.r1)] -= w;
        total += std::int64_t(w) * (r.r1 - r.r0);
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

// The n jobs job_at(0), job_at(1), ... in order, with their reaches clipped to the buffer given by
// reach_at.
template <class JobAt, class ReachAt>
bool paint_in_bands(Host& host, const Painter& painter, std::size_t n, JobAt job_at, ReachAt reach_at,
                    UBUFFER& buffer, WorkerPool& pool) {
    const int w = buffer.width(), h = buffer.height();
    if (w < 1 || h < 1 || n == 0) return !host.stopped();
    // Below this many jobs a thread's wake-up costs more than it saves.
    constexpr std::size_t kJobsPerBand = 48;
    const int bands = int(std::clamp<std::size_t>(n / kJobsPerBand, 1, std::size_t(pool.size())));
    const std::vector<int> edges = band_edges(n, reach_at, h, bands);
    std::atomic<bool> stopped{false};
    pool.run(bands, [&](int b) {
        const int y0 = edges[std::size_t(b)], y1 = edges[std::size_t(b) + 1];
        if (y0 >= y1) return;
        thread_local std::vector<std::uint32_t> mine;
        mine.clear();
        for (std::size_t i = 0; i < n; ++i) {
            const JobReach r = reach_at(i);
            if (!r.empty() && r.r1 > y0 && r.r0 < y1) mine.push_back(std::uint32_t(i));
        }
        // The shapes lie anywhere on a picture far larger than the caches: the rows of a shape a few
        // jobs ahead are asked for while this one is painted, and the job itself before that.
        constexpr std::size_t kAhead = 4;
        auto fetch = [&](std::uint32_t i) {
            const JobReach r = reach_at(i);
            for (int y = std::max(r.r0, y0); y < std::min(r.r1, y1); ++y) {
                const std::uint8_t* row = buffer.row(y);
                for (int x = r.c0; x < r.c1; x += 16) prefetch<true>(row + 4 * std::size_t(x));
                prefetch<true>(row + 4 * std::size_t(r.c1 - 1));
            }
        };
        auto fetch_job = [&](std::uint32_t i) {
            const char* job = reinterpret_cast<const char*>(&job_at(i));
            prefetch(job);
            prefetch(job + sizeof(PaintJob) - 1);
        };
        for (std::size_t k = 0; k < std::min(2 * kAhead, mine.size()); ++k) fetch_job(mine[k]);
        for (std::size_t k = 0; k < std::min(kAhead, mine.size()); ++k) fetch(mine[k]);
        for (std::size_t k = 0; k < mine.size(); ++k) {
            if ((k & 31) == 0 && host.stopped()) {
                stopped = true;
                return;
            }
            if (k + 2 * kAhead < mine.size()) fetch_job(mine[k + 2 * kAhead]);
            if (k + kAhead < mine.size()) fetch(mine[k + kAhead]);
            painter.paint_area(job_at(mine[k]), buffer, y0, y1, 0, w);
        }
    });
    return !stopped;
}

}  // namespace

bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                         WorkerPool& pool) {
    const int w = buffer.width(), h = buffer.height();
    return paint_in_bands(
        host, painter, jobs.size(), [&](std::size_t i) -> const PaintJob& { return jobs[i]; },
        [&](std::size_t i) { return clipped(job_reach(jobs[i]), w, h); }, buffer, pool);
}

bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs,
                         std::span<const JobReach> reach, std::span<const std::uint32_t> which,
                         UBUFFER& buffer, WorkerPool& pool) {
    const int w = buffer.width(), h = buffer.height();
    return paint_in_bands(
        host, painter, which.size(), [&](std::size_t i) -> const PaintJob& { return jobs[which[i]]; },
        [&](std::size_t i) { return clipped(reach[which[i]], w, h); }, buffer, pool);
}

}  // namespace velq
