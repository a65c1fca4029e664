// The colour filters of the Filter menu, run by the filter driver on the filtered picture in place.
#pragma once

#include <string_view>

#include "host/host.h"
#include "host/random.h"
#include "image/buffer.h"

namespace velq {

// Menu order of the filters; the values are the filter kinds stored in settings blocks.
enum class FilterKind {
    Normal = 0,
    HalfShuffle = 1,
    TripleShuffle = 2,
    Matrix = 3,
    InverseContrast = 4,
    ContrastUp = 5,
    Prism = 6,
    BrokenGlass = 7,
    KMean = 8,
};

// What the filters read from the Settings.
struct FilterParams {
    double max_size = 0.02;  // Max: Matrix bands echo the largest circle
    int gap = 1;             // GAP
    int k_mean = 2;          // K-Mn
    // Broken glass's impact point as fractions of the picture; 0 lets the seed choose.
    double impact_x = 0, impact_y = 0;
};

// Runs one filter on `picture` (BGRA, in place). Returns 0, or -1 with the system's message when the
// filter cannot run (its picture stays as it was). Random filters reseed from `seeds` as they need.
int apply_filter(Host& host, FilterKind kind, UBUFFER& picture, const FilterParams& params,
                 const SeedSource& seeds);

// True for the kinds whose result depends on the seed they draw.
bool filter_draws_seed(FilterKind kind);

// False for the kinds that have no filter behind them.
bool filter_available(FilterKind kind);

// The menu text of a kind ("Half shuffle", ...), and the tool's name for it ("half-shuffle", ...).
std::string_view filter_menu_text(FilterKind kind);
std::string_view filter_cli_name(FilterKind kind);  // "" for an unknown kind

}  // namespace velq
