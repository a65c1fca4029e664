// Vectorized segment edges: the borders between labelled segments, traced on a grid four times
// finer than the picture and turned into simplified polylines (boundary pieces). Loop assembly
// chains them into the Segments' outlines.
#pragma once

#include <vector>

#include "host/host.h"
#include "image/buffer.h"
#include "segments/segment.h"

namespace velq {

// Traces every border of `label_map` into boundary pieces in picture pixel units, simplified with
// `tolerance`. A piece ends at a junction of three or more segments or at the picture's edge; an
// island's border is one closed piece. Title "Getting vectorized segment edges" when `show`.
std::vector<BoundaryPiece> get_segment_edges(const IBUFFER& label_map, double tolerance, bool show,
                                             Host& host);

// Douglas-Peucker: keeps the end points and every point farther than `tolerance` from the segment
// joining the points kept around it. Fewer than 3 points are left as they are.
void simplify_polyline(std::vector<BoundaryPoint>& points, double tolerance);
// The same for a closed ring (no repeated last point): split at the point farthest from the first
// one, both halves simplified, so no point is kept only for being next to where the ring starts.
void simplify_ring(std::vector<BoundaryPoint>& points, double tolerance);

// The traced pieces reach the picture's edge at x = 0, y = 0, x = W - 0.5 and y = H - 0.5. Appends
// that frame, split where open pieces end on it, as open pieces running clockwise on screen from
// the top-left corner, so regions at the edge close along it. Nothing when no piece reaches it.
void add_frame_pieces(std::vector<BoundaryPiece>& pieces, int width, int height);

}  // namespace velq
