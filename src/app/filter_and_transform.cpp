#include "app/filter_and_transform.h"

#include "app/filter_driver.h"
#include "app/transform_driver.h"

namespace velq {

int filter_and_transform(Document& doc, Host& host) {
    const Settings& s = doc.settings;
    if (do_filter(doc, host, FilterKind(s.filter_kind), s.memory_limit) != 0) return -1;
    if (host.stopped()) return -1;
    // A loaded motion pack skips the transform without running it.
    if (do_transform(doc, host, TransformMode(s.transform_mode), false) != 0 || !doc.transformed) return -1;
    // A stopped transform has said so; what comes after it does not run on a part of the circles.
    return host.stopped() ? -1 : 0;
}

}  // namespace velq
