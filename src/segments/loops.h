// Boundary-loop assembly: chains the boundary pieces end to end into closed loops, one per region,
// and makes a Segment of each loop that turns once clockwise on screen.
#pragma once

#include <vector>

#include "host/host.h"
#include "segments/segment.h"

namespace velq {

// Sum of the signed turning angles of the closed polyline, in degrees (clockwise on screen, with y
// pointing down, is positive). Points repeating their predecessor are skipped.
double turning_degrees(const std::vector<BoundaryPoint>& points);

// True when the polyline turns once clockwise on screen: its turning sum is within 1 degree of 360.
bool is_closed_path(const std::vector<BoundaryPoint>& points);

// Chains `pieces` into loops (their use counters are reset and counted) and returns a Segment for
// every loop that passes the closed-path test, each loop once. Title "Detecting segments". After
// two failed attempts from one starting piece it writes "Too many retrying..." to the debug output
// and returns the Segments made so far.
std::vector<Segment> detect_segments(std::vector<BoundaryPiece>& pieces, Host& host);

}  // namespace velq
