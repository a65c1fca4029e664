// Painting a few hundred placements spread over a whole picture, as an animation frame's newly
// settled shapes are: the picture is cut into one band of rows per thread, balanced by the pixels
// the jobs cover, and every band takes the jobs in list order. Building tile lists would cost more
// than such a frame's painting; the bands cost one pass over the jobs per thread.
#pragma once

#include <cstdint>
#include <span>

#include "host/host.h"
#include "host/worker_pool.h"
#include "image/buffer.h"
#include "render/paint.h"

namespace velq {

// The pixels a job can paint, [r0, r1) x [c0, c1); empty when it has no stencil.
struct JobReach {
    int r0 = 0, r1 = 0, c0 = 0, c1 = 0;
    bool empty() const { return r0 >= r1 || c0 >= c1; }
};
JobReach job_reach(const PaintJob& job);

// Paints the jobs in order, as painting them one by one would (jobs without a stencil are skipped).
// The stop flag is read every few jobs in every band; false when it ended the painting.
bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                         WorkerPool& pool);
// The same for jobs kept to be painted again and again: jobs[which[0]], jobs[which[1]], ... in that
// order, where reach[i] is job_reach(jobs[i]). Bands are cut and shared out from the
// reaches alone, and a job is read only when it is painted.
bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs,
                         std::span<const JobReach> reach, std::span<const std::uint32_t> which,
                         UBUFFER& buffer, WorkerPool& pool);

}  // namespace velq
