// The jagged vertical line that the shuffle filters split each row at: 50 points from top to bottom
// that wander a little left and right of a start column, and the rows a walk along it visits.
#pragma once

#include <array>
#include <vector>

#include "host/random.h"

namespace velq {

struct CutPoint {
    double x = 0, y = 0;
};

inline constexpr int kCutPoints = 50;
inline constexpr double kCutAmplitude = 0.2;
using CutLine = std::array<CutPoint, kCutPoints>;

// A line in fractions of the picture from (x0, 0) to (x0, 1): the 48 inner points lie 0.02 apart
// in y, each shifted in x by a * 0.5 - r * a / 32767 with a fresh draw r.
CutLine make_cut_line(Random& rng, double x0, double amplitude = kCutAmplitude);

// The same line in pixels (x times width, y times height).
CutLine scale_cut_line(const CutLine& line, int width, int height);

// One row met by a walk: the row and the x of the line there (not yet truncated).
struct CutStep {
    int row = 0;
    double x = 0;
};

// Walks a line in pixels segment by segment in steps of about half a pixel and returns the rows it
// meets, each at most once, in order; rows at or below `height` are left out.
std::vector<CutStep> walk_cut_line(const CutLine& pixels, int height);

// The first column at or right of the line on a step's row, kept inside 0..width.
int cut_column(const CutStep& step, int width);

}  // namespace velq
