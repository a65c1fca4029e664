#include "render/spikes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velq {

namespace {

Spike spike_toward(double x, double y, double ux, double uy, double length, double half_base, int owner) {
    // (ux, uy) is a unit direction; its normal is (-uy, ux).
    return Spike{{x - uy * half_base, y + ux * half_base},
                 {x + uy * half_base, y - ux * half_base},
                 {x + ux * length, y + uy * length},
                 owner};
}

}  // namespace

void web_spikes(const CellDiagram& diagram, std::span<const CellSite> sites, int i, double half_base,
                std::vector<Spike>& out) {
    const CellSite& a = sites[std::size_t(i)];
    for (std::int32_t j : diagram.edges(i)) {
        if (j < 0) continue;
        const CellSite& b = sites[std::size_t(j)];
        const double dx = b.x - a.x, dy = b.y - a.y, d2 = dx * dx + dy * dy;
        if (d2 <= 0) continue;
        const double t = std::clamp((d2 + a.weight - b.weight) / (2 * d2), 0.0, 1.0);
        const double d = std::sqrt(d2);
        Spike s = spike_toward(a.x, a.y, dx / d, dy / d, 0, half_base, i);
        s.tip = {a.x + t * dx, a.y + t * dy};
        out.push_back(s);
    }
}

void burst_spikes(double x, double y, int count, double angle, double length, double half_base, int owner,
                  std::vector<Spike>& out) {
    for (int k = 0; k < count; ++k) {
        const double a = angle + 2 * std::numbers::pi * k / count;
        out.push_back(spike_toward(x, y, std::cos(a), std::sin(a), length, half_base, owner));
    }
}

}  // namespace velq
