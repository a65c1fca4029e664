// Painting a few hundred placements spread over a whole picture, as an animation frame's newly
// settled shapes are: the picture is cut into one band of rows per thread, balanced by the pixels
// the jobs cover, and every band takes the jobs in list order. Building tile lists would cost more
// than such a frame's painting; the bands cost one pass over the jobs per thread.
#pragma once

#include <span>

#include "host/host.h"
#include "host/worker_pool.h"
#include "image/buffer.h"
#include "render/paint.h"

namespace velq {

// Paints the jobs in order, as painting them one by one would (jobs without a stencil are skipped).
// The stop flag is read every few jobs in every band; false when it ended the painting.
bool paint_jobs_in_bands(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                         WorkerPool& pool);

}  // namespace velq
