#include "render/animation_settings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace velq {

namespace {

std::string folded(std::string_view s) {
    std::string out;
    for (char c : s) {
        if (c == ' ' || c == '-' || c == '_') continue;
        out += char(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

template <std::size_t N>
int find_name(std::string_view name, const std::array<std::string_view, N>& names, int count) {
    int number = -1;
    const char* end = name.data() + name.size();
    if (auto [p, ec] = std::from_chars(name.data(), end, number); ec == std::errc() && p == end)
        return number >= 0 && number < count ? number : -1;
    const std::string key = folded(name);
    if (key.empty()) return -1;
    for (int i = 0; i < count; ++i)
        if (folded(names[i]) == key) return i;
    return -1;
}

double time_value(double v) {
    return std::isfinite(v) && v > 0.0 ? v : 0.0;
}

}  // namespace

int motion_index(std::string_view name) {
    return find_name(name, kMotionNames, kMotionKinds);
}

int scan_index(std::string_view name) {
    return find_name(name, kScanNames, kScanOrders);
}

AnimationSettings sanitised(AnimationSettings s) {
    s.duration = time_value(s.duration);
    s.motion_time = time_value(s.motion_time);
    s.timestamp = time_value(s.timestamp);
    if (s.motion < 0 || s.motion >= kMotionKinds) s.motion = 0;
    s.scan = std::max(s.scan, 0);
    s.count = std::max(s.count, 0);
    return s;
}

}  // namespace velq
