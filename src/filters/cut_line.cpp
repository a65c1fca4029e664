#include "filters/cut_line.h"

#include <cmath>

#include "host/saturate.h"

namespace velq {

CutLine make_cut_line(Random& rng, double x0, double amplitude) {
    CutLine line;
    line[0] = {x0, 0.0};
    for (int i = 1; i < kCutPoints - 1; ++i) {
        const int r = rng.next();
        line[i] = {x0 + (amplitude * 0.5 - r * amplitude / Random::kMax), i * 0.02};
    }
    line[kCutPoints - 1] = {x0, 1.0};
    return line;
}

CutLine scale_cut_line(const CutLine& line, int width, int height) {
    CutLine px;
    for (int i = 0; i < kCutPoints; ++i) px[i] = {line[i].x * width, line[i].y * height};
    return px;
}

std::vector<CutStep> walk_cut_line(const CutLine& pixels, int height) {
    std::vector<CutStep> steps;
    int last = -1;
    for (int i = 0; i + 1 < kCutPoints; ++i) {
        const CutPoint p = pixels[i], q = pixels[i + 1];
        const double dx = q.x - p.x, dy = q.y - p.y;
        const int n = saturate_int(std::trunc(2.0 * std::sqrt(dx * dx + dy * dy) + 0.5));
        for (int t = 0; t < n; ++t) {
            const double x = p.x + t * dx / n + 0.5;
            const int row = saturate_int(std::trunc(p.y + t * dy / n + 0.5));
            if (row == last || row >= height) continue;
            last = row;
            steps.push_back({row, x});
        }
    }
    return steps;
}

int cut_column(const CutStep& step, int width) {
    const int c = saturate_int(std::trunc(step.x));
    return c < 0 ? 0 : (c > width ? width : c);
}

}  // namespace velq
