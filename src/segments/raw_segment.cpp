#include "segments/raw_segment.h"

#include <cmath>

#include "host/progress.h"

namespace velq {
namespace {

// The grow: last pushed is grown first, a pixel is marked only when it is popped, so a pixel pushed
// twice is taken twice and weighs twice in the running mean.
void grow(const UBUFFER& pic, UBUFFER& visited, int sx, int sy, double thr, std::vector<Pixel>& stack,
          std::vector<Pixel>& raw, double mean[4]) {
    const int w = pic.width(), h = pic.height();
    double sum[4] = {0, 0, 0, 0};
    double m[4] = {0, 0, 0, 0};
    stack.clear();
    raw.clear();
    stack.push_back(Pixel{1, sx, sy});
    while (!stack.empty()) {
        const Pixel p = stack.back();
        stack.pop_back();
        visited.at(p.x, p.y) = 255;
        raw.push_back(p);
        const std::uint8_t* c = &pic.at(p.x, p.y, 0);
        const double n = double(raw.size());
        for (int k = 0; k < 4; ++k) {
            sum[k] += c[k];
            m[k] = sum[k] / n;
        }
        const int nx[4] = {p.x + 1, p.x, p.x - 1, p.x};
        const int ny[4] = {p.y, p.y + 1, p.y, p.y - 1};
        for (int i = 0; i < 4; ++i) {
            const int x = nx[i], y = ny[i];
            if (x < 0 || y < 0 || x >= w || y >= h || visited.at(x, y) != 0) continue;
            const std::uint8_t* q = &pic.at(x, y, 0);
            bool close = true;
            for (int k = 0; k < 4 && close; ++k) close = std::fabs(double(q[k]) - m[k]) <= thr;
            if (close) stack.push_back(Pixel{1, x, y});
        }
    }
    for (int k = 0; k < 4; ++k) mean[k] = raw.empty() ? 255.0 : sum[k] / double(raw.size());
}

}  // namespace

std::vector<RawSegment> generate_raw_segments(UBUFFER& picture, double thr, Host& host) {
    std::vector<RawSegment> result;
    Progress progress(host, "Generating raw segments");
    const int w = picture.width(), h = picture.height();
    UBUFFER visited, dedupe;
    if (!picture || picture.channels() != 4 || !visited.allocate(w, h) || !dedupe.allocate(w, h))
        return result;
    std::vector<Pixel> stack, raw;
    const std::int64_t total = std::int64_t(w) * h;
    for (int y = 0; y < h && !host.stopped(); ++y) {
        for (int x = 0; x < w; ++x) {
            if (visited.at(x, y) != 0) continue;
            RawSegment seg;
            double mean[4];
            grow(picture, visited, x, y, thr, stack, raw, mean);
            for (const Pixel& p : raw) {
                std::uint8_t& d = dedupe.at(p.x, p.y);
                if (d != 0) continue;
                d = 1;
                seg.pixels.push_back(p);
            }
            for (const Pixel& p : seg.pixels) dedupe.at(p.x, p.y) = 0;
            // Flatten: channel k gets the mean truncated toward zero.
            std::uint8_t flat[4];
            for (int k = 0; k < 4; ++k) flat[k] = std::uint8_t(mean[k]);
            for (const Pixel& p : raw) {
                std::uint8_t* c = &picture.at(p.x, p.y, 0);
                for (int k = 0; k < 4; ++k) c[k] = flat[k];
            }
            seg.mean[0] = mean[2];
            seg.mean[1] = mean[1];
            seg.mean[2] = mean[0];
            seg.mean[3] = mean[3];
            result.push_back(std::move(seg));
            progress.set(int((std::int64_t(y) * w + x) * 100.0 / double(total)));
        }
    }
    return result;
}

}  // namespace velq
