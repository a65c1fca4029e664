#include "app/vectorize_driver.h"

#include "host/progress.h"
#include "segments/vectorize.h"
#include "transform/segment_fill.h"

namespace velq {

std::optional<std::size_t> do_vectorize(Document& doc, Host& host) {
    // The filtered picture is the one the transform reads (the working picture when no filter ran).
    const UBUFFER& from = doc.filtered ? doc.filtered : doc.working;
    if (!from) return 0;
    UBUFFER tmp;
    if (!tmp.allocate(from.width(), from.height(), 4, Init::Uninitialised)) {
        host.message("Failed to allocate tmp in do_transform");
        return std::nullopt;
    }
    if (!copy_to(host, from, tmp)) return std::nullopt;
    const Settings& s = doc.settings;
    {
        // Tracing the segments takes about a seventh of the time that packing them does.
        ProgressShare share(host, 0, 0.15);
        if (!vectorize(tmp, s.interpolation, s.threshold, host, {doc.pieces, doc.segments, doc.label_map}))
            return std::nullopt;
    }
    if (host.stopped()) return 0;
    ProgressShare share(host, 0.15, 1);
    SegmentFillParams params;
    params.min_size = s.min_size;
    params.max_size = s.max_size;
    params.gap = s.gap;
    return fill_circle_algo2(doc.segments, params, tmp.width(), tmp.height(), host);
}

}  // namespace velq
