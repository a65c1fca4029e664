#include "filters/matrix.h"

#include <algorithm>
#include <cmath>

#include "filters/channel_rotation.h"
#include "filters/local_contrast.h"
#include "filters/shuffle.h"
#include "host/saturate.h"

namespace velq {

int matrix_band_count(int width, double max_size, int gap) {
    const double m = max_size * width;
    const int n = saturate_int(std::trunc(width / (2 * m + gap) + 0.5));
    // A zero or tiny divisor would ask for more bands than columns, which cannot show.
    return std::clamp(n, 0, width);
}

int matrix_band_end(int width, int n, int j) {
    const double w = double(width) / n;
    return std::min(width, saturate_int(std::trunc(j * w + 0.5)));
}

int matrix_filter(Progress& progress, UBUFFER& picture, double max_size, int gap, const SeedSource& seeds) {
    Host& host = progress.host();
    IBUFFER tables = make_contrast_tables(host, picture.width(), picture.height());
    if (!tables) return -1;
    const int width = picture.width(), height = picture.height();
    const int n = matrix_band_count(width, max_size, gap);
    Random rng(seeds.time_seed());
    int begin = 0;
    for (int j = 1; j <= n && !host.stopped(); ++j) {
        const int end = matrix_band_end(width, n, j);
        const int r = rng.next();
        const int cut = std::min(
            saturate_int(std::trunc(double(r) * height * 0.5 / Random::kMax + height * 0.25 + 0.5)), height);
        for (int y = 0; y < height; ++y) matrix_rotate_up(picture.row(y), begin, end);
        for (int y = cut; y < height; ++y) matrix_rotate_down(picture.row(y), begin, end);
        begin = std::max(begin, end);
    }
    local_contrast(progress, picture, kShuffleContrast, ContrastDirection::Up, tables);
    return 0;
}

}  // namespace velq
