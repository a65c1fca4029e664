// Where a rendered picture goes in a video frame: the fit modes "None", "Fit" and "Stretch", the
// scaled frame size, the video size (rounded up to even numbers) and the offset of the picture.
#pragma once

namespace velq {

enum class FitMode { None = 0, Fit = 1, Stretch = 2 };

struct FrameLayout {
    int sw = 0, sh = 0;  // the picture scaled into the frame
    int ow = 0, oh = 0;  // the video frame, even
    int x0 = 0, y0 = 0;  // where the scaled picture's top-left corner lies in the frame
    bool operator==(const FrameLayout&) const = default;
};

// For a picture of pw x ph rendered for a video setting of vw x vh.
FrameLayout frame_layout(int pw, int ph, int vw, int vh, FitMode fit);

}  // namespace velq
