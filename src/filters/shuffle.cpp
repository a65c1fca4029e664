#include "filters/shuffle.h"

#include "filters/channel_rotation.h"
#include "filters/cut_line.h"
#include "filters/local_contrast.h"

namespace velq {

namespace {

// "Seed with the current time" happens for every line, so lines made in the same second (or under a
// fixed run seed) share their jitter.
std::vector<CutStep> fresh_cut(const SeedSource& seeds, double x0, const UBUFFER& picture) {
    Random rng(seeds.time_seed());
    const CutLine line = make_cut_line(rng, x0);
    return walk_cut_line(scale_cut_line(line, picture.width(), picture.height()), picture.height());
}

// Whole row up, then down from the line to the end of the row.
void shuffle_left_right(Host& host, UBUFFER& picture, const std::vector<CutStep>& steps) {
    const int w = picture.width();
    for (const CutStep& s : steps) {
        if (host.stopped()) return;
        std::uint8_t* row = picture.row(s.row);
        rotate_up(row, 0, w);
        rotate_down(row, cut_column(s, w), w);
    }
}

}  // namespace

int half_shuffle(Progress& progress, UBUFFER& picture, const SeedSource& seeds) {
    Host& host = progress.host();
    IBUFFER tables = make_contrast_tables(host, picture.width(), picture.height());
    if (!tables) return -1;
    shuffle_left_right(host, picture, fresh_cut(seeds, 0.5, picture));
    local_contrast(progress, picture, kShuffleContrast, ContrastDirection::Up, tables);
    return 0;
}

int triple_shuffle(Progress& progress, UBUFFER& picture, const SeedSource& seeds) {
    Host& host = progress.host();
    IBUFFER tables = make_contrast_tables(host, picture.width(), picture.height());
    if (!tables) return -1;
    shuffle_left_right(host, picture, fresh_cut(seeds, 0.3, picture));
    const int w = picture.width();
    for (const CutStep& s : fresh_cut(seeds, 0.65, picture)) {
        if (host.stopped()) return 0;
        rotate_up(picture.row(s.row), cut_column(s, w), w);
    }
    local_contrast(progress, picture, kShuffleContrast, ContrastDirection::Up, tables);
    return 0;
}

}  // namespace velq
