// Packs many independent regions (the Vectorize transform's Segment regions) on several threads.
// Each region's circles are exactly those pack_circles gives it alone, and results come back in the
// regions' order, so the outcome does not depend on the number of threads. Only the calling thread
// talks to the host: it relays the live view's batches, the progress and Stop.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "host/host.h"
#include "transform/packer.h"

namespace velq {

struct RegionPacking {
    std::vector<std::vector<Circle>> circles;  // per region, in the regions' order
    // The first region whose packing ran out of memory (regions.size(): none). Regions after it
    // may be left unpacked.
    std::size_t out_of_memory = 0;
};

// Packs every region with `options` (its progress callback is not used). `areas` weighs each region
// for `progress`, which hears the share done (0..1) from the calling thread. `threads` 0 means one
// per core. After Stop, regions not yet started stay empty.
RegionPacking pack_regions(const std::vector<PackRegion>& regions, const std::vector<double>& areas,
                           const PackOptions& options, int threads, Host& host,
                           const std::function<void(double)>& progress);

}  // namespace velq
