#include "video/frame_layout.h"

#include "host/saturate.h"

namespace velq {

namespace {
int even_up(int v) {
    return v % 2 == 0 ? v : v + 1;
}
}  // namespace

FrameLayout frame_layout(int pw, int ph, int vw, int vh, FitMode fit) {
    FrameLayout l;
    l.sw = ph > 0 ? saturate_int(pw * (double(vh) / ph)) : 0;
    l.sh = vh;
    switch (fit) {
        case FitMode::None:
            l.ow = l.sw;
            l.oh = vh;
            break;
        case FitMode::Fit:
            l.ow = vw;
            l.oh = vh;
            if (vw < l.sw) {
                l.sh = pw > 0 ? saturate_int(ph * (double(vw) / pw)) : 0;
                l.sw = vw;
                l.y0 = (vh - l.sh) / 2;
            } else {
                l.x0 = (vw - l.sw) / 2;
            }
            break;
        case FitMode::Stretch:
            l.ow = l.sw = vw;
            l.oh = l.sh = vh;
            break;
    }
    l.ow = even_up(l.ow);
    l.oh = even_up(l.oh);
    return l;
}

}  // namespace velq
