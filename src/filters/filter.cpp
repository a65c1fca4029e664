#include "filters/filter.h"

#include "filters/broken_glass.h"
#include "filters/k_mean.h"
#include "filters/local_contrast.h"
#include "filters/matrix.h"
#include "filters/prism.h"
#include "filters/shuffle.h"
#include "host/progress.h"

namespace velq {

namespace {
struct Names {
    std::string_view menu, cli;
};
constexpr Names kNames[] = {
    {"Normal", "normal"}, {"Half shuffle", "half-shuffle"},         {"Triple shuffle", "triple-shuffle"},
    {"Matrix", "matrix"}, {"Inverse contrast", "inverse-contrast"}, {"Contrast up", "contrast-up"},
    {"Prism", "prism"},   {"Broken glass", "broken-glass"},         {"K-mean", "k-mean"},
};
constexpr int kKinds = int(std::size(kNames));

// Factor of the two contrast filters of the menu.
constexpr double kContrastFactor = 3.0;

bool known(FilterKind kind) {
    return int(kind) >= 0 && int(kind) < kKinds;
}
}  // namespace

std::string_view filter_menu_text(FilterKind kind) {
    return known(kind) ? kNames[int(kind)].menu : "";
}
std::string_view filter_cli_name(FilterKind kind) {
    return known(kind) ? kNames[int(kind)].cli : "";
}

bool filter_draws_seed(FilterKind kind) {
    switch (kind) {
        case FilterKind::HalfShuffle:
        case FilterKind::TripleShuffle:
        case FilterKind::Matrix:
        case FilterKind::Prism:
        case FilterKind::BrokenGlass:
            return true;
        default:
            return false;
    }
}

bool filter_available(FilterKind kind) {
    return known(kind);
}

int apply_filter(Host& host, FilterKind kind, UBUFFER& picture, const FilterParams& params,
                 const SeedSource& seeds) {
    if (!known(kind)) {
        host.message("Unknown filter");
        return -1;
    }
    if (kind == FilterKind::Normal) return 0;
    if (!picture || picture.channels() != 4) {
        host.debug("apply_filter: not a BGRA picture\n");
        return -1;
    }
    if (kind == FilterKind::KMean) return reduce_color_by_k_mean(host, picture, params.k_mean);

    // The pixel filters have no stage name of their own: the title shows the menu's.
    Progress progress(host, filter_menu_text(kind));
    switch (kind) {
        case FilterKind::HalfShuffle:
            return half_shuffle(progress, picture, seeds);
        case FilterKind::TripleShuffle:
            return triple_shuffle(progress, picture, seeds);
        case FilterKind::Matrix:
            return matrix_filter(progress, picture, params.max_size, params.gap, seeds);
        case FilterKind::InverseContrast:
            return local_contrast(progress, picture, kContrastFactor, ContrastDirection::TowardsMean);
        case FilterKind::ContrastUp:
            return local_contrast(progress, picture, kContrastFactor, ContrastDirection::Up);
        case FilterKind::Prism:
            return prism_filter(progress, picture, params.max_size, seeds);
        case FilterKind::BrokenGlass: {
            BrokenGlassParams glass;
            glass.impact_x = params.impact_x;
            glass.impact_y = params.impact_y;
            return broken_glass_filter(progress, picture, glass, seeds);
        }
        default:
            return -1;
    }
}

}  // namespace velq
