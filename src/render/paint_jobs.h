// Painting many placements: their stencils built beforehand, then the jobs painted tile by tile on
// several threads with the bytes of painting them one after another.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "render/paint.h"

namespace velq {

// Builds the stencils that the placements (or circles in pixels) need, one table per shape. Returns
// those their shapes' budget could not keep: held by the caller until the jobs are readied.
using HeldStencils = std::vector<std::shared_ptr<const Stencil>>;
HeldStencils prepare_stencils(Host& host, std::span<const Placement> placements);
HeldStencils prepare_stencils(Host& host, std::span<const Circle> circles);

// Paints the jobs in order. The picture is cut into tiles, painted by several threads at once; each
// tile takes the jobs that reach it in list order, so every pixel sees the placements in list order
// and the bytes do not depend on the threads. The stop flag is read before every job in every tile.
// `progress(done, total)` is called from the calling thread with the tiles finished so far. Returns
// false when the stop flag ended the painting. `threads` 0 means one per core.
bool paint_jobs(Host& host, const Painter& painter, std::span<const PaintJob> jobs, UBUFFER& buffer,
                const std::function<void(std::int64_t, std::int64_t)>& progress, int threads = 0);

}  // namespace velq
