#include "filters/filter.h"

namespace velq {

namespace {
struct Names {
    std::string_view menu, cli;
};
constexpr Names kNames[] = {
    {"Normal", "normal"},           {"Half shuffle", "half-shuffle"},
    {"Triple shuffle", "triple-shuffle"}, {"Matrix", "matrix"},
    {"Inverse contrast", "inverse-contrast"}, {"Contrast up", "contrast-up"},
    {"Prism", "prism"},             {"Broken glass", "broken-glass"},
    {"K-mean", "k-mean"},
};
}  // namespace

std::string_view filter_menu_text(FilterKind kind) { return kNames[int(kind)].menu; }
std::string_view filter_cli_name(FilterKind kind) { return kNames[int(kind)].cli; }

int apply_filter(Host& host, FilterKind kind, UBUFFER& picture, const FilterParams& params,
                 const SeedSource& seeds) {
    if (kind == FilterKind::Normal) return 0;
    host.message(std::string(filter_menu_text(kind)) + " is not available yet");
    return -1;
}

}  // namespace velq
