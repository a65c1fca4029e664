// The per-layer animation settings that the Animation settings dialog, the tool and the settings
// block share, with the names under which the dialog and the tool offer the motion kinds and the
// scan orders.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace velq {

struct AnimationSettings {
    std::string name;          // motion-pack or preset name; empty by default
    double duration = 5.0;     // "Duration": seconds over which the layer's shapes start, in scan order
    int motion = 0;            // motion kind, index into kMotionNames (0 Basic)
    int scan = 1;              // scan order, index into kScanNames (1 Random); above 7 applies no order
    int count = 1;             // amplitude n of the kinds' v * W * n / 100 (v = Max, W = frame width)
    double motion_time = 1.0;  // seconds that each shape moves before it comes to rest
    double timestamp = 0.0;    // "Timestamp": when the layer's first shape starts, seconds

    bool operator==(const AnimationSettings&) const = default;
};

inline constexpr int kMotionKinds = 6;
inline constexpr std::array<std::string_view, kMotionKinds> kMotionNames = {"Basic", "Snow",   "Sparkle",
                                                                            "Wave",  "Flower", "Firefly"};

inline constexpr int kScanOrders = 8;
// The word list of the scan orders as the settings show it; the ninth entry is a label kept as it
// stands and selects no order.
inline constexpr std::array<std::string_view, kScanOrders + 1> kScanNames = {
    "Transformed",   "Random",        "Circular out",  "Circular in", "Left to right",
    "Top to bottom", "Right to left", "Bottom to top", "To to bottom"};

// Index of a motion kind or scan order by its name, compared without regard to case, blanks, '-'
// and '_' ("left-to-right" finds "Left to right"), or given as its number; -1 when none matches.
int motion_index(std::string_view name);
int scan_index(std::string_view name);

// Brings numbers from a dialog, the tool or an old settings block into range: times not negative
// (and finite), the kind within 0..5 (else Basic), the scan order 0 or more, the amplitude 0 or more.
AnimationSettings sanitised(AnimationSettings s);

}  // namespace velq
