#include "segments/vectorize.h"

#include "host/progress.h"
#include "segments/edges.h"
#include "segments/loops.h"
#include "segments/raw_segment.h"
#include "segments/refine.h"
#include "segments/segment_pixels.h"
#include "segments/unify.h"

namespace velq {

namespace {
constexpr double kMinorRatio = 1.0;     // boundary edges per pixel above which a segment is dropped
constexpr double kEdgeTolerance = 0.7;  // simplification of the traced edges, picture pixels
}  // namespace

// The bar's share of each stage below, by the time each takes on a typical photograph.
constexpr double kRawShare = 0.36, kMinorShare = 0.38, kDilateShare = 0.44, kEdgesShare = 0.6,
                 kLoopsShare = 0.61, kPixelsShare = 0.74, kChildrenShare = 0.78;

bool vectorize(UBUFFER& picture, int interpolation, int threshold, Host& host, VectorizeOutput out) {
    const int w = picture.width(), h = picture.height();
    IBUFFER map;
    if (!picture || !map.allocate(w, h)) {
        host.message("Failed to allocate map whiling vectorizing");
        return false;
    }
    std::vector<RawSegment> raw;
    {
        ProgressShare share(host, 0, kRawShare);
        raw = generate_raw_segments(picture, double(threshold), host);
    }
    if (host.stopped()) return true;
    label_segments(raw, map);
    std::vector<RawSegment> kept;
    {
        ProgressShare share(host, kRawShare, kMinorShare);
        kept = remove_minor_segments(raw, map, kMinorRatio, host);
    }
    raw.clear();
    raw.shrink_to_fit();
    if (host.stopped()) return true;
    {
        ProgressShare share(host, kMinorShare, kDilateShare);
        dilate_segments(map, kept, 3 * interpolation, host);
    }
    label_segments(kept, map);
    kept.clear();
    kept.shrink_to_fit();
    if (host.stopped()) return true;

    std::vector<BoundaryPiece> pieces;
    {
        ProgressShare share(host, kDilateShare, kEdgesShare);
        pieces = get_segment_edges(map, kEdgeTolerance, true, host);
    }
    add_frame_pieces(pieces, w, h);
    out.pieces = pieces;
    host.refresh(Refresh::Outlines);
    if (host.stopped()) return true;

    std::vector<Segment> segments;
    {
        ProgressShare share(host, kEdgesShare, kLoopsShare);
        segments = detect_segments(pieces, host);
    }
    if (host.stopped()) return true;
    {
        ProgressShare share(host, kLoopsShare, kPixelsShare);
        detect_segment_pixels(segments, w, h, true, host);
    }
    {
        ProgressShare share(host, kPixelsShare, kChildrenShare);
        sort_segments(segments, true, host);
        detect_segment_children(segments, picture, true, host);
    }
    if (host.stopped()) return true;
    unify_segment_children(segments, host);
    label_final_segments(segments, map);
    out.segments = std::move(segments);
    out.label_map = std::move(map);
    host.refresh(Refresh::Outlines);
    return true;
}

}  // namespace velq
